// Handles that stand for objects.
#include "handle_table.h"

#include <gtest/gtest.h>

using fendrel::HandleTable;

namespace {

struct Counted {
  explicit Counted(int& living) : living_(++living) {}
  ~Counted() { --living_; }
  int& living_;
};

class Handles : public testing::Test {
 protected:
  std::unique_ptr<Counted> object() { return std::make_unique<Counted>(living); }
  int living = 0;
  HandleTable<Counted> table;
};

TEST_F(Handles, FindTheObjectThatWasAdded) {
  auto made = object();
  Counted* const address = made.get();
  EXPECT_EQ(table.find(table.add(std::move(made))), address);
}

TEST_F(Handles, AreNeverZeroAndNeverTheSameAtOnce) {
  const auto first = table.add(object()), second = table.add(object());
  EXPECT_NE(first, 0u);
  EXPECT_NE(second, 0u);
  EXPECT_NE(first, second);
}

TEST_F(Handles, OfZeroAndUnknownOnesFindNothing) {
  const auto handle = table.add(object());
  EXPECT_EQ(table.find(0), nullptr);
  EXPECT_EQ(table.find(handle + 1), nullptr);
}

TEST_F(Handles, OfARemovedObjectAreUnknownAndNotGivenOutAgain) {
  const auto handle = table.add(object());
  EXPECT_TRUE(table.remove(handle));
  EXPECT_EQ(living, 0);
  EXPECT_EQ(table.find(handle), nullptr);
  EXPECT_NE(table.add(object()), handle);
}

TEST_F(Handles, ThatAreUnknownRemoveNothing) {
  table.add(object());
  EXPECT_FALSE(table.remove(0));
  EXPECT_FALSE(table.remove(12345));
  EXPECT_EQ(living, 1);
}

TEST_F(Handles, WrapOverZeroAndThoseInUse) {
  HandleTable<Counted> late(0xFFFFFFFE);
  EXPECT_EQ(late.add(object()), 0xFFFFFFFFu);
  const auto second = late.add(object());
  EXPECT_EQ(second, 1u);
  HandleTable<Counted> full(0xFFFFFFFE);
  full.add(object());
  full.add(object());
  EXPECT_EQ(full.add(object()), 2u);
}

TEST_F(Handles, EndWithTheirTable) {
  {
    HandleTable<Counted> local;
    local.add(object());
    local.add(object());
    EXPECT_EQ(living, 2);
  }
  EXPECT_EQ(living, 0);
}

}  // namespace
