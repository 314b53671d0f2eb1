// The list of objects and the map from windows to them.
#include <gmock/gmock.h>

#include "iwnd_map.h"

using namespace fendrel;

namespace {

HWND handle(UINT_PTR value) { return reinterpret_cast<HWND>(value); }

struct TestWnd : CIWnd {
  explicit TestWnd(UINT_PTR value) { m_hWnd = handle(value); }
};

TEST(ObList, KeepsTheOrderOfAddingAndRemovesByValue) {
  CIObList list;
  TestWnd a(1), b(2), c(3);
  for (TestWnd* wnd : {&a, &b, &c}) EXPECT_TRUE(list.AddTail(wnd));
  list.Remove(&b);
  auto position = list.GetHeadPosition();
  EXPECT_EQ(list.GetNext(position), &a);
  EXPECT_EQ(list.GetNext(position), &c);
  EXPECT_EQ(list.GetNext(position), nullptr);
}

TEST(ObList, RemovingWhatIsNotThereChangesNothing) {
  CIObList list;
  TestWnd a(1), stranger(2);
  list.AddTail(&a);
  list.Remove(&stranger);
  auto position = list.GetHeadPosition();
  EXPECT_EQ(list.GetNext(position), &a);
}

TEST(WndMap, FindsEachObjectByItsWindow) {
  CIWndMap map;
  TestWnd a(1), b(2);
  map.Add(&a);
  map.Add(&b);
  CIWnd* found = nullptr;
  EXPECT_TRUE(map.Lookup(handle(2), found));
  EXPECT_EQ(found, &b);
  EXPECT_TRUE(map.Lookup(handle(1), found));
  EXPECT_EQ(found, &a);
}

TEST(WndMap, FirstOfTwoObjectsOfOneWindowIsFound) {
  CIWndMap map;
  TestWnd first(1), second(1);
  map.Add(&first);
  map.Add(&second);
  CIWnd* found = nullptr;
  EXPECT_TRUE(map.Lookup(handle(1), found));
  EXPECT_EQ(found, &first);
}

TEST(WndMap, UnknownWindowIsNotFound) {
  CIWndMap map;
  TestWnd a(1);
  map.Add(&a);
  CIWnd* found = nullptr;
  EXPECT_FALSE(map.Lookup(handle(9), found));
  map.Remove(&a);
  EXPECT_FALSE(map.Lookup(handle(1), found));
}

}  // namespace
