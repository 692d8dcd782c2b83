// SPDX-License-Identifier: Apache-2.0
// Lines of findings where uuid and file alone do not tell which entry is meant.
#include "tool/database_reader.h"
#include "tool/scratch_folder.h"
#include "validate_command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace LandscapeValidator::Testing {
namespace {

/// The lines that the summary names behind "rule <id> ", in the order of their findings.
std::vector<long> LinesOf(const std::string& summary, int rule) {
    std::vector<long> lines;
    std::istringstream in(summary);
    const std::string label = " rule " + std::to_string(rule) + " ";
    for (std::string text; std::getline(in, text);) {
        const std::size_t at = text.find("line ");
        if (text.find(label) != std::string::npos && at != std::string::npos) {
            lines.push_back(std::stol(text.substr(at + 5)));
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST(FindingPositions, NameTheEntryThatTheFindingIsAbout) {
    constexpr char kText[] = R"(<?xml version="1.0"?>
<Landscape updated="x"><Services>
<Service type="URL" uuid="" routerid="r"/>
<Service type="URL" uuid=""/>
<Service
   type="URL" uuid="" routerid="q"/>
<Service type="URL" uuid="00000000-0000-4000-8000-00000000000a"/>
<Service type="URL" uuid="00000000-0000-4000-8000-00000000000a" msid="gone" routerid="r"/>
<Service type="URL" uuid="00000000-0000-4000-8000-00000000000a" sncop="7"><Memo>a
b</Memo></Service>
<Service type="URL" uuid="00000000-0000-4000-8000-00000000000b" shortcut="1" link="00000000-0000-4000-8000-00000000000a"/>
<Service type="URL" uuid="00000000-0000-4000-8000-00000000000b" shortcut="1" link="gone"/>
</Services><Workspaces><Workspace uuid="00000000-0000-4000-8000-0000000000a1" name="w">
<Item uuid="00000000-0000-4000-8000-0000000000b1" serviceid="00000000-0000-4000-8000-000000000fff"/>
<Item uuid="00000000-0000-4000-8000-0000000000b2" serviceid="00000000-0000-4000-8000-00000000000a"/>
<Item uuid="00000000-0000-4000-8000-0000000000b3" serviceid="00000000-0000-4000-8000-00000000000a"/>
</Workspace></Workspaces></Landscape>
)";
    const struct {
        const char* name;
        int rule;
        std::vector<long> lines;
    } kCases[] = {
        {"the value quoted tells apart those without uuid", 0, {3, 5, 8}},
        {"the value quoted tells apart those with one uuid", 1, {9}},
        {"the first item that refers to the service", 2, {15}},
        {"one finding for several copies", 6, {3, 7, 11}},
        {"equal findings are shared out", 12, {3, 4, 5}},
        {"the copy whose reference is dead", 16, {8}},
        {"the shortcut that is dead", 31, {12}},
    };
    const CScratchFolder scratch;
    scratch.Write("main.xml", kText);
    SOptions options;
    options.files = {scratch.Path("main.xml")};
    options.outputFolder = scratch.Path("report");
    options.showAll = true;
    std::ostringstream out;
    std::ostringstream err;
    RunValidate(options, out, err);
    for (const auto& testCase : kCases) {
        EXPECT_EQ(LinesOf(out.str(), testCase.rule), testCase.lines) << testCase.name << '\n'
                                                                     << out.str();
    }
}

} // namespace
} // namespace LandscapeValidator::Testing
