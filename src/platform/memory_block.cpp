#include "memory_block.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace fendrel {
namespace {

constexpr std::size_t countSize = sizeof(std::uint32_t);

// In 64 bits, so that nothing wraps.
constexpr std::uint64_t allocationSize(std::uint32_t size) noexcept {
  return (std::uint64_t{size} + countSize + 1) & ~std::uint64_t{1};
}

std::byte* allocationOf(std::byte* data) noexcept { return data - countSize; }

// Stores the size in the allocation; returns the address of the data.
std::byte* storeCount(void* allocation, std::uint32_t size) noexcept {
  std::memcpy(allocation, &size, countSize);
  return static_cast<std::byte*>(allocation) + countSize;
}

}  // namespace

void BlockDelete::operator()(std::byte* data) const noexcept { std::free(allocationOf(data)); }

bool BlockAlloc(MemoryBlock& block, std::uint32_t size) noexcept {
  block.reset();
  void* const allocation = std::calloc(1, static_cast<std::size_t>(allocationSize(size)));
  if (allocation) block.reset(storeCount(allocation, size));
  return allocation != nullptr;
}

bool BlockRealloc(MemoryBlock& block, std::uint32_t size) noexcept {
  if (!block) return BlockAlloc(block, size);
  const std::uint32_t oldSize = BlockSize(block);
  void* const allocation = std::realloc(allocationOf(block.get()), static_cast<std::size_t>(allocationSize(size)));
  if (!allocation) return false;
  block.release();  // now part of the new allocation
  block.reset(storeCount(allocation, size));
  if (size > oldSize) std::memset(block.get() + oldSize, 0, size - oldSize);
  return true;
}

void BlockFree(MemoryBlock& block) noexcept { block.reset(); }

std::uint32_t BlockSize(const MemoryBlock& block) noexcept {
  std::uint32_t size = 0;
  if (block) std::memcpy(&size, allocationOf(block.get()), countSize);
  return size;
}

}  // namespace fendrel
