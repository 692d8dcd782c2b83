// SPDX-License-Identifier: Apache-2.0
// The stepwise way is the definition and serves as the oracle of the quick one; the table holds it
// to its own words.
#include "processor/record_values.h"

#include <gtest/gtest.h>
#include <random>

namespace Nax::FrontEnd::XMLDB {
namespace {

using Columns = std::vector<std::string>;

TEST(MakeValueList, DeletesMarkersAndPadsInFront) {
    const struct {
        const char* text;
        Columns columns;
        const char* list;
    } cases[] = {
        {"", {}, "'',"},
        {"", {"a", "b"}, "'','','',"},
        {"f_a:1,f_b:'x'", {"a", "b"}, "'',1,'x'"},
        {"f_data:f_a:1,f_b:'x'", {"a", "b"}, "1,'x'"},
        {"f_data:f_b:1,f_a:2", {"a", "b"}, "1,2"},
        {"f_data:f_b:1", {"a", "b"}, "'',1"},
        {"f_data:f_a:1,f_a:2", {"a"}, "1,2"},
        {"f_data:'memo',f_a:1,'7'", {"", "a", "file_id"}, "'memo',1,'7'"},
        {"f_data:f_file_id:7", {"file_id"}, "f_file_id:7"},
        {"f_data:f_:7", {""}, "f_:7"},
        {"f_data:1", {"data"}, "'',1"},
        {"f_data:f_other:1", {"a"}, "'',f_other:1"},
        // Deleting one marker may join the halves of another.
        {"f_data:f_f_a:b:1", {"a", "b"}, "1"},
        {"f_data:f_f_b:a:1", {"a", "b"}, "'',f_a:1"},
        {"f_f_a:data:1", {"a"}, "1"},
        {"f_data:'f_a:'", {"a"}, "''"},
        {"f_data:f_af_b:1", {"af_b", "b"}, "'',1"},
        {"f_data:f_af_b:1", {"b", "af_b"}, "'',f_a1"},
        {"f_data:f_a", {"a"}, "'',f_a"},
        {"F_a:1", {"a"}, "'','',F_a:1"},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(item.list, MakeValueListStepwise(item.text, item.columns)) << item.text;
        EXPECT_EQ(item.list, MakeValueList(item.text, item.columns)) << item.text;
    }
}

TEST(MakeValueList, QuickWayEqualsTheStepwiseOne) {
    const std::string pieces[] = {
        "f_",   "f",      "_",      ":",        ",",          "a",          "b",
        "ab",   "f_a:",   "f_b:",   "f_:",      "f_ab:",      "data:",      "f_data:",
        "'v',", "f_a_b:", "f_f_a:", "file_id:", "f_file_id:", "'x'||'_y',", "ä"};
    const Columns columns[] = {{"a", "b"},
                               {"", "a", "ab", "file_id"},
                               {"b", "a", "a_b", "file_id", "parent_id"},
                               {"f_a", "a", "af_b", "b"},
                               {"data", "a"},
                               {"_a", "_", "f"},
                               {}};
    std::mt19937 random(20240305);
    const auto pick = [&random](std::size_t count) { return random() % count; };
    for (int run = 0; run < 40000; ++run) {
        std::string text;
        for (std::size_t left = pick(9); left > 0; --left) {
            text += pieces[pick(std::size(pieces))];
        }
        const Columns& list = columns[pick(std::size(columns))];
        ASSERT_EQ(MakeValueListStepwise(text, list), MakeValueList(text, list))
            << text << " with " << ::testing::PrintToString(list);
    }
}

} // namespace
} // namespace Nax::FrontEnd::XMLDB
