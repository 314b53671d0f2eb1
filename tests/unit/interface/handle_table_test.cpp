// Handles of objects.
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

TEST_F(Handles, OfATakenObjectAreUnknownAndNotGivenOutAgain) {
  const auto handle = table.add(object());
  EXPECT_NE(table.take(handle), nullptr);
  EXPECT_EQ(living, 0);
  EXPECT_EQ(table.find(handle), nullptr);
  EXPECT_NE(table.add(object()), handle);
}

TEST_F(Handles, ThatAreUnknownTakeNothing) {
  table.add(object());
  EXPECT_EQ(table.take(0), nullptr);
  EXPECT_EQ(table.take(12345), nullptr);
  EXPECT_EQ(living, 1);
}

TEST_F(Handles, AreWalkedFromTheNewestOn) {
  EXPECT_EQ(table.newest(), 0u);
  const auto first = table.add(object()), second = table.add(object()), third = table.add(object());
  EXPECT_EQ(table.newest(), third);
  table.take(second);
  EXPECT_EQ(table.newestBefore(third), first);
  EXPECT_EQ(table.newestBefore(second), first);
  EXPECT_EQ(table.newestBefore(first), 0u);
}

TEST_F(Handles, WrapOverZeroTheOneThatIsNeverGivenAndThoseInUse) {
  HandleTable<Counted> late(0xFFFFFFFD);
  EXPECT_EQ(late.add(object()), 0xFFFFFFFEu);
  const auto second = late.add(object());
  EXPECT_EQ(second, 1u);
  HandleTable<Counted> full(0xFFFFFFFD);
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
