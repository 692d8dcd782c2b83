// SPDX-License-Identifier: Apache-2.0
#include "xml_fault_text.h"

#include <algorithm>
#include <array>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::size_t ValueLimit = 200;
constexpr std::size_t TextLimit = 500;
constexpr std::size_t ExpectedLimit = 20;

struct SWords {
    std::string_view name;
    std::string_view words;
};

constexpr std::array<SWords, 18> TypeWords = {{
    {"xs:integer", "an integer"},
    {"xs:int", "an integer"},
    {"xs:long", "an integer"},
    {"xs:short", "an integer"},
    {"xs:nonNegativeInteger", "an integer of 0 or more"},
    {"xs:positiveInteger", "an integer of 1 or more"},
    {"xs:unsignedInt", "an integer of 0 or more"},
    {"xs:decimal", "a number"},
    {"xs:double", "a number"},
    {"xs:boolean", "one of \"true\", \"false\", \"1\", \"0\""},
    {"xs:date", "a date such as \"2024-12-31\""},
    {"xs:dateTime", "a time such as \"2024-12-31T23:59:59\""},
    {"xs:anyURI", "a URI"},
    {"xs:NMTOKEN", "a single word of letters, digits and the characters \".-_:\""},
    {"xs:NCName",
     "a name (a letter or \"_\", followed by letters, digits and the characters \".-_\")"},
    {"xs:Name", "a name"},
    {"xs:ID", "a name that may serve as identity"},
    {"xs:language", "a language code such as \"en\""},
}};

constexpr std::array<std::string_view, 7> BoundPhrases = {
    "is less than the minimum", "is greater than the maximum", "must be greater than",
    "must be less than",        "has more digits than",        "has more fractional digits than",
    "has a length of"};

std::string_view Trimmed(std::string_view text) {
    const std::size_t end = text.find_last_not_of(" \t\r\n");
    return end == text.npos ? std::string_view() : text.substr(0, end + 1);
}

/// The first `limit` characters, and a sign that there are more.
std::string Shortened(std::string_view text, std::size_t limit) {
    std::size_t characters = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool begins = (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U;
        if (begins && ++characters > limit) {
            return std::string(text.substr(0, at)) + "…";
        }
    }
    return std::string(text);
}

/// The part between `before` (its last occurrence) and the last `after`.
std::optional<std::string_view> Between(std::string_view text, std::string_view before,
                                        std::string_view after) {
    const std::size_t start = text.rfind(before);
    const std::size_t end = text.rfind(after);
    if (start == text.npos || end == text.npos || end < start + before.size()) {
        return std::nullopt;
    }
    return text.substr(start + before.size(), end - start - before.size());
}

std::string WithDoubleQuotes(std::string_view text) {
    std::string result(text);
    std::replace(result.begin(), result.end(), '\'', '"');
    return result;
}

/// "( a, b )" as quoted names; at most ExpectedLimit of them.
std::string QuotedList(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t at = 0; at < names.size(); ++at) {
        if (at == ExpectedLimit) {
            return list + ", …";
        }
        list += (at == 0 ? "" : ", ") + Quoted(names[at]);
    }
    return list;
}

std::vector<std::string> ExpectedNames(std::string_view text) {
    std::vector<std::string> names;
    const auto inner = Between(text, "( ", " )");
    std::string_view rest = inner.value_or(std::string_view());
    while (!rest.empty()) {
        const std::size_t comma = rest.find(", ");
        names.emplace_back(rest.substr(0, comma));
        rest = comma == rest.npos ? std::string_view() : rest.substr(comma + 2);
    }
    return names;
}

std::string Subject(const SSchemaFault& fault) {
    const std::string element = "lement " + Quoted(fault.element);
    return fault.attribute.empty() ? "E" + element
                                   : "Attribute " + Quoted(fault.attribute) + " of e" + element;
}

/// The value as the document has it; the validator's words quote the content of elements only.
std::string SubjectWithValue(const SSchemaFault& fault) {
    if (fault.value) {
        return Subject(fault) + " has the value " + Quoted(*fault.value) + ", which ";
    }
    for (const std::string_view ending : {"' is not a valid value of", "' is not an element of",
                                          "' is not accepted by", "' does not match the fixed"}) {
        const std::size_t start = fault.text.find('\'');
        const std::size_t end = fault.text.rfind(ending);
        if (start < end && end != fault.text.npos) {
            return Subject(fault) + " has the content " +
                   Quoted(fault.text.substr(start + 1, end - start - 1)) + ", which ";
        }
    }
    return Subject(fault) + " has content that ";
}

std::string OfType(const SSchemaFault& fault) {
    const bool isNamed = !fault.typeName.empty() && !fault.typeName.starts_with("xs:");
    return isNamed ? " of type " + Quoted(fault.typeName) : std::string();
}

std::string DescribeType(const SSchemaFault& fault) {
    const auto name = Between(fault.text, "type '", "'");
    if (!name) {
        return SubjectWithValue(fault) + "is not valid here.";
    }
    for (const SWords& entry : TypeWords) {
        if (entry.name == *name) {
            return SubjectWithValue(fault) + "is not " + std::string(entry.words) + ".";
        }
    }
    return SubjectWithValue(fault) + "is not a value of type " + Quoted(*name) + ".";
}

std::string DescribeEnumeration(const SSchemaFault& fault) {
    const auto values = Between(fault.text, "of the set {'", "'}");
    if (!values) {
        return SubjectWithValue(fault) + "is not one of the allowed values" + OfType(fault) + ".";
    }
    std::vector<std::string> allowed;
    std::string_view rest = *values;
    for (;;) {
        constexpr std::string_view separator = "', '";
        const std::size_t end = rest.find(separator);
        allowed.emplace_back(rest.substr(0, end));
        if (end == rest.npos) {
            break;
        }
        rest = rest.substr(end + separator.size());
    }
    return SubjectWithValue(fault) +
           (allowed.size() == 1 ? "is not the allowed value "
                                : "is not one of the allowed values ") +
           QuotedList(allowed) + ".";
}

std::string DescribePattern(const SSchemaFault& fault) {
    const auto pattern = Between(fault.text, "by the pattern '", "'");
    return SubjectWithValue(fault) + "does not match the pattern" +
           (pattern ? " " + Quoted(*pattern) : std::string()) + OfType(fault) + ".";
}

std::string DescribeBound(const SSchemaFault& fault) {
    for (const std::string_view phrase : BoundPhrases) {
        const std::size_t at = fault.text.rfind(phrase);
        if (at != fault.text.npos) {
            std::string words(fault.text.substr(at));
            words.erase(std::remove(words.begin(), words.end(), '\''), words.end());
            return SubjectWithValue(fault) + words;
        }
    }
    return SubjectWithValue(fault) + "is outside of what is allowed" + OfType(fault) + ".";
}

std::string DescribeContent(const SSchemaFault& fault) {
    const std::vector<std::string> expected = ExpectedNames(fault.text);
    if (!fault.text.starts_with("Missing child")) {
        return DescribeUnexpectedElement(fault.element, fault.parent, expected);
    }
    if (expected.empty()) {
        return Subject(fault) + " lacks a child element.";
    }
    return Subject(fault) + " lacks a required child element; expected: " + QuotedList(expected) +
           ".";
}

std::string DescribeRoot(const SSchemaFault& fault) {
    if (!fault.elementNamespace.empty()) {
        return Subject(fault) + " stands in the namespace " + Quoted(fault.elementNamespace) +
               ", which the schema does not know; expected: an element without namespace.";
    }
    const bool known = fault.roots != nullptr && !fault.roots->empty();
    return Subject(fault) + " is not known as root of a document" +
           (known ? "; expected: " + QuotedList(*fault.roots) + "." : ".");
}

std::string DescribeEmpty(const SSchemaFault& fault) {
    return Subject(fault) + " must be empty, but contains " +
           (fault.text.starts_with("Element content") ? "elements." : "text.");
}

std::string DescribeOther(const SSchemaFault& fault) {
    return Subject(fault) + ": " + Shortened(WithDoubleQuotes(Trimmed(fault.text)), TextLimit);
}

} // namespace

std::string Quoted(std::string_view text) {
    return "\"" + Shortened(text, ValueLimit) + "\"";
}

SSchemaMessage SplitSchemaMessage(std::string_view message) {
    constexpr std::string_view elementLead = "Element '";
    constexpr std::string_view attributeLead = "', attribute '";
    SSchemaMessage split;
    split.text = Trimmed(message);
    if (!split.text.starts_with(elementLead)) {
        return split;
    }
    const std::string_view rest = split.text.substr(elementLead.size());
    const std::size_t nameEnd = rest.find('\'');
    if (nameEnd == rest.npos) {
        return split;
    }
    split.element = rest.substr(0, nameEnd);
    std::string_view tail = rest.substr(nameEnd);
    if (tail.starts_with(attributeLead)) {
        tail = tail.substr(attributeLead.size());
        const std::size_t end = std::min(tail.find('\''), tail.size());
        split.attribute = tail.substr(0, end);
        tail = tail.substr(end);
    }
    split.text = tail.starts_with("': ") ? tail.substr(3) : tail;
    return split;
}

std::string DescribeSchemaFault(const SSchemaFault& fault) {
    switch (fault.code) {
        case XML_SCHEMAV_CVC_DATATYPE_VALID_1_2_1:
        case XML_SCHEMAV_CVC_DATATYPE_VALID_1_2_2:
        case XML_SCHEMAV_CVC_DATATYPE_VALID_1_2_3:
            return DescribeType(fault);
        case XML_SCHEMAV_CVC_ENUMERATION_VALID:
            return DescribeEnumeration(fault);
        case XML_SCHEMAV_CVC_PATTERN_VALID:
            return DescribePattern(fault);
        case XML_SCHEMAV_CVC_LENGTH_VALID:
        case XML_SCHEMAV_CVC_MINLENGTH_VALID:
        case XML_SCHEMAV_CVC_MAXLENGTH_VALID:
        case XML_SCHEMAV_CVC_MININCLUSIVE_VALID:
        case XML_SCHEMAV_CVC_MAXINCLUSIVE_VALID:
        case XML_SCHEMAV_CVC_MINEXCLUSIVE_VALID:
        case XML_SCHEMAV_CVC_MAXEXCLUSIVE_VALID:
        case XML_SCHEMAV_CVC_TOTALDIGITS_VALID:
        case XML_SCHEMAV_CVC_FRACTIONDIGITS_VALID:
            return DescribeBound(fault);
        case XML_SCHEMAV_CVC_COMPLEX_TYPE_4:
            return Subject({.code = fault.code, .element = fault.element}) +
                   " lacks the required attribute " +
                   Quoted(Between(fault.text, "The attribute '", "'").value_or(fault.attribute)) +
                   ".";
        case XML_SCHEMAV_CVC_COMPLEX_TYPE_3_2_1:
        case XML_SCHEMAV_CVC_COMPLEX_TYPE_3_2_2:
            return "Attribute " + Quoted(fault.attribute) + " is not allowed for element " +
                   Quoted(fault.element) + ".";
        case XML_SCHEMAV_ELEMENT_CONTENT:
            return DescribeContent(fault);
        case XML_SCHEMAV_CVC_COMPLEX_TYPE_2_1:
            return DescribeEmpty(fault);
        case XML_SCHEMAV_CVC_COMPLEX_TYPE_2_2:
        case XML_SCHEMAV_CVC_TYPE_3_1_2:
            return Subject(fault) + " may contain text only, but contains elements.";
        case XML_SCHEMAV_CVC_COMPLEX_TYPE_2_3:
            return Subject(fault) + " may contain elements only, but contains text.";
        case XML_SCHEMAV_CVC_ELT_1:
            return DescribeRoot(fault);
        default:
            return DescribeOther(fault);
    }
}

std::string DescribeUnexpectedElement(std::string_view element, std::string_view parent,
                                      const std::vector<std::string>& expected) {
    return "Element " + Quoted(element) + " is not expected inside " + Quoted(parent) +
           (expected.empty() ? "." : "; expected: " + QuotedList(expected) + ".");
}

std::string DescribeRepeatedElement(std::string_view element, std::string_view parent) {
    return "Element " + Quoted(element) + " may stand only once inside " + Quoted(parent) + ".";
}

std::string DescribeSyntaxFault(const xmlError& error) {
    const std::string first = error.str1 == nullptr ? "" : error.str1;
    const std::string line = " in line " + std::to_string(error.int1);
    switch (error.code) {
        case XML_ERR_TAG_NAME_MISMATCH:
            if (error.str1 != nullptr && error.str2 != nullptr) {
                return "The end tag " + Quoted(error.str2) + " does not match the start tag " +
                       Quoted(first) + line + ".";
            }
            break;
        case XML_ERR_TAG_NOT_FINISHED:
            if (error.str1 != nullptr) {
                return "The document ends inside element " + Quoted(first) + ", which begins" +
                       line + ".";
            }
            break;
        case XML_ERR_ENTITY_LOOP:
            return "The document's entities refer to themselves or expand into too much text.";
        case XML_ERR_DOCUMENT_EMPTY:
            return error.message != nullptr && std::string_view(error.message).starts_with("Start")
                       ? "The document has no outermost element; its start tag is expected here."
                       : "The document is empty.";
        default:
            break;
    }
    std::string text = Shortened(
        WithDoubleQuotes(Trimmed(error.message == nullptr ? "" : error.message)), TextLimit);
    if (text.empty()) {
        text = "The document is not well-formed";
    }
    if (text.back() != '.' && text.back() != '!') {
        text += '.';
    }
    return text;
}

bool IsValueTypeFault(int code) noexcept {
    return code == XML_SCHEMAV_CVC_DATATYPE_VALID_1_2_1 ||
           code == XML_SCHEMAV_CVC_DATATYPE_VALID_1_2_2 ||
           code == XML_SCHEMAV_CVC_DATATYPE_VALID_1_2_3;
}

bool IsTextContentFault(int code) noexcept {
    return code == XML_SCHEMAV_CVC_COMPLEX_TYPE_2_3 || code == XML_SCHEMAV_CVC_COMPLEX_TYPE_2_1;
}

} // namespace Nax::FrontEnd::XMLDB
