// SPDX-License-Identifier: Apache-2.0
#pragma once

/// \file
/// Everything that the library exports. Nothing here needs another package's headers.

/// \namespace Nax::FrontEnd::XMLDB
/// All that the library names itself. What stands outside are the names of the platform on which
/// it is at home, such as _bstr_t.
#include <naxfewxmldb/database.h>
#include <naxfewxmldb/db_processor.h>
#include <naxfewxmldb/known_folders.h>
#include <naxfewxmldb/link_table_properties.h>
#include <naxfewxmldb/memory.h>
#include <naxfewxmldb/record_loader.h>
#include <naxfewxmldb/regexp.h>
#include <naxfewxmldb/result_codes.h>
#include <naxfewxmldb/rule.h>
#include <naxfewxmldb/rules_processor.h>
#include <naxfewxmldb/support_files.h>
#include <naxfewxmldb/text_types.h>
#include <naxfewxmldb/xml_document.h>
#include <naxfewxmldb/xml_element_sink.h>
#include <naxfewxmldb/xml_limits.h>
#include <naxfewxmldb/xml_xsd_validator.h>
#include <naxfewxmldb/xsd_to_ddl_mapper.h>
