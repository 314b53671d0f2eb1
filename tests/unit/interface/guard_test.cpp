// What becomes of exceptions at an entry point.
#include "guard.h"

#include <gtest/gtest.h>

#include <stdexcept>

using fendrel::guarded;

namespace {

TEST(Guard, LetsTheResultThrough) {
  EXPECT_EQ(guarded([] { return std::uint32_t{6}; }), 6u);
}

TEST(Guard, TurnsALackOfMemoryIntoItsCode) {
  EXPECT_EQ(guarded([]() -> std::uint32_t { throw std::bad_alloc(); }), 2u);
  EXPECT_EQ(guarded([]() -> std::uint32_t { throw std::bad_array_new_length(); }), 2u);
}

TEST(Guard, TurnsAnythingElseIntoAFailure) {
  EXPECT_EQ(guarded([]() -> std::uint32_t { throw std::runtime_error("x"); }), 0xFFFFFFFFu);
  EXPECT_EQ(guarded([]() -> std::uint32_t { throw 1184; }), 0xFFFFFFFFu);
}

}  // namespace
