// SPDX-License-Identifier: Apache-2.0
#include "registry_query.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

std::string_view Trim(std::string_view text) noexcept {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string_view TakeWord(std::string_view& text) noexcept {
    text = Trim(text);
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    return word;
}

} // namespace

bool ParseRegistryQuery(std::string_view parameters, SRegistryQuery& query) {
    const std::size_t redirection = parameters.find(">>");
    if (redirection == std::string_view::npos) {
        return false;
    }
    std::string_view output = Trim(parameters.substr(redirection + 2));
    if (output.size() >= 2 && output.front() == '"' && output.back() == '"') {
        output = output.substr(1, output.size() - 2);
    }
    std::string_view command = parameters.substr(0, redirection);
    for (const std::string_view word : {"/c", "reg", "query"}) {
        if (TakeWord(command) != word) {
            return false;
        }
    }
    query.key = TakeWord(command);
    const bool byName = TakeWord(command) == "/v";
    query.name = TakeWord(command);
    query.output = output;
    return byName && !query.name.empty() && !query.output.empty() && Trim(command).empty();
}

std::string FormatRegistryAnswer(const SRegistryValue& value) {
    const char* type = value.type == RegistryType::Number ? "REG_DWORD" : "REG_SZ";
    const std::string name = value.name.empty() ? "(Default)" : value.name;
    return "\r\n" + value.hive + '\\' + value.key + "\r\n    " + name + "    " + type + "    " +
           value.text + "\r\n\r\n";
}

} // namespace Nax::FrontEnd::XMLDB
