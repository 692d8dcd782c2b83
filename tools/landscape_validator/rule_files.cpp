// SPDX-License-Identifier: Apache-2.0
#include "rule_files.h"

#include "contains.h"
#include "printable.h"
#include "readable_file.h"

#include <naxfewxmldb/naxfewxmldb.h>

#include <algorithm>
#include <string_view>
#include <tuple>

namespace LandscapeValidator {

using namespace Nax::FrontEnd::XMLDB;

namespace {

// The reader that tells lines is the one that validates, so it needs a schema: one that takes
// anything, because what a rule needs is told better here.
constexpr char kAnySchema[] =
    R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"><xs:element name="ValidationRules"/>)"
    R"(<xs:element name="Actions"/></xs:schema>)";

/// What the elements of one kind of file look like.
struct SForm {
    RuleFileKind kind;
    std::string_view root;
    std::string_view element;
    std::vector<std::string> needed;
    std::vector<std::string> optional;
};

const SForm kForms[] = {
    {RuleFileKind::Rules,
     "ValidationRules",
     "Rule",
     {"id", "name", "type", "msg", "body"},
     {"params", "lang", "solution"}},
    {RuleFileKind::Actions, "Actions", "JsonRequest", {"id", "name", "body", "output"}, {"msg"}},
};

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/// A decimal number from 0 up, without leading zeros, of at most nine digits.
bool IsRuleId(std::string_view text) {
    return !text.empty() && text.size() <= 9 && (text == "0" || text.front() != '0') &&
           text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool IsType(std::string_view text) {
    return text == "Error" || text == "Failed" || text == "Warning" || text == "Info";
}

/// Takes the elements of a file as they come and tells what is wrong with each.
class CRuleReader : public IXmlElementSink {
public:
    explicit CRuleReader(SRuleFile& file, const std::string& path) : m_file(file), m_path(path) {}

    void StartElement(std::string_view name, std::span<const SXmlAttribute> attributes,
                      long line) override {
        ++m_depth;
        if (m_depth == 1) {
            ReadRoot(name, line);
        } else if (m_form != nullptr && m_depth == 2 && name == m_form->element) {
            ReadElement(attributes, line);
        } else if (m_form != nullptr) {
            Fault(line, "element \"" + std::string(name) + "\" is not known here; expected is \"" +
                            std::string(m_form->element) + "\" within \"" +
                            std::string(m_form->root) + "\"");
        }
    }
    void EndElement(std::string_view /*name*/) override { --m_depth; }
    void Characters(std::string_view /*text*/) override {}

private:
    void Fault(long line, const std::string& text) {
        m_file.faults.push_back({m_path, line, text});
    }

    void ReadRoot(std::string_view name, long line) {
        const auto* form = std::find_if(std::begin(kForms), std::end(kForms),
                                        [name](const SForm& item) { return item.root == name; });
        if (form == std::end(kForms)) {
            Fault(line, "the root element is \"" + std::string(name) +
                            "\"; a file of rules has \"ValidationRules\", one of actions "
                            "\"Actions\"");
            return;
        }
        m_form = form;
        m_file.kind = form->kind;
    }

    void ReadElement(std::span<const SXmlAttribute> attributes, long line) {
        const std::size_t before = m_file.faults.size();
        SRuleElement element{m_path, line, {}};
        for (const SXmlAttribute& attribute : attributes) {
            const std::string name(attribute.name);
            if (!Contains(m_form->needed, name) && !Contains(m_form->optional, name)) {
                Fault(line, "attribute \"" + name + "\" is not known");
            }
            element.attributes[name] = attribute.value;
        }
        for (const std::string& name : m_form->needed) {
            if (IsBlank(element.Get(name))) {
                Fault(line, "attribute \"" + name + "\" is " +
                                (element.attributes.count(name) == 0 ? "missing" : "empty"));
            }
        }
        CheckValues(element);
        if (m_file.faults.size() == before) {
            m_file.elements.push_back(std::move(element));
        }
    }

    void CheckValues(const SRuleElement& element) {
        const std::string& id = element.Get("id");
        if (!IsBlank(id) && !IsRuleId(id)) {
            Fault(element.line, "id \"" + id + "\" is not a number from 0 to 999999999");
        }
        const std::string& type = element.Get("type");
        if (!IsBlank(type) && !IsType(type)) {
            Fault(element.line,
                  "type \"" + type + "\" is none of \"Error\", \"Failed\", \"Warning\", \"Info\"");
        }
        const std::string& output = element.Get("output");
        if (!IsBlank(output) && !CRulesProcessor::IsExportFileName(output)) {
            Fault(element.line, "output \"" + output +
                                    "\" is not a plain name of letters, digits, \"-\", \"_\" and "
                                    "\".\" with \".json\" at its end");
        }
    }

    SRuleFile& m_file;
    const std::string& m_path;
    const SForm* m_form = nullptr;
    int m_depth = 0;
};

} // namespace

std::string SFileFault::Describe() const {
    if (file.empty()) {
        return Printable(text);
    }
    return Printable(file) + (line > 0 ? ":" + std::to_string(line) : "") + ": " + Printable(text);
}

void Sort(std::vector<SFileFault>& faults) {
    std::stable_sort(faults.begin(), faults.end(),
                     [](const SFileFault& left, const SFileFault& right) {
                         return std::tie(left.file, left.line) < std::tie(right.file, right.line);
                     });
}

const std::string& SRuleElement::Get(const std::string& name) const {
    static const std::string kNone;
    const auto found = attributes.find(name);
    return found == attributes.end() ? kNone : found->second;
}

SRuleFile ReadRuleFile(const std::string& path) {
    SRuleFile file;
    const std::string reason = WhyUnreadable(path);
    if (!reason.empty()) {
        file.faults.push_back({path, 0, "cannot be read: " + reason});
        return file;
    }
    CRuleReader reader(file, path);
    CXmlXsdValidator validator(true);
    SXmlValidationResult result;
    _bstr_t message;
    validator.Validate(true, path.c_str(), path.c_str(), kAnySchema, message, reader, result);
    file.readable = result.readable;
    if (!result.wellFormed) {
        // What stands before the break may be half of something.
        file.elements.clear();
        file.faults.clear();
        file.kind = RuleFileKind::Unknown;
        const bool told = !result.issues.empty();
        file.faults.push_back({path, told ? result.issues.front().line : 0,
                               (file.readable ? "not well-formed: " : "") +
                                   (told ? result.issues.front().reason
                                         : std::string(static_cast<const char*>(message)))});
    }
    return file;
}

} // namespace LandscapeValidator
