// SPDX-License-Identifier: Apache-2.0
#include "record_text.h"

#include <gtest/gtest.h>

namespace LandscapeValidator::Testing {
namespace {

TEST(RecordText, LiteralsCannotBeTakenForTags) {
    const struct {
        std::optional<std::string_view> value;
        const char* literal;
    } kCases[] = {
        {std::nullopt, "NULL"},
        {"", "''"},
        {"plain", "'plain'"},
        {"it's", "'it''s'"},
        {"pdf_name:x", "'pdf'||'_name:x'"},
        {"f_f_uuid:", "'f'||'_f'||'_uuid:'"},
        {"f", "'f'"},
        {"'_", "'''_'"},
        {"a;b),('c", "'a;b),(''c'"},
    };
    for (const auto& testCase : kCases) {
        std::string literal;
        AppendLiteral(literal, testCase.value);
        EXPECT_EQ(literal, testCase.literal);
    }
}

TEST(RecordText, ValuesStandInColumnOrderWithOneDataMarker) {
    const STable service = {"Service",
                            std::nullopt,
                            {{"", ColumnContent::Text, false},
                             {"name", ColumnContent::Attribute, false},
                             {"file_id", ColumnContent::FileIndex, false}},
                            {}};
    EXPECT_EQ(MakeRecordText(service, {std::string_view("memo"), std::nullopt, std::nullopt}, "3"),
              "{f_data:'memo',f_name:NULL,'3',");
    const STable item = {"Item",
                         std::nullopt,
                         {{"uuid", ColumnContent::Attribute, true},
                          {"file_id", ColumnContent::FileIndex, false},
                          {"parent_id", ColumnContent::ParentUuid, false}},
                         {}};
    EXPECT_EQ(
        MakeRecordText(item, {std::string_view("u"), std::nullopt, std::string_view("p")}, "0"),
        "{f_data:f_uuid:'u','0',f_parent_id:'p',");
}

} // namespace
} // namespace LandscapeValidator::Testing
