// Sized blocks, and what the system says about memory.
#include <gmock/gmock.h>
#include <windows.h>

#include <cstring>

#include "memory_block.h"
#include "memory_status.h"

namespace fendrel::test {
namespace {

std::uint32_t storedCount(const MemoryBlock& block) {
  std::uint32_t count = 0;
  std::memcpy(&count, block.get() - 4, 4);
  return count;
}

bool isZero(const std::byte* bytes, std::size_t count) {
  for (std::size_t at = 0; at < count; ++at)
    if (bytes[at] != std::byte{0}) return false;
  return true;
}

TEST(Block, AllocOf3Allocates8BytesAndReports3) {
  MemoryBlock block;
  ASSERT_TRUE(BlockAlloc(block, 3));
  EXPECT_EQ(BlockSize(block), 3u);
  EXPECT_EQ(storedCount(block), 3u);
  EXPECT_GE(_msize(block.get() - 4), 8u);
  EXPECT_TRUE(isZero(block.get(), 4));  // the rounding byte as well
}

TEST(Block, AllocIsZeroFilled) {
  MemoryBlock block;
  ASSERT_TRUE(BlockAlloc(block, 1000));
  EXPECT_TRUE(isZero(block.get(), 1000));
}

TEST(Block, AllocOf0IsABlockOfItsOwn) {
  MemoryBlock block;
  ASSERT_TRUE(BlockAlloc(block, 0));
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(BlockSize(block), 0u);
}

TEST(Block, AllocReplacesTheBlockThatWasThere) {
  MemoryBlock block;
  ASSERT_TRUE(BlockAlloc(block, 10));
  ASSERT_TRUE(BlockAlloc(block, 20));
  EXPECT_EQ(BlockSize(block), 20u);
}

TEST(Block, NullIsTheEmptyBlock) {
  MemoryBlock block;
  EXPECT_EQ(BlockSize(block), 0u);
  BlockFree(block);
  ASSERT_TRUE(BlockRealloc(block, 5));
  EXPECT_EQ(BlockSize(block), 5u);
  EXPECT_TRUE(isZero(block.get(), 5));
}

TEST(Block, ReallocKeepsTheBytesAndZeroFillsAllThatIsNew) {
  MemoryBlock block;
  ASSERT_TRUE(BlockAlloc(block, 10));
  std::memset(block.get(), 0x5A, 10);
  ASSERT_TRUE(BlockRealloc(block, 4000));
  EXPECT_EQ(BlockSize(block), 4000u);
  EXPECT_EQ(block[9], std::byte{0x5A});
  EXPECT_TRUE(isZero(block.get() + 10, 3990));
}

TEST(Block, ReallocByLessThanDoubleStaysInsideTheBlock) {
  MemoryBlock block;
  ASSERT_TRUE(BlockAlloc(block, 100));
  std::memset(block.get(), 0x5A, 100);
  ASSERT_TRUE(BlockRealloc(block, 101));  // an offset of twice the old size would lie after it
  EXPECT_EQ(block[99], std::byte{0x5A});
  EXPECT_EQ(block[100], std::byte{0});
}

TEST(Block, ReallocShrinks) {
  MemoryBlock block;
  ASSERT_TRUE(BlockAlloc(block, 100));
  std::memset(block.get(), 0x5A, 100);
  ASSERT_TRUE(BlockRealloc(block, 3));
  EXPECT_EQ(BlockSize(block), 3u);
  EXPECT_EQ(block[2], std::byte{0x5A});
  ASSERT_TRUE(BlockRealloc(block, 0));
  EXPECT_EQ(BlockSize(block), 0u);
}

TEST(Block, FreeLeavesNothing) {
  MemoryBlock block;
  ASSERT_TRUE(BlockAlloc(block, 3));
  BlockFree(block);
  EXPECT_EQ(block, nullptr);
}

TEST(MemoryStatus, HeapAndPhysicalMemoryAreAnswered) {
  CompactHeap();  // the system may answer 0 for a heap that it does not compact
  EXPECT_GT(AvailablePhysicalMemory(), std::size_t{1} << 20);
}

}  // namespace
}  // namespace fendrel::test
