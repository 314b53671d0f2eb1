#include "posting_kind.h"

#include <gtest/gtest.h>

namespace fendrel {
namespace {

TEST(PostingKind, PersonalReportsGoIntoTheCommonViews) {
  EXPECT_TRUE(postingRules(1009).isKnown);
  EXPECT_TRUE(postingRules(1009).intoCommonViews);
  EXPECT_TRUE(postingRules(1009).templateMode);
}

TEST(PostingKind, FolderReportsAreTemplatesInAFolder) {
  EXPECT_TRUE(postingRules(1010).isKnown);
  EXPECT_FALSE(postingRules(1010).intoCommonViews);
  EXPECT_TRUE(postingRules(1010).templateMode);
}

TEST(PostingKind, ReportInstancesAreDocumentsInAFolder) {
  EXPECT_TRUE(postingRules(1011).isKnown);
  EXPECT_FALSE(postingRules(1011).intoCommonViews);
  EXPECT_FALSE(postingRules(1011).templateMode);
}

TEST(PostingKind, AnUnknownOneGoesByPath) {
  for (const std::uint16_t type : {0, 1008, 1012, 65535}) {
    EXPECT_FALSE(postingRules(type).isKnown) << type;
    EXPECT_FALSE(postingRules(type).intoCommonViews) << type;
    EXPECT_TRUE(postingRules(type).templateMode) << type;
  }
}

}  // namespace
}  // namespace fendrel
