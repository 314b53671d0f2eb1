// Exceptions at an entry point.
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

TEST(Guard, LeavesNoOlderWordsStandingForAFailureWithoutWords) {
  fendrel::ErrorText words;
  words.assign(L"an older failure");
  EXPECT_EQ(guarded([]() -> std::uint32_t { throw std::runtime_error("x"); }, &words), 0xFFFFFFFFu);
  EXPECT_STREQ(words.get(), L"MAPI_E_CALL_FAILED");
}

TEST(Guard, LeavesTheWordsAloneWhereTheCodeSaysEnough) {
  fendrel::ErrorText words;
  words.assign(L"an older failure");
  guarded([]() -> std::uint32_t { throw std::bad_alloc(); }, &words);
  EXPECT_STREQ(words.get(), L"an older failure");
}

}  // namespace
