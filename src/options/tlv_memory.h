// A stream of tagged items in a movable memory block. Portable.
#pragma once

#include <memory>

#include "tlv_descriptor.h"

namespace fendrel {

// Works on the caller's block, which outlives the stream. The position is modulo 65,536: items past that cannot be
// written, and only the part of a larger block that the position reaches is read.
class TLVMemory : public TLVDescriptor {
 public:
  enum class Purpose : std::uint16_t { reading = 0, writing = 1 };

  TLVMemory(MemoryBlock& block, Purpose purpose) noexcept : block_(block), purpose_(purpose) {}

  // A writer shrinks the block to its items.
  ~TLVMemory() override;

  bool IsMemory() const noexcept override { return true; }

  // Nothing more is read or written.
  FileCode Close() noexcept override;
  FileCode GetValuePointer(std::uint16_t& tag, std::uint16_t& length, std::byte*& value) noexcept override;
  FileCode ReadItem(std::uint16_t& tag, std::uint16_t& length, MemoryBlock& block) noexcept override;

  // Writes any item that ends within the first 65,535 bytes. The data may lie in the stream's own block.
  FileCode WriteItem(std::uint16_t tag, std::uint16_t length, const void* data) noexcept override;
  FileCode FindTag(std::uint16_t tag) noexcept override;
  FileCode PeekItem(std::uint16_t& tag, std::uint16_t& length) noexcept override;
  FileCode SkipItem() noexcept override;

  std::uint16_t position() const noexcept { return position_; }

 private:
  bool makeRoom(std::uint16_t length) noexcept;

  MemoryBlock& block_;  // always read for the data's address, which may change
  bool closed_ = false;
  std::uint16_t position_ = 0;  // after the items written or read
  Purpose purpose_;
};

// Makes a stream that writes a new block, at first of 256 bytes. 0 or 267.
FileCode CreateTLVMemory(MemoryBlock& block, std::unique_ptr<TLVMemory>& stream) noexcept;

// Makes a stream that reads `block`. 0 or 267.
FileCode OpenTLVMemory(MemoryBlock& block, std::unique_ptr<TLVMemory>& stream) noexcept;

}  // namespace fendrel
