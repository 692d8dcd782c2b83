// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace LandscapeValidator {

/// Writes one JSON document piece by piece, in the order of the calls: a document of a hundred
/// thousand findings is never held as a tree. Objects and arrays stand on lines of their own, or on
/// one line with everything inside them when they are begun as `Inline`.
///
/// The calls must follow the grammar. What is written reaches the stream by the destructor at the
/// latest; failures are the stream's.
class CJsonWriter {
public:
    enum class Layout { Lines, Inline };
    static constexpr Layout kInline = Layout::Inline;

    explicit CJsonWriter(std::ostream& out) : m_out(out) {}
    CJsonWriter(const CJsonWriter&) = delete;
    CJsonWriter& operator=(const CJsonWriter&) = delete;
    ~CJsonWriter();

    CJsonWriter& BeginObject(Layout layout = Layout::Lines) { return Begin('{', layout); }
    CJsonWriter& EndObject() { return End('}'); }
    CJsonWriter& BeginArray(Layout layout = Layout::Lines) { return Begin('[', layout); }
    CJsonWriter& EndArray() { return End(']'); }

    CJsonWriter& Key(std::string_view key);
    CJsonWriter& Text(std::string_view text);
    CJsonWriter& Number(long long number);
    CJsonWriter& Bool(bool value);
    CJsonWriter& Null();
    /// The text, or null when it is empty.
    CJsonWriter& TextOrNull(std::string_view text);

    CJsonWriter& Member(std::string_view key, std::string_view text) { return Key(key).Text(text); }
    CJsonWriter& Member(std::string_view key, const char* text) { return Key(key).Text(text); }
    CJsonWriter& Member(std::string_view key, std::size_t number) {
        return Key(key).Number(static_cast<long long>(number));
    }
    CJsonWriter& Member(std::string_view key, int number) { return Key(key).Number(number); }
    CJsonWriter& Member(std::string_view key, bool value) { return Key(key).Bool(value); }

private:
    struct SLevel {
        bool isInline;
        bool empty;
    };

    CJsonWriter& Begin(char bracket, Layout layout);
    CJsonWriter& End(char bracket);
    void BeginItem();
    void StartLine();
    void Flush();

    std::ostream& m_out;
    std::string m_buffer;
    std::vector<SLevel> m_levels;
    bool m_afterKey = false;
};

} // namespace LandscapeValidator
