// The choice of functions in the character-set layer by the system's version.
#include <gtest/gtest.h>

#include "charset_mode.h"

extern int systemAsked;         // how often
extern int systemAskedAtStart;  // before any code of the program ran

namespace fendrel {
namespace {

TEST(CharsetMode, IsTheAnsiPathOnAPlatformOfId1) {
  EXPECT_TRUE(g_bUseAnsi);
  EXPECT_TRUE(IsWin9x());
  EXPECT_FALSE(IsWinNT());
  EXPECT_FALSE(IsWinNTMajor5OrLater());
}

TEST(CharsetMode, KnowsMajor5OfThatPlatform) { EXPECT_TRUE(IsWin9xMajor5()); }

TEST(CharsetMode, IsAskedOfTheSystemOnceAtTheStart) {
  EXPECT_EQ(systemAskedAtStart, 1);
  IsWinNT();
  IsWin9x();
  EXPECT_EQ(systemAsked, 1);
}

}  // namespace
}  // namespace fendrel
