// SPDX-License-Identifier: Apache-2.0
// Mutations of a landscape's structure: elements where they do not belong, attributes of others.
// Changed byte by byte a text is seldom well-formed for long, so half of the mutations keep its
// tags paired.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

struct SRange {
    std::size_t begin = 0;
    std::size_t end = 0;
};

struct SElement {
    SRange whole;
    SRange startTag;
    SRange endTag; ///< empty behind `<x/>`
    std::size_t nameEnd = 0;
};

constexpr auto kNames = std::to_array<std::string_view>({"Landscape",
                                                         "Services",
                                                         "Service",
                                                         "Memo",
                                                         "Workspaces",
                                                         "Workspace",
                                                         "Node",
                                                         "Item",
                                                         "Messageservers",
                                                         "Messageserver",
                                                         "Routers",
                                                         "Router",
                                                         "LDAPS",
                                                         "LDAP",
                                                         "Webdispatchers",
                                                         "Webdispatcher",
                                                         "Includes",
                                                         "Include",
                                                         "Configuration",
                                                         "Parameter",
                                                         "ServiceTemplate",
                                                         "Unknown",
                                                         "ServiceTemplates",
                                                         "x:Service",
                                                         "Link"});

constexpr auto kContents = std::to_array<std::string_view>(
    {"text", "<![CDATA[<a>]]>", "<!-- c -->", "<?p i?>", "&amp;", "&#x1F600;", "\r\n\t", "]]&gt;",
     "<Memo>m<Service uuid='s'/>n</Memo>", "<Include url='landscape.xml'/>", "&e;", "'||'"});

constexpr auto kAttributes = std::to_array<std::string_view>(
    {" uuid=''", " uuid='00000000-0000-4000-8000-000000000001'", " url='landscape.xml'",
     " xmlns='u'", " xmlns:x='u'",
     " xmlns:i='http://www.w3.org/2001/XMLSchema-instance' i:nil='true'", " name='&lt;&#10;'",
     " type='URL'", " f_data='1'", " line='7'", " file_id='9'"});

bool IsName(char c) {
    return static_cast<unsigned char>(c) > ' ' && std::strchr("<>/='\"", c) == nullptr;
}

/// The end of the tag that begins at `place`, quotes respected; npos when it has none.
std::size_t TagEnd(std::string_view text, std::size_t place) {
    char quote = '\0';
    for (; place < text.size(); ++place) {
        const char c = text[place];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return place + 1;
        }
    }
    return std::string_view::npos;
}

/// Tags that pair, however they stand; what else there is counts as text.
std::vector<SElement> FindElements(std::string_view text) {
    std::vector<SElement> elements;
    std::vector<SElement> open;
    for (std::size_t place = text.find('<'); place < text.size(); place = text.find('<', place)) {
        const bool isEnd = text.substr(place + 1, 1) == "/";
        const std::size_t end = TagEnd(text, place);
        if (end == std::string_view::npos) {
            break;
        }
        std::size_t nameEnd = place + 1;
        while (nameEnd < end && IsName(text[nameEnd])) {
            ++nameEnd;
        }
        if (isEnd && !open.empty()) {
            open.back().endTag = {place, end};
            open.back().whole.end = end;
            elements.push_back(open.back());
            open.pop_back();
        } else if (!isEnd && std::strchr("!?", text[place + 1]) == nullptr) {
            const SElement element{{place, end}, {place, end}, {end, end}, nameEnd};
            (text[end - 2] == '/' ? elements : open).push_back(element);
        }
        place = end;
    }
    return elements;
}

class CMutation {
public:
    CMutation(std::string_view text, unsigned seed)
        : m_text(text), m_random(seed), m_elements(FindElements(text)) {}

    /// False when there is no element to change.
    bool Apply() {
        if (m_elements.empty()) {
            return false;
        }
        const SElement element = m_elements[Below(m_elements.size())];
        switch (Below(7)) {
            case 0: // a copy of an element inside another
                m_text.insert(InsideOf(element), Cut(m_elements[Below(m_elements.size())].whole));
                break;
            case 1:
                m_text.erase(element.whole.begin, element.whole.end - element.whole.begin);
                break;
            case 2:
                Wrap(element, Any(kNames));
                break;
            case 3:
                Rename(element, Any(kNames));
                break;
            case 4:
                m_text.insert(InsideOf(element), Any(kContents));
                break;
            case 5:
                m_text.insert(element.nameEnd, Any(kAttributes));
                break;
            default:
                TakeAttributes(element, m_elements[Below(m_elements.size())]);
        }
        return true;
    }

    const std::string& Text() const { return m_text; }

private:
    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    template <std::size_t Count>
    std::string_view Any(const std::array<std::string_view, Count>& choices) {
        return choices[Below(Count)];
    }

    std::string Cut(SRange range) const {
        return m_text.substr(range.begin, range.end - range.begin);
    }

    std::size_t InsideOf(const SElement& element) {
        return Below(2) == 0 ? element.startTag.end : element.endTag.begin;
    }

    void Wrap(const SElement& element, std::string_view name) {
        m_text.insert(element.whole.end, "</" + std::string(name) + ">");
        m_text.insert(element.whole.begin, "<" + std::string(name) + ">");
    }

    void Rename(const SElement& element, std::string_view name) {
        if (element.endTag.begin != element.endTag.end) {
            m_text.replace(element.endTag.begin, element.endTag.end - element.endTag.begin,
                           "</" + std::string(name) + ">");
        }
        m_text.replace(element.startTag.begin + 1, element.nameEnd - element.startTag.begin - 1,
                       name);
    }

    void TakeAttributes(const SElement& to, const SElement& from) {
        std::string attributes = Cut({from.nameEnd, from.startTag.end - 1});
        attributes.resize(attributes.size() - (attributes.ends_with('/') ? 1 : 0));
        const std::size_t end = to.startTag.end - (m_text[to.startTag.end - 2] == '/' ? 2 : 1);
        m_text.replace(to.nameEnd, end - to.nameEnd, attributes);
    }

    std::string m_text;
    std::minstd_rand m_random;
    std::vector<SElement> m_elements;
};

} // namespace

/// Called by libFuzzer for each new input.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    CMutation mutation({reinterpret_cast<const char*>(data), size}, seed / 2);
    if (seed % 2 == 0 || !mutation.Apply() || mutation.Text().size() > maxSize) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    std::copy(mutation.Text().begin(), mutation.Text().end(), data);
    return mutation.Text().size();
}
