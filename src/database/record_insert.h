// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/record_loader.h>

#include <span>

namespace Nax::FrontEnd::XMLDB {

/// An INSERT of one row that was prepared once and is run for many rows.
class IRecordInsert {
public:
    virtual ~IRecordInsert() = default;

    /// Inserts a row with these texts and NULL in every other column. False when it fails; the
    /// connection then has the message.
    virtual bool Run(std::span<const SRecordValue> values) = 0;
};

} // namespace Nax::FrontEnd::XMLDB
