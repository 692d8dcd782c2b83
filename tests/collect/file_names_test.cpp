// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "processor/support_file_name.h"

namespace Nax::FrontEnd::XMLDB {
namespace {

TEST(PlainFileName, CannotLeadOutOfAFolderAnywhere) {
    const std::string longName(300, 'a');
    const struct {
        std::string path;
        std::string name;
    } cases[] = {
        {"landscape.xml", "landscape.xml"},
        {"/a/b/landscape.xml", "landscape.xml"},
        {R"(C:\a\b\landscape.xml)", "landscape.xml"},
        {R"(\\server\share/l.xml)", "l.xml"},
        {R"(/a/..\..\etc\l.xml)", "l.xml"},
        {"C:l.xml", "l.xml"},
        {"l.xml:stream", "l.xml_stream"},
        {"Gr\xC3\xBC\xC3\x9F.xml", "Gr\xC3\xBC\xC3\x9F.xml"},
        {"", "unnamed"},
        {".", "unnamed"},
        {"..", "unnamed"},
        {"a/..", "unnamed"},
        {"a/", "unnamed"},
        {"C:", "unnamed"},
        {" . . ", "unnamed"},
        {"l.xml. .", "l.xml"},
        {".hidden", ".hidden"},
        {"a\tb\x01|c?.xml", "a_b__c_.xml"},
        {"CON", "_CON"},
        {"con.xml", "_con.xml"},
        {"Nul .tar.gz", "_Nul .tar.gz"},
        {"COM1.xml", "_COM1.xml"},
        {"lpt\xC2\xB2", "_lpt\xC2\xB2"},
        {"COM0", "COM0"},
        {"COM10", "COM10"},
        {"console.xml", "console.xml"},
        {"a\xC2\x9B\xE2\x80\xAElmx.exe", "a__lmx.exe"},
        {"bad\xFF.xml", "bad\xEF\xBF\xBD.xml"},
        {longName + ".xml", std::string(196, 'a') + ".xml"},
        {longName, std::string(200, 'a')},
        {std::string(199, 'a') + "\xC3\xBC\xC3\xBC", std::string(199, 'a')},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(PlainFileName(test.path), test.name) << test.path;
    }
}

TEST(UniqueFileNames, NoTwoAreOne) {
    const std::string longName(196, 'a');
    const struct {
        std::string name;
        std::string taken;
    } cases[] = {
        {"l.xml", "l.xml"},
        {"L.XML", "L (2).XML"},
        {"l (2).xml", "l (2) (2).xml"},
        {"l.xml", "l (3).xml"},
        {".hidden", ".hidden"},
        {".hidden", ".hidden (2)"},
        {longName + ".xml", longName + ".xml"},
        {longName + ".xml", std::string(192, 'a') + " (2).xml"},
        {longName + ".xml", std::string(192, 'a') + " (3).xml"},
    };
    CUniqueFileNames names;
    for (const auto& test : cases) {
        EXPECT_EQ(names.Take(test.name), test.taken);
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
