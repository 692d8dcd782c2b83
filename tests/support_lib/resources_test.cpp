// SPDX-License-Identifier: Apache-2.0
// The build embeds resources 901 (data/sample.txt, text), 902 (data/sample.bin, bytes), 903 (an
// empty text) and 904 (a text that the build itself generates).
#include "platform/resources.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

HMODULE ThisModule() {
    static const char inThisModule = 0;
    HMODULE module = nullptr;
    EXPECT_EQ(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                     GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                 &inThisModule, &module),
              TRUE);
    return module;
}

TEST(Resources, AreFoundByNumberAndType) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes += static_cast<char>(i);
    }
    const struct {
        int id;
        ResourceName type;
        const char* content; // null: no such resource
        std::size_t size;
    } cases[] = {
        {901, "MY_TEXTINCLUDE", "line 1\n\"quoted\" \\ \?\?/ \xC3\xA9\n", 25},
        {902, RT_RCDATA, bytes.data(), bytes.size()},
        {903, "MY_TEXTINCLUDE", "", 0},
        {904, "MY_TEXTINCLUDE", "made by the build\n", 18},
        {901, RT_RCDATA, nullptr, 0},
        {902, "MY_TEXTINCLUDE", nullptr, 0},
        {999, "MY_TEXTINCLUDE", nullptr, 0},
    };
    const HMODULE module = ThisModule();
    for (const auto& test : cases) {
        const HRSRC found = FindResourceA(module, MAKEINTRESOURCEA(test.id), test.type);
        ASSERT_EQ(found != nullptr, test.content != nullptr) << test.id;
        if (found != nullptr) {
            const auto* text = static_cast<const char*>(LockResource(LoadResource(module, found)));
            ASSERT_EQ(SizeofResource(module, found), test.size) << test.id;
            EXPECT_EQ(std::memcmp(text, test.content, test.size), 0) << test.id;
            EXPECT_EQ(text[test.size], '\0') << test.id;
        }
    }
}

TEST(Resources, BelongToTheirModule) {
    HMODULE runtime = nullptr;
    const auto* inRuntime = reinterpret_cast<const char*>(&std::strtok);
    ASSERT_EQ(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, inRuntime, &runtime),
              TRUE);
    EXPECT_EQ(FindResourceA(runtime, MAKEINTRESOURCEA(901), "MY_TEXTINCLUDE"), nullptr);
    EXPECT_EQ(FindResourceA(nullptr, MAKEINTRESOURCEA(901), "MY_TEXTINCLUDE"), nullptr);
    HMODULE none = nullptr;
    EXPECT_EQ(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, nullptr, &none), FALSE);
    EXPECT_EQ(GetModuleHandleExA(0, "name", &none), FALSE);
}

} // namespace
