// A sized, movable block of bytes. Portable: no system header.
// A 32-bit size precedes the data; the allocation is size + 4 bytes, rounded up to an even number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace fendrel {

struct BlockDelete {
  void operator()(std::byte* data) const noexcept;
};

// Points to the data; null is the empty block.
using MemoryBlock = std::unique_ptr<std::byte[], BlockDelete>;

// Replaces `block` by a zero-filled one. False, and an empty block, without memory.
bool BlockAlloc(MemoryBlock& block, std::uint32_t size) noexcept;

// Resizes and possibly moves the block, zero-filling new bytes. False, and the block unchanged, without memory.
bool BlockRealloc(MemoryBlock& block, std::uint32_t size) noexcept;

void BlockFree(MemoryBlock& block) noexcept;

// 0 for the empty block.
std::uint32_t BlockSize(const MemoryBlock& block) noexcept;

}  // namespace fendrel
