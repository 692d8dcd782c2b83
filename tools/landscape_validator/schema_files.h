// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rule_options.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <memory>
#include <string>

namespace LandscapeValidator {

/// What is wrong with the user's schema or stylesheet: it cannot be read, is no schema, or does not
/// give the tables that a run needs. Empty when all is well, and for the built-in ones.
std::string CheckSchemaFiles(const SSchemaFiles& files);

/// A processor whose schema and stylesheet are the user's, each where one is given, and whose
/// rules, actions and page are the built-in ones. Its GetXsdFile is the schema's absolute path, or
/// empty.
std::shared_ptr<Nax::FrontEnd::XMLDB::CDBProcessor> MakeProcessor(
    const SSchemaFiles& files, Nax::FrontEnd::XMLDB::DBMode mode);

/// The schema as its file has it; false with the reason when it cannot be read.
bool ReadSchemaBytes(const SSchemaFiles& files, std::string& bytes, std::string& reason);

} // namespace LandscapeValidator
