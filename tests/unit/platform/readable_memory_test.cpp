// Memory that the system reports as readable.
#include "readable_memory.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>

using fendrel::isReadableText;
using fendrel::readableBytes;

namespace {

constexpr std::size_t page = 4096;

// Four pages, of which the first two are committed for reading and writing.
class ReadableBytes : public testing::Test {
 protected:
  ReadableBytes() : start(static_cast<std::byte*>(VirtualAlloc(nullptr, 4 * page, MEM_RESERVE, PAGE_NOACCESS))) {
    VirtualAlloc(start, 2 * page, MEM_COMMIT, PAGE_READWRITE);
  }
  ~ReadableBytes() override { VirtualFree(start, 0, MEM_RELEASE); }

  void protect(std::size_t index, DWORD protection) {
    VirtualAlloc(start + index * page, page, MEM_COMMIT, PAGE_READWRITE);
    DWORD before;
    ASSERT_TRUE(VirtualProtect(start + index * page, page, protection, &before));
  }

  std::byte* const start;
};

TEST_F(ReadableBytes, AreAllThatIsWantedInsideAPage) { EXPECT_EQ(readableBytes(start + 100, 200), 200u); }

TEST_F(ReadableBytes, EndWhereThePagesEnd) { EXPECT_EQ(readableBytes(start + 2 * page - 30, 100), 30u); }

TEST_F(ReadableBytes, EndExactlyAtTheLastByte) { EXPECT_EQ(readableBytes(start + 2 * page - 30, 30), 30u); }

TEST_F(ReadableBytes, AreNoneBehindThePages) { EXPECT_EQ(readableBytes(start + 2 * page, 1), 0u); }

TEST_F(ReadableBytes, AreNoneWhenNoneAreWanted) { EXPECT_EQ(readableBytes(start, 0), 0u); }

TEST_F(ReadableBytes, AreNoneAtNull) { EXPECT_EQ(readableBytes(nullptr, 10), 0u); }

TEST_F(ReadableBytes, AreNoneAtALowAddressOrAnImpossibleOne) {
  EXPECT_EQ(readableBytes(reinterpret_cast<void*>(48), 2), 0u);
  EXPECT_EQ(readableBytes(reinterpret_cast<void*>(0xFFFF'FFFF'FFFF'0000), 2), 0u);
}

TEST_F(ReadableBytes, GoOnOverPagesOfDifferentReadableProtection) {
  protect(1, PAGE_READONLY);
  protect(2, PAGE_EXECUTE_READ);
  EXPECT_EQ(readableBytes(start + 10, 4 * page), 3 * page - 10);
}

TEST_F(ReadableBytes, EndAtAPageWithoutAccess) {
  protect(1, PAGE_NOACCESS);
  EXPECT_EQ(readableBytes(start, 2 * page), page);
}

TEST_F(ReadableBytes, EndAtAGuardPageAndLeaveItsGuard) {
  protect(1, PAGE_READWRITE | PAGE_GUARD);
  EXPECT_EQ(readableBytes(start, 2 * page), page);
  MEMORY_BASIC_INFORMATION pages;
  VirtualQuery(start + page, &pages, sizeof pages);
  EXPECT_TRUE(pages.Protect & PAGE_GUARD) << "asking touched the page";
}

// Text of 'x' that fills memory up to its end.
class ReadableText : public ReadableBytes {
 protected:
  ReadableText() { std::memset(start, 'x', 2 * page); }
  template <class Character>
  bool isText(std::size_t offset) const {
    return isReadableText(reinterpret_cast<const Character*>(start + offset));
  }
};

TEST_F(ReadableText, EndsWithItsTerminator) {
  start[100] = start[101] = std::byte{0};
  EXPECT_TRUE(isText<char>(10));
  EXPECT_TRUE(isText<wchar_t>(10));
}

TEST_F(ReadableText, MayEndWithTheLastByteOfAPage) {
  start[2 * page - 2] = start[2 * page - 1] = std::byte{0};
  EXPECT_TRUE(isText<char>(2 * page - 9));
  EXPECT_TRUE(isText<wchar_t>(2 * page - 10));
}

TEST_F(ReadableText, WithoutItsTerminatorIsNone) {
  EXPECT_FALSE(isText<char>(2 * page - 9));
  EXPECT_FALSE(isText<wchar_t>(2 * page - 10));
  EXPECT_FALSE(isText<char>(0));
}

TEST_F(ReadableText, WithHalfATerminatorIsNone) {
  start[2 * page - 1] = std::byte{0};
  EXPECT_FALSE(isText<wchar_t>(2 * page - 10));
  EXPECT_FALSE(isText<wchar_t>(2 * page - 9));  // its last character is truncated
}

TEST_F(ReadableText, GoesOnOverPagesOfDifferentProtectionAndOddAddresses) {
  start[2 * page - 3] = start[2 * page - 2] = std::byte{0};
  protect(1, PAGE_READONLY);
  EXPECT_TRUE(isText<char>(7));
  EXPECT_TRUE(isText<wchar_t>(7));
}

TEST_F(ReadableText, EndsAtAPageWithoutAccess) {
  start[page + 10] = start[page + 11] = std::byte{0};
  protect(1, PAGE_NOACCESS);
  EXPECT_FALSE(isText<char>(100));
  EXPECT_FALSE(isText<wchar_t>(101));
}

TEST_F(ReadableText, IsNoneAtNullOrALowAddress) {
  EXPECT_FALSE(isReadableText(static_cast<const char*>(nullptr)));
  EXPECT_FALSE(isReadableText(reinterpret_cast<const wchar_t*>(48)));
}

}  // namespace
