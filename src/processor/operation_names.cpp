// SPDX-License-Identifier: Apache-2.0
#include "processor/operation_names.h"

#include <array>
#include <cstddef>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::array kOperations = {
    "DBOperations::createDB",         "DBOperations::openDB",
    "DBOperations::AddWorkspace",     "DBOperations::AddMessageServer",
    "DBOperations::AddRouter",        "DBOperations::AddWebDispatcher",
    "DBOperations::AddNode",          "DBOperations::AddLDAP",
    "DBOperations::AddService",       "DBOperations::AddParameter",
    "DBOperations::AddItem",          "DBOperations::AddServerConfigurationFile",
    "DBOperations::AddLinkTable",     "DBOperations::AddLinkTalbeRecord",
    "DBOperations::Commit",           "DBOperations::CreateResultsTable",
    "DBOperations::CreateRulesTable",
};

constexpr std::array kResultCodes = {
    "Validation failed",
    "Validation passed",
    "Runtime error",
    "Validation against XSD failed",
    "Validation against XSD passed",
    "Validation warning",
    "Validation info",
};

template <std::size_t Size>
const char* TextAt(const std::array<const char*, Size>& texts, int index, const char* other) {
    return index >= 0 && static_cast<std::size_t>(index) < Size
               ? texts[static_cast<std::size_t>(index)]
               : other;
}

} // namespace

const char* DBModeName(DBMode mode) noexcept {
    switch (mode) {
        case Normal:
            return "DBMode::Normal";
        case Transactional:
            return "DBMode::Transactional";
    }
    return "Unknown";
}

const char* DBOperationName(DBOperations operation) noexcept {
    return TextAt(kOperations, operation, "Unknown");
}

const char* ResultCodeName(ResultCodes code) noexcept {
    return TextAt(kResultCodes, code, "UNKNOWN");
}

} // namespace Nax::FrontEnd::XMLDB
