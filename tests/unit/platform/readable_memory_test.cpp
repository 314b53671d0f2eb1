// What the system says may be read.
#include "readable_memory.h"

#include <gtest/gtest.h>
#include <windows.h>

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

}  // namespace
