// SPDX-License-Identifier: Apache-2.0
#include "rule_descriptions.h"

#include <gtest/gtest.h>

namespace LandscapeValidator {

TEST(RuleDescriptions, EveryBuiltInRuleIsExplained) {
    const CRuleDescriptions descriptions;
    for (int id = -1; id < 33; ++id) {
        const SRuleDescription* found = descriptions.Find(id);
        ASSERT_NE(found, nullptr) << id;
        for (const std::string* text :
             {&found->finds.plain, &found->finds.markdown, &found->matters.plain, &found->example,
              &found->mend.plain, &found->mend.markdown}) {
            EXPECT_FALSE(text->empty()) << id;
            EXPECT_EQ(text->find("<code>"), std::string::npos) << id;
        }
    }
    EXPECT_EQ(descriptions.Find(33), nullptr);
    EXPECT_EQ(descriptions.Find(0)->finds.plain,
              "A service whose routerid is not the uuid of any router.");
    EXPECT_EQ(descriptions.Find(0)->finds.markdown,
              "A service whose `routerid` is not the `uuid` of any router.");
    EXPECT_NE(descriptions.Find(3)->example.find("name=\"PRD\" host=\"ms1.example.com\""),
              std::string::npos);
    EXPECT_NE(descriptions.Find(3)->example.find('\n'), std::string::npos);
}

} // namespace LandscapeValidator
