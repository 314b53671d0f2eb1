// The hourglass.
#include "wait_cursor.h"

#include <gtest/gtest.h>

using fendrel::WaitCursor;

namespace {

TEST(WaitCursor, ShowsTheHourglassAndPutsTheCursorBack) {
  const HCURSOR cross = LoadCursor(nullptr, IDC_CROSS);
  SetCursor(cross);
  {
    const WaitCursor wait;
    EXPECT_EQ(GetCursor(), LoadCursor(nullptr, IDC_WAIT));
  }
  EXPECT_EQ(GetCursor(), cross);
}

TEST(WaitCursor, PutsBackThatThereWasNone) {
  SetCursor(nullptr);
  { const WaitCursor wait; }
  EXPECT_EQ(GetCursor(), nullptr);
}

TEST(WaitCursor, InsideAnotherGoesBackToTheHourglass) {
  const HCURSOR arrow = LoadCursor(nullptr, IDC_ARROW);
  SetCursor(arrow);
  const WaitCursor outer;
  { const WaitCursor inner; }
  EXPECT_EQ(GetCursor(), LoadCursor(nullptr, IDC_WAIT));
}

}  // namespace
