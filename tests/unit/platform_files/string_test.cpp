// The small helpers for text and bytes.
#include "string_helpers.h"

#include <gmock/gmock.h>

#include <cstring>

#include "format_string.h"

namespace fendrel::test {
namespace {

struct Stripped {
  const char* name;
  const wchar_t* path;
  const wchar_t* expected;
};
class StripsTrailingSlash : public testing::TestWithParam<Stripped> {};

TEST_P(StripsTrailingSlash, OneAtTheEnd) {
  wchar_t path[32];
  std::wcscpy(path, GetParam().path);
  StripTrailingSlash(path);
  EXPECT_STREQ(path, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Paths, StripsTrailingSlash,
                         testing::Values(Stripped{"Backslash", L"C:\\a\\", L"C:\\a"},
                                         Stripped{"Slash", L"C:/a/", L"C:/a"},
                                         Stripped{"Two", L"C:\\a\\\\", L"C:\\a\\"},
                                         Stripped{"None", L"C:\\a", L"C:\\a"}, Stripped{"Empty", L"", L""},
                                         Stripped{"Alone", L"\\", L""}),
                         [](const auto& row) { return row.param.name; });

TEST(StringHelpers, StripTrailingSlashOfNullDoesNothing) { StripTrailingSlash(nullptr); }

TEST(StringHelpers, DupWideCopies) {
  HeapText copy;
  EXPECT_EQ(DupWide(copy, L"日本語"), 1);
  EXPECT_STREQ(copy.get(), L"日本語");
}

TEST(StringHelpers, DupWideOfNullGivesNullAnd0) {
  HeapText copy;
  DupWide(copy, L"before");
  EXPECT_EQ(DupWide(copy, nullptr), 0);
  EXPECT_EQ(copy, nullptr);
}

TEST(StringHelpers, AnsiToWideNewConvertsFromTheCodePage) {
  const bool doubleByte = GetACP() == 932;
  const char* const text = doubleByte ? "\x93\xFA\x96\x7B" : "Gr\xFC\xDF";
  HeapText wide;
  EXPECT_EQ(AnsiToWideNew(text, wide), doubleByte ? 3 : 5);
  EXPECT_STREQ(wide.get(), doubleByte ? L"日本" : L"Grüß");
}

TEST(StringHelpers, AnsiToWideNewHasTwiceTheRoomThatItNeeds) {
  HeapText wide;
  ASSERT_EQ(AnsiToWideNew("abc", wide), 4);
  EXPECT_GE(_msize(wide.get()), 2 * 4 * sizeof(wchar_t));
}

TEST(StringHelpers, AnsiToWideNewOfNullGivesNull) {
  HeapText wide;
  EXPECT_EQ(AnsiToWideNew(nullptr, wide), 0);
  EXPECT_EQ(wide, nullptr);
}

TEST(StringHelpers, ByteBufferHoldsACopy) {
  ByteBuffer buffer;
  EXPECT_TRUE(ByteBufferAssign(buffer, 4, "abc"));
  EXPECT_EQ(buffer.size, 4u);
  EXPECT_EQ(std::memcmp(buffer.data.get(), "abc", 4), 0);
  EXPECT_TRUE(ByteBufferAssign(buffer, 2, buffer.data.get() + 1));  // from itself
  EXPECT_EQ(std::memcmp(buffer.data.get(), "bc", 2), 0);
}

TEST(StringHelpers, ByteBufferOfNothingHoldsNoData) {
  ByteBuffer buffer;
  ByteBufferAssign(buffer, 4, "abc");
  EXPECT_FALSE(ByteBufferAssign(buffer, 0, "abc"));
  EXPECT_EQ(buffer.size, 0u);
  EXPECT_EQ(buffer.data, nullptr);
  EXPECT_FALSE(ByteBufferAssign(buffer, 4, nullptr));
  EXPECT_EQ(buffer.size, 0u);
}

TEST(StringHelpers, ByteBufferFreeEmpties) {
  ByteBuffer buffer;
  ByteBufferAssign(buffer, 4, "abc");
  ByteBufferFree(buffer);
  EXPECT_EQ(buffer.size, 0u);
  EXPECT_EQ(buffer.data, nullptr);
}

TEST(FormatString, CutsWhatDoesNotFitAndEndsIt) {
  wchar_t text[5];
  EXPECT_EQ(FormatString(text, 5, L"%s-%d", L"ab", 1234), 4);
  EXPECT_STREQ(text, L"ab-1");
}

TEST(FormatString, IntoNothingWritesNothing) {
  wchar_t text = L'x';
  EXPECT_EQ(FormatString(&text, 0, L"abc"), 0);
  EXPECT_EQ(FormatString(nullptr, 5, L"abc"), 0);
  EXPECT_EQ(text, L'x');
}

}  // namespace
}  // namespace fendrel::test
