// SPDX-License-Identifier: Apache-2.0
#include "support/text_conversion.h"

#include <gtest/gtest.h>

#include "support/format.h"

using namespace Nax::FrontEnd::XMLDB;

namespace {

std::u16string ToUnits(std::string_view text) {
    std::u16string units;
    AppendWide(units, text);
    return units;
}

std::string FromUnits(std::u16string_view units) {
    std::string text;
    AppendUtf8(text, units);
    return text;
}

TEST(TextConversion, EveryCodePointComesBack) {
    std::wstring all;
    std::u16string units;
    for (char32_t code = 0; code <= 0x10FFFF; ++code) {
        if (code >= 0xD800 && code <= 0xDFFF) {
            continue;
        }
        all += static_cast<wchar_t>(code);
        if (code < 0x10000) {
            units += static_cast<char16_t>(code);
        } else {
            units += static_cast<char16_t>(0xD7C0 + (code >> 10));
            units += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
        }
    }
    const std::string text = ToUtf8(all);
    EXPECT_EQ(text.size(),
              0x80U + 2U * 0x780U + 3U * (0x10000U - 0x800U - 0x800U) + 4U * 0x100000U);
    EXPECT_TRUE(ToWide(text) == all);
    EXPECT_TRUE(FromUnits(units) == text);
    EXPECT_TRUE(ToUnits(text) == units);
    EXPECT_EQ(ToUtf8(L"\u20AC\u00E9"), "\xE2\x82\xAC\xC3\xA9");
}

TEST(TextConversion, BlockBordersAndAsciiRunsLoseNothing) {
    for (std::size_t before = 4080; before < 4104; ++before) {
        for (const char* middle : {"\xF0\x9F\x98\x80", "\xE2\x82\xAC", "\xC3\xA9", "x"}) {
            const std::string text = std::string(before, 'a') + middle + std::string(17, 'b');
            EXPECT_TRUE(ToUtf8(ToWide(text)) == text) << before << middle;
            EXPECT_TRUE(FromUnits(ToUnits(text)) == text) << before << middle;
        }
    }
}

TEST(TextConversion, BrokenUtf8BecomesReplacements) {
    const struct {
        std::string text;
        std::wstring wide;
    } cases[] = {
        {"a\x80"
         "b",
         L"a\uFFFDb"},
        {"\xC0\xAF", L"\uFFFD\uFFFD"},                     // overlong
        {"\xE0\x80\xAF", L"\uFFFD\uFFFD\uFFFD"},           // overlong
        {"\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"},           // surrogate
        {"\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"}, // beyond the last code point
        {"\xF5", L"\uFFFD"},
        {"\xE2\x82", L"\uFFFD"},                   // cut at the end
        {"\xE2\x82z", L"\uFFFDz"},                 // cut by another character
        {"\xF0\x9F\x98\xC3\xA9", L"\uFFFD\u00E9"}, // cut by another sequence
        {std::string("\0\xFF\0", 3), std::wstring(L"\0\uFFFD\0", 3)},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(ToWide(test.text), test.wide) << testing::PrintToString(test.text);
        EXPECT_EQ(FromUnits(ToUnits(test.text)), ToUtf8(test.wide));
    }
}

TEST(TextConversion, BrokenWideTextBecomesReplacements) {
    const struct {
        std::u16string units;
        const char* text;
    } cases[] = {
        {{u'a', 0xD83D, u'b'},
         "a\xEF\xBF\xBD"
         "b"},
        {{0xD83D}, "\xEF\xBF\xBD"},
        {{0xDE00, 0xD83D}, "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {{0xD83D, 0xD83D, 0xDE00}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(FromUnits(test.units), test.text);
    }
    if constexpr (sizeof(wchar_t) == 4) {
        const std::wstring beyond = {L'a', static_cast<wchar_t>(0x110000),
                                     static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(-1)};
        EXPECT_EQ(ToUtf8(beyond), "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    }
}

TEST(Format, TextsOfAnyLength) {
    for (const std::size_t length : {0U, 510U, 511U, 512U, 513U, 100000U}) {
        const std::string text(length, 'f');
        EXPECT_EQ(Format("%s|%d", text.c_str(), 7), text + "|7") << length;
    }
}

} // namespace
