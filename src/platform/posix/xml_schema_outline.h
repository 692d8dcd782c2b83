// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libxml/tree.h>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Nax::FrontEnd::XMLDB {

/// What a schema document says about one element, read off its text.
struct SElementOutline {
    /// The names of all children that may stand in the element; empty and not `listsChildren` where
    /// the schema is more involved than a plain list of elements.
    bool listsChildren = false;
    bool eachOnce = false; ///< xs:all: every child at most once, in any order
    std::vector<std::string> children;
    std::map<std::string, std::string, std::less<>> attributeTypes; ///< named types only
};

/// The parts of a schema that help to word faults and to go on behind an element that does not
/// belong where it stands (the validator itself ignores everything that follows its first
/// unexpected child). Immutable once made, so safe to share between threads.
class CSchemaOutline {
public:
    explicit CSchemaOutline(xmlDocPtr schema);

    /// Null for elements that the schema declares more than once, or not at all.
    const SElementOutline* Find(std::string_view element) const;
    /// Global elements that no other element contains; all global ones when there are none.
    const std::vector<std::string>& Roots() const noexcept { return m_roots; }
    const std::string& TargetNamespace() const noexcept { return m_targetNamespace; }

private:
    void CollectElements(xmlNodePtr root);
    void CollectRoots(xmlNodePtr root);

    std::string m_targetNamespace;
    std::vector<std::string> m_roots;
    std::map<std::string, SElementOutline, std::less<>> m_elements;
};

} // namespace Nax::FrontEnd::XMLDB
