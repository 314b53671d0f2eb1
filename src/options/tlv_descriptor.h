// Streams of tagged items (layout in tlv_item.h), in a file or in memory. Portable.
#pragma once

#include <cstddef>
#include <cstdint>

#include "file_codes.h"
#include "memory_block.h"
#include "tlv_item.h"

namespace fendrel {

// The root of the stream classes.
class TalmorObject {};

// A stream of tagged items. Every operation returns 0 or a code of file_codes.h: 264 at the end of the stream, 268 for
// a malformed or truncated item, 267 without memory. This base class supports no operation (257).
class TLVDescriptor : public TalmorObject {
 public:
  TLVDescriptor() = default;
  virtual ~TLVDescriptor() = default;
  TLVDescriptor(const TLVDescriptor&) = delete;
  TLVDescriptor& operator=(const TLVDescriptor&) = delete;

  virtual bool IsFile() const noexcept { return false; }
  virtual bool IsMemory() const noexcept { return false; }
  virtual FileCode Close() noexcept { return fileSuccess; }

  // The address of the next item's value inside the stream's own memory; steps past the item.
  virtual FileCode GetValuePointer(std::uint16_t& tag, std::uint16_t& length, std::byte*& value) noexcept;

  // The next item's value in a new block; an empty value does not change `block`.
  virtual FileCode ReadItem(std::uint16_t& tag, std::uint16_t& length, MemoryBlock& block) noexcept;

  virtual FileCode WriteItem(std::uint16_t tag, std::uint16_t length, const void* data) noexcept;

  // Writes `length` bytes of the block; 267 for a block that is empty or shorter.
  virtual FileCode WriteItemFromHandle(std::uint16_t tag, std::uint16_t length, const MemoryBlock& block) noexcept;

  // Seeks to the next item with that tag; the first error ends the search.
  virtual FileCode FindTag(std::uint16_t tag) noexcept;

  // The next item's header; the stream does not move.
  virtual FileCode PeekItem(std::uint16_t& tag, std::uint16_t& length) noexcept;
  virtual FileCode SkipItem() noexcept;
};

}  // namespace fendrel
