// Bounded formatting.
#include "format_string.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

using fendrel::FormatString;

namespace {

TEST(FormatString, WritesTextAndTellsItsLength) {
  wchar_t buffer[32];
  EXPECT_EQ(FormatString(buffer, 32, L"%ls has %d files", L"Sales", 3), 17);
  EXPECT_STREQ(buffer, L"Sales has 3 files");
}

TEST(FormatString, WritesEightUpperCaseHexadecimalDigits) {
  wchar_t buffer[32];
  FormatString(buffer, 32, L"Error code 0x%08X returned.", 0x8004ABCDu);
  EXPECT_STREQ(buffer, L"Error code 0x8004ABCD returned.");
}

TEST(FormatString, TextOfExactlyTheRoomFits) {
  wchar_t buffer[] = L"......#";
  EXPECT_EQ(FormatString(buffer, 6, L"%ls", L"12345"), 5);
  EXPECT_STREQ(buffer, L"12345");
  EXPECT_EQ(buffer[6], L'#');
}

TEST(FormatString, LongerTextIsCutAndTerminated) {
  wchar_t buffer[] = L"......#";
  EXPECT_EQ(FormatString(buffer, 6, L"%ls", L"123456789"), 5);
  EXPECT_STREQ(buffer, L"12345");
  EXPECT_EQ(buffer[6], L'#') << "written after the buffer";
}

TEST(FormatString, RoomForTheTerminatorAloneGivesEmptyText) {
  wchar_t buffer[] = L"##";
  EXPECT_EQ(FormatString(buffer, 1, L"abc"), 0);
  EXPECT_EQ(buffer[0], 0);
  EXPECT_EQ(buffer[1], L'#');
}

TEST(FormatString, WithoutABufferWritesNothing) {
  wchar_t buffer[] = L"#";
  EXPECT_EQ(FormatString(buffer, 0, L"abc"), 0);
  EXPECT_EQ(buffer[0], L'#');
  EXPECT_EQ(FormatString(nullptr, 10, L"abc"), 0);
}

}  // namespace
