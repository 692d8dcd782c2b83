// SPDX-License-Identifier: Apache-2.0
#include "platform/registry.h"

#include <gtest/gtest.h>

#include "registry_file.h"
#include "scratch.h"

using namespace Nax::FrontEnd::XMLDB;

namespace {

/// hive|key|name|type|text, one value a line.
std::string Describe(const std::vector<SRegistryValue>& values) {
    std::string text;
    for (const SRegistryValue& value : values) {
        text += value.hive + '|' + value.key + '|' + value.name + '|' +
                (value.type == RegistryType::Number ? "number" : "text") + '|' + value.text + '\n';
    }
    return text;
}

TEST(RegistryFile, KeyLines) {
    constexpr struct {
        const char* line;
        const char* hiveAndKey; // null: the values below belong to no key
    } kCases[] = {
        {"[HKEY_CURRENT_USER\\Software\\A]", "HKEY_CURRENT_USER|Software\\A"},
        {"  [ hkcu\\Software\\A b ]  ", "HKEY_CURRENT_USER|Software\\A b"},
        {"[HKLM\\SOFTWARE\\Wow6432Node\\A]", "HKEY_LOCAL_MACHINE|SOFTWARE\\Wow6432Node\\A"},
        {"[Software\\A]", "HKEY_CURRENT_USER|Software\\A"},
        {"[\\Software\\A\\]", "HKEY_CURRENT_USER|Software\\A"},
        {"[HKLMX\\A]", "HKEY_CURRENT_USER|HKLMX\\A"},
        {"[Software\\A] ; remark", "HKEY_CURRENT_USER|Software\\A"},
        {"[HKEY_CURRENT_USER]", nullptr},
        {"[Software\\A", nullptr},
        {"[]", nullptr},
        {"Software\\A]", "HKEY_USERS|before"},
    };
    for (const auto& test : kCases) {
        const std::string text = std::string("[HKU\\before]\n") + test.line + "\nn=1\n";
        const std::string expected =
            test.hiveAndKey == nullptr ? "" : std::string(test.hiveAndKey) + "|n|number|0x1\n";
        EXPECT_EQ(Describe(ParseRegistry(text)), expected) << test.line;
    }
}

TEST(RegistryFile, ValueLines) {
    constexpr struct {
        const char* line;
        const char* value; // null: the line is skipped
    } kCases[] = {
        {"Level = dword:00000004", "Level|number|0x4"},
        {"Level=DWORD:ffFFffFF", "Level|number|0xffffffff"},
        {"Level = 17 ; remark", "Level|number|0x11"},
        {"\"Level\"=0x1F", "Level|number|0x1f"},
        {"\"A = \\\"b\\\"\" = \"c = \\\\d\" # remark", "A = \"b\"|text|c = \\d"},
        {"Path = \"C:\\NAX\\Common\"", "Path|text|C:\\NAX\\Common"},
        {"Path = C:\\a;b #c", "Path|text|C:\\a;b"},
        {"@ = \"standard\"", "|text|standard"},
        {"\"@\" = x", "@|text|x"},
        {"Empty =", "Empty|text|"},
        {"Empty = ; remark", "Empty|text|"},
        {"Negative = -1", "Negative|text|-1"},
        {"Level = dword:", nullptr},
        {"Level = dword:1ffffffff", nullptr},
        {"Level = dword:4x", nullptr},
        {"Level = 4294967296", nullptr},
        {"Text = \"no end", nullptr},
        {"Text = \"a\" b", nullptr},
        {"\"Name = 1", nullptr},
        {"\"Name\" 1", nullptr},
        {"= 1", nullptr},
        {"just words", nullptr},
        {"; Level = 1", nullptr},
        {"# Level = 1", nullptr},
    };
    for (const auto& test : kCases) {
        const std::string text = std::string("[HKCU\\K]\n\t ") + test.line + " \t";
        const std::string expected =
            test.value == nullptr ? "" : std::string("HKEY_CURRENT_USER|K|") + test.value + '\n';
        EXPECT_EQ(Describe(ParseRegistry(text)), expected) << test.line;
    }
}

TEST(RegistryFile, MarksLineEndsAndLinesOutsideKeys) {
    EXPECT_EQ(Describe(ParseRegistry("\xEF\xBB\xBF[K]\r\na=1\r\n\r\nb=x y\r\n")),
              "HKEY_CURRENT_USER|K|a|number|0x1\nHKEY_CURRENT_USER|K|b|text|x y\n");
    EXPECT_EQ(Describe(ParseRegistry("a=1\nWindows Registry Editor\n")), "");
    EXPECT_EQ(Describe(ParseRegistry("")), "");
}

class RegistryQueryTest : public testing::Test {
protected:
    void Write(const std::string& text) {
        std::filesystem::create_directories(m_folder.File("naxfewxmldb"));
        m_folder.Write("naxfewxmldb/registry.ini", text);
    }

    CScratchFolder m_folder;
    CEnvironmentValue m_config{"XDG_CONFIG_HOME", m_folder.Path().c_str()};
};

TEST_F(RegistryQueryTest, NumbersAreFoundByKeyAndName) {
    Write(
        "[HKLM\\Software\\NAX]\nLevel = 1\n"
        "[HKCU\\Software\\NAX]\nLevel = 2\nText = \"7\"\nTwice = 3\nTwice = 5\n");
    constexpr struct {
        const char* key;
        const char* name;
        int value; // -1: not found
    } kCases[] = {
        {"Software\\NAX", "Level", 2},
        {"software\\nax", "LEVEL", 2},
        {"HKEY_CURRENT_USER\\Software\\NAX\\", "Level", 2},
        {"HKLM\\Software\\NAX", "Level", 1},
        {"Software\\NAX", "Twice", 5},
        {"Software\\NAX", "Text", -1},
        {"Software\\NAX", "Other", -1},
        {"Software", "Level", -1},
        {"HKU\\Software\\NAX", "Level", -1},
    };
    for (const auto& test : kCases) {
        DWORD value = 99;
        EXPECT_EQ(GetRegValInt(&value, test.key, test.name, 0) == 0, test.value >= 0) << test.key;
        EXPECT_EQ(value, static_cast<DWORD>(test.value >= 0 ? test.value : 99)) << test.key;
    }
}

TEST_F(RegistryQueryTest, TextsAreReadWithWhatTheyBelongTo) {
    Write("[HKLM\\SOFTWARE\\Wow6432Node\\NAX]\nFile = \\\\server\\share\\landscape.xml\n");
    SRegistryValue value;
    ASSERT_TRUE(GetRegistryValue("HKEY_LOCAL_MACHINE\\SOFTWARE\\WOW6432NODE\\NAX", "file", &value));
    EXPECT_EQ(Describe({value}),
              "HKEY_LOCAL_MACHINE|SOFTWARE\\Wow6432Node\\NAX|File|text|"
              "\\\\server\\share\\landscape.xml\n");
}

TEST_F(RegistryQueryTest, AMissingFileIsAnEmptyRegistryAndStaysMissing) {
    DWORD value = 0;
    EXPECT_NE(GetRegValInt(&value, "Software\\NAX", "Level", 0), 0);
    EXPECT_EQ(m_folder.EntryCount(), 0U);
}

} // namespace
