// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Nax::FrontEnd::XMLDB {

// Headers of the processor's error texts. Support tools look failures up by function and line, so
// the lines are names of places, not positions in today's source.
inline constexpr char kInitializeError[] =
    "\n===Error===\nFunction: Nax::FrontEnd::XMLDB::CDBProcessor::Initialize\n"
    "File: db_processor, Line: 56\n";
inline constexpr char kCleanupError[] =
    "\n===Error===\nFunction: Nax::FrontEnd::XMLDB::CDBProcessor::DB_Clenup\n"
    "File: db_processor, Line: 203\n";
inline constexpr char kExecuteError[] =
    "\n===Error===\nFunction: Nax::FrontEnd::XMLDB::CDBProcessor::DB_ExecuteQuery\n"
    "File: db_processor, Line: 257\n";
inline constexpr char kQueryError[] =
    "\n===Error===\nFunction: Nax::FrontEnd::XMLDB::CDBProcessor::DB_ExecuteQuery\n"
    "File: db_processor, Line: 276\n";
inline constexpr char kProcessError[] =
    "\n===Error===\nFunction: Nax::FrontEnd::XMLDB::CDBProcessor::Process\n"
    "File: db_processor, Line: 451\n";
inline constexpr char kRulesError[] =
    "\n===Error===\nFunction: Nax::FrontEnd::XMLDB::CRulesProcessor\n";

} // namespace Nax::FrontEnd::XMLDB
