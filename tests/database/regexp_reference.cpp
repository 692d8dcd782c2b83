// SPDX-License-Identifier: Apache-2.0
#include "regexp_reference.h"

#include <bitset>
#include <cctype>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Nax::FrontEnd::XMLDB::Testing {

/// A set of characters, a condition on a place, or a combination of nodes.
struct CReferenceRegexp::SNode {
    enum class EKind { Characters, Start, End, Boundary, Sequence, Choice, Repeat };

    EKind kind = EKind::Sequence;
    std::bitset<128> characters;
    std::vector<std::unique_ptr<SNode>> children;
    int minimum = 0;
    std::optional<int> maximum;
};

namespace {

using SNode = CReferenceRegexp::SNode;
using EKind = SNode::EKind;
using NodePtr = std::unique_ptr<SNode>;
/// Bit i: the place before the subject's character i.
using Places = std::uint64_t;

bool IsWord(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

/// pattern = alternative { "|" alternative }; alternative = { atom { quantifier } }
class CParser {
public:
    CParser(std::string_view text, bool foldCase) : m_text(text), m_foldCase(foldCase) {}

    NodePtr ParseAll() {
        NodePtr root = ParseChoice();
        if (m_at < m_text.size()) {
            throw std::invalid_argument("unrecognized character");
        }
        return root;
    }

private:
    char Peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

    bool Take(char c) {
        if (m_at >= m_text.size() || m_text[m_at] != c) {
            return false;
        }
        ++m_at;
        return true;
    }

    static NodePtr Make(EKind kind) {
        auto node = std::make_unique<SNode>();
        node->kind = kind;
        return node;
    }

    NodePtr ParseChoice() {
        NodePtr choice = Make(EKind::Choice);
        do {
            choice->children.push_back(ParseSequence());
        } while (Take('|'));
        return choice;
    }

    NodePtr ParseSequence() {
        NodePtr sequence = Make(EKind::Sequence);
        std::vector<NodePtr>& items = sequence->children;
        while (m_at < m_text.size() && Peek() != '|' && Peek() != ')') {
            const char c = Peek();
            if (c == '*' || c == '+' || c == '?' || c == '{') {
                NodePtr repeat = Make(EKind::Repeat);
                if (items.empty()) {
                    const std::string name = c == '{' ? "{m,n}" : std::string(1, c);
                    throw std::invalid_argument("'" + name + "' without operand");
                }
                ++m_at;
                ParseTimes(c, *repeat);
                repeat->children.push_back(std::move(items.back()));
                items.back() = std::move(repeat);
            } else {
                items.push_back(ParseAtom());
            }
        }
        return sequence;
    }

    void ParseTimes(char c, SNode& repeat) {
        repeat.minimum = c == '+' ? 1 : 0;
        if (c == '?') {
            repeat.maximum = 1;
        }
        if (c != '{') {
            return;
        }
        repeat.minimum = ParseNumber();
        repeat.maximum = repeat.minimum;
        if (Take(',')) {
            repeat.maximum.reset();
            if (Peek() != '}') {
                repeat.maximum = ParseNumber();
            }
        }
        if (!Take('}')) {
            throw std::invalid_argument("unmatched '{'");
        }
        if (repeat.maximum == 0 && repeat.minimum == 0) {
            throw std::invalid_argument("both m and n are zero in '{m,n}'");
        }
        if (repeat.maximum == 0) {
            repeat.maximum.reset();
        }
        if (repeat.maximum && *repeat.maximum < repeat.minimum) {
            throw std::invalid_argument("n less than m in '{m,n}'");
        }
    }

    int ParseNumber() {
        int number = 0;
        while (std::isdigit(static_cast<unsigned char>(Peek())) != 0) {
            number = number * 10 + (m_text[m_at++] - '0');
        }
        return number;
    }

    NodePtr ParseAtom() {
        const char c = m_text[m_at++];
        switch (c) {
            case '(': {
                NodePtr group = ParseChoice();
                if (!Take(')')) {
                    throw std::invalid_argument("unmatched '('");
                }
                return group;
            }
            case '^':
                return Make(EKind::Start);
            case '$':
                return Make(EKind::End);
            case '[':
                return ParseClass();
            case '\\':
                return ParseEscape();
            default: {
                NodePtr node = Make(EKind::Characters);
                if (c == '.') {
                    node->characters.set();
                } else {
                    AddFolded(node->characters, c, c);
                }
                return node;
            }
        }
    }

    /// Both cases of each letter when folding.
    void AddFolded(std::bitset<128>& set, char low, char high) const {
        for (char c = low; c <= high && c >= 0; ++c) {
            set.set(static_cast<std::size_t>(c));
            if (m_foldCase) {
                set.set(static_cast<std::size_t>(std::tolower(c)));
                set.set(static_cast<std::size_t>(std::toupper(c)));
            }
        }
    }

    NodePtr ParseClass() {
        NodePtr node = Make(EKind::Characters);
        const bool negated = Take('^');
        for (bool first = true; first || Peek() != ']'; first = false) {
            if (m_at >= m_text.size()) {
                throw std::invalid_argument("unclosed '['");
            }
            const char low = m_text[m_at++];
            char high = low;
            if (m_at + 1 < m_text.size() && m_text[m_at] == '-' && m_text[m_at + 1] != ']') {
                high = m_text[m_at + 1];
                m_at += 2;
            }
            AddFolded(node->characters, low, high);
        }
        ++m_at;
        if (negated) {
            node->characters.flip();
        }
        return node;
    }

    NodePtr ParseEscape() {
        const char c = Peek();
        ++m_at;
        if (c == 'b') {
            return Make(EKind::Boundary);
        }
        if (c != 'w' && c != 'W') {
            throw std::invalid_argument("unknown \\ escape");
        }
        NodePtr node = Make(EKind::Characters);
        for (std::size_t i = 0; i < 128; ++i) {
            node->characters[i] = IsWord(static_cast<char>(i)) == (c == 'w');
        }
        return node;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    bool m_foldCase;
};

/// The places where the node can end when it begins at one of `starts`.
Places EndsOf(const SNode& node, std::string_view subject, Places starts);

/// The places among `places` that meet the condition.
Places PlacesThat(EKind condition, std::string_view subject, Places places) {
    Places result = 0;
    for (std::size_t i = 0; i <= subject.size(); ++i) {
        const bool before = i > 0 && IsWord(subject[i - 1]);
        const bool after = i < subject.size() && IsWord(subject[i]);
        const bool holds = condition == EKind::Start ? i == 0
                           : condition == EKind::End ? i == subject.size()
                                                     : before != after;
        result |= holds ? places & (Places{1} << i) : 0;
    }
    return result;
}

Places EndsOfRepeat(const SNode& node, std::string_view subject, Places starts) {
    Places places = starts;
    for (int i = 0; i < node.minimum; ++i) {
        places = EndsOf(*node.children[0], subject, places);
    }
    Places all = places;
    for (int i = node.minimum; !node.maximum || i < *node.maximum; ++i) {
        places = EndsOf(*node.children[0], subject, places);
        if ((places & ~all) == 0) {
            break;
        }
        all |= places;
    }
    return all;
}

Places EndsOf(const SNode& node, std::string_view subject, Places starts) {
    Places result = 0;
    switch (node.kind) {
        case EKind::Characters:
            for (std::size_t i = 0; i < subject.size(); ++i) {
                const bool taken = node.characters[static_cast<std::size_t>(subject[i])];
                result |= taken ? (starts & (Places{1} << i)) << 1 : 0;
            }
            return result;
        case EKind::Sequence:
            for (const NodePtr& child : node.children) {
                starts = EndsOf(*child, subject, starts);
            }
            return starts;
        case EKind::Choice:
            for (const NodePtr& child : node.children) {
                result |= EndsOf(*child, subject, starts);
            }
            return result;
        case EKind::Repeat:
            return EndsOfRepeat(node, subject, starts);
        default:
            return PlacesThat(node.kind, subject, starts);
    }
}

} // namespace

CReferenceRegexp::CReferenceRegexp(std::string_view pattern, bool foldCase) : m_foldCase(foldCase) {
    m_anchored = pattern.substr(0, 1) == "^";
    try {
        m_root = CParser(pattern.substr(m_anchored ? 1 : 0), foldCase).ParseAll();
    } catch (const std::invalid_argument& error) {
        m_error = error.what();
    }
}

CReferenceRegexp::~CReferenceRegexp() = default;

bool CReferenceRegexp::Matches(std::string_view subject) const {
    const Places anywhere = (Places{2} << subject.size()) - 1;
    return EndsOf(*m_root, subject, m_anchored ? 1 : anywhere) != 0;
}

} // namespace Nax::FrontEnd::XMLDB::Testing
