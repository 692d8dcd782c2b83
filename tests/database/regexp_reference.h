// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace Nax::FrontEnd::XMLDB::Testing {

/// Slow and obviously right: works on the syntax tree with sets of places in the subject. Shares no
/// code with the matcher under test. Recursive, ASCII only, subjects of at most 62 characters.
class CReferenceRegexp {
public:
    CReferenceRegexp(std::string_view pattern, bool foldCase);
    ~CReferenceRegexp();

    /// Empty when the pattern is good.
    const std::string& Error() const { return m_error; }
    bool Matches(std::string_view subject) const;

    struct SNode;

private:
    std::string m_error;
    std::unique_ptr<SNode> m_root;
    bool m_anchored = false;
    bool m_foldCase;
};

} // namespace Nax::FrontEnd::XMLDB::Testing
