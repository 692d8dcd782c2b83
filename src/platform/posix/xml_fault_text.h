// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libxml/xmlerror.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// The names in front of a schema message: "Element 'E', attribute 'a': text".
struct SSchemaMessage {
    std::string_view element;
    std::string_view attribute; ///< empty when the message is about the element
    std::string_view text;      ///< what follows, without line end
};

SSchemaMessage SplitSchemaMessage(std::string_view message);

/// What is known of a fault against the schema. Names are as written in the document.
struct SSchemaFault {
    int code = 0;
    std::string_view text{}; ///< the validator's words
    std::string_view element{};
    std::string_view elementNamespace{}; ///< empty for none
    std::string_view parent{};           ///< empty for the root
    std::string_view attribute{};
    std::optional<std::string_view> value{}; ///< of the attribute
    std::string_view typeName{};             ///< of the attribute, where the schema names one
    const std::vector<std::string>* roots = nullptr;
};

/// Sentences for an administrator, plain text, values cut at 200 characters.
std::string DescribeSchemaFault(const SSchemaFault& fault);
std::string DescribeUnexpectedElement(std::string_view element, std::string_view parent,
                                      const std::vector<std::string>& expected);
std::string DescribeRepeatedElement(std::string_view element, std::string_view parent);
std::string DescribeSyntaxFault(const xmlError& error);

/// True for messages that only repeat, for the whole value, what was said about a part of it.
bool IsValueTypeFault(int code) noexcept;
bool IsTextContentFault(int code) noexcept;

std::string Quoted(std::string_view text);

} // namespace Nax::FrontEnd::XMLDB
