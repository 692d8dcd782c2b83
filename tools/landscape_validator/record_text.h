// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "landscape_tables.h"
#include "record_buffer.h"

#include <optional>
#include <string>
#include <string_view>

namespace LandscapeValidator {

/// A value as SQL: NULL, or a text literal that the database processor cannot mistake for tags.
/// The processor removes every "f_<column>:" from a record, so a value that contains "f_" is
/// written as a concatenation that comes apart in its middle.
void AppendLiteral(std::string& sql, const std::optional<std::string_view>& value);

/// The record text of one entry, in the form that CDBProcessor::Process takes.
std::string MakeRecordText(const STable& table, const CRecordBuffer::Values& values,
                           const std::string& fileIndex);

/// An INSERT of one entry, for elements that have no operation.
std::string MakeInsert(const STable& table, const CRecordBuffer::Values& values,
                       const std::string& fileIndex);

} // namespace LandscapeValidator
