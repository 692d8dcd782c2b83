// SPDX-License-Identifier: Apache-2.0
#include "xml_com_object.h"
#include "xml_fault_location.h"
#include "xml_fault_text.h"
#include "xml_stream.h"

#include <algorithm>
#include <utility>

namespace Nax::FrontEnd::XMLDB {

namespace {

constexpr std::string_view InstanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";

/// A child that its parent may not have at all is told as the parent's fault.
bool IsAboutParent(const SSchemaMessage& message) {
    return message.text.starts_with("Element content is not allowed");
}

} // namespace

void CXmlStream::StartValidation(const xmlChar* rootUri) {
    if (m_options.schemas == nullptr || m_options.schemas->empty()) {
        return;
    }
    const auto found =
        std::find_if(m_options.schemas->begin(), m_options.schemas->end(),
                     [&](const auto& entry) { return entry.first == XMLDB::ViewOf(rootUri); });
    const CXmlCompiledSchema& schema =
        *(found == m_options.schemas->end() ? m_options.schemas->front() : *found).second;
    m_outline = &schema.Outline();
    m_validation = schema.NewContext();
    m_plug = xmlSchemaSAXPlug(m_validation.get(), &m_validator, &m_validatorData);
    if (m_plug == nullptr) {
        throw std::bad_alloc();
    }
}

bool CXmlStream::HasSchemaType(const SAttributeEvent& event) const {
    for (int at = 0; at < event.count; ++at) {
        if (ViewOf(event.attributes[static_cast<std::ptrdiff_t>(at) * 5 + 2]) ==
            InstanceNamespace) {
            return true;
        }
    }
    return false;
}

bool CXmlStream::AdmitElement(SOpenElement& element, std::string_view localName,
                              std::string_view uri) {
    // A type named in the document may allow other children than the declared one.
    if (uri == m_outline->TargetNamespace() && !HasSchemaType(m_startEvent)) {
        element.outline = m_outline->Find(localName);
    }
    if (m_open.empty()) {
        return true;
    }
    SOpenElement& parent = m_open.back();
    if (!parent.isValidated || parent.outline == nullptr || !parent.outline->listsChildren) {
        return parent.isValidated;
    }
    const std::vector<std::string>& children = parent.outline->children;
    const auto found = std::find(children.begin(), children.end(), localName);
    if (found == children.end()) {
        AddFault(XML_SCHEMAV_ELEMENT_CONTENT,
                 DescribeUnexpectedElement(ViewOf(element.name), ViewOf(parent.name), children),
                 element.offset);
        return false;
    }
    const auto position = static_cast<std::size_t>(found - children.begin());
    if (!parent.outline->eachOnce || position >= 64) {
        return true;
    }
    const std::uint64_t bit = std::uint64_t{1} << position;
    if ((parent.seenChildren & bit) != 0) {
        AddFault(XML_SCHEMAV_ELEMENT_CONTENT,
                 DescribeRepeatedElement(ViewOf(element.name), ViewOf(parent.name)),
                 element.offset);
        return false;
    }
    parent.seenChildren |= bit;
    return true;
}

void CXmlStream::AddFault(int code, std::string reason, std::size_t offset) {
    if (!m_options.allFaults && m_faults.total > 0) {
        return;
    }
    m_faults.Add(
        [&] { return SXmlFault{.code = code, .reason = std::move(reason), .offset = offset}; });
}

int CXmlStream::FindAttribute(std::string_view name) const {
    std::string_view uri;
    if (name.starts_with('{')) {
        const std::size_t end = std::min(name.find('}'), name.size() - 1);
        uri = name.substr(1, end - 1);
        name = name.substr(end + 1);
    }
    for (int at = 0; at < m_startEvent.count; ++at) {
        const xmlChar** attribute = m_startEvent.attributes + static_cast<std::ptrdiff_t>(at) * 5;
        if (ViewOf(attribute[0]) == name && ViewOf(attribute[2]) == uri) {
            return at;
        }
    }
    return -1;
}

std::size_t CXmlStream::FaultOffset(int code, std::string_view attribute) const {
    const SOpenElement& element = m_open.back();
    if (m_startEvent.attributes == nullptr) {
        return IsTextContentFault(code) && element.textOffset != SXmlFault::NoOffset
                   ? element.textOffset
                   : element.offset;
    }
    const int index = m_inEntity || attribute.empty() ? -1 : FindAttribute(attribute);
    if (index < 0) {
        return element.offset;
    }
    const xmlChar** found = m_startEvent.attributes + static_cast<std::ptrdiff_t>(index) * 5;
    const std::size_t length = Offset() - element.offset;
    const std::string_view tag(reinterpret_cast<const char*>(Input()->cur) - length, length);
    const std::size_t at = FindAttributeInTag(tag, ViewOf(QualifiedName(found[1], found[0])));
    return at == tag.npos ? element.offset : element.offset + at;
}

std::string CXmlStream::Describe(const xmlError& error, std::string_view attribute) {
    const SSchemaMessage message =
        SplitSchemaMessage(error.message == nullptr ? "" : error.message);
    const SOpenElement& element = m_open.back();
    SSchemaFault fault;
    fault.code = error.code;
    fault.text = message.text;
    fault.element = ViewOf(element.name);
    fault.parent = m_open.size() > 1 ? ViewOf(m_open[m_open.size() - 2].name) : std::string_view();
    if (IsAboutParent(message)) {
        fault.element = fault.parent;
    }
    fault.attribute = attribute;
    fault.roots = &m_outline->Roots();
    if (message.element.starts_with('{')) {
        fault.elementNamespace = message.element.substr(1, message.element.find('}') - 1);
    }
    const int index = attribute.empty() ? -1 : FindAttribute(attribute);
    if (index >= 0) {
        const xmlChar** found = m_startEvent.attributes + static_cast<std::ptrdiff_t>(index) * 5;
        fault.attribute = ViewOf(QualifiedName(found[1], found[0]));
        fault.value = std::string_view(reinterpret_cast<const char*>(found[3]),
                                       static_cast<std::size_t>(found[4] - found[3]));
    }
    if (element.outline != nullptr) {
        const auto type = element.outline->attributeTypes.find(fault.attribute);
        fault.typeName =
            type == element.outline->attributeTypes.end() ? std::string_view() : type->second;
    }
    return DescribeSchemaFault(fault);
}

void CXmlStream::OnSchemaError(const xmlError& error) {
    if (error.level < XML_ERR_ERROR || m_open.empty()) {
        return;
    }
    const SSchemaMessage message =
        SplitSchemaMessage(error.message == nullptr ? "" : error.message);
    const std::string_view attribute = message.attribute;
    if (IsAboutParent(message) && m_open.size() > 1) {
        m_open[m_open.size() - 2].hasContentFault = true;
    }
    // What is left of the content of such an element is no fault of its own.
    if (IsValueTypeFault(error.code) && attribute.empty() && m_open.back().hasContentFault) {
        return;
    }
    // The validator tells each piece of a text.
    if (message.text.starts_with("Character content") &&
        std::exchange(m_textFaultEvent, m_event) == m_event) {
        return;
    }
    // The validator tells a value's fault as one of its facet (or list item) and once more as one
    // of its type.
    if (IsValueTypeFault(error.code) && m_valueFault.event == m_event &&
        m_valueFault.attribute == attribute) {
        return;
    }
    m_valueFault.event = m_event;
    m_valueFault.attribute = attribute;
    const bool isKept = m_faults.faults.size() < SXmlFaultList::DetailLimit;
    AddFault(error.code, isKept ? Describe(error, attribute) : std::string(),
             isKept ? FaultOffset(error.code, attribute) : SXmlFault::NoOffset);
}

} // namespace Nax::FrontEnd::XMLDB
