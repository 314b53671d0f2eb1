#include "tlv_memory.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>

namespace fendrel {
namespace {

constexpr std::uint32_t firstBlockSize = 256;
constexpr std::uint32_t growthMargin = 256;
constexpr std::uint32_t largestBlockSize = 65535;  // the largest position

FileCode makeStream(MemoryBlock& block, TLVMemory::Purpose purpose, std::unique_ptr<TLVMemory>& stream) noexcept {
  stream.reset(new (std::nothrow) TLVMemory(block, purpose));
  return stream ? fileSuccess : fileOutOfMemory;
}

constexpr std::uint32_t itemSize(std::uint16_t length) noexcept { return tlvHeaderSize + length; }

}  // namespace

TLVMemory::~TLVMemory() {
  if (purpose_ == Purpose::writing && block_) BlockRealloc(block_, position_);
}

FileCode TLVMemory::Close() noexcept {
  closed_ = true;
  return fileSuccess;
}

FileCode TLVMemory::PeekItem(std::uint16_t& tag, std::uint16_t& length) noexcept {
  if (closed_) return fileEnd;
  const TlvItem item = tlvItemAt({block_.get(), BlockSize(block_)}, position_);
  if (item.finding == TlvFinding::end) return fileEnd;
  if (item.finding != TlvFinding::item) return fileMalformed;
  tag = item.header.tag;
  length = item.header.length;
  return fileSuccess;
}

FileCode TLVMemory::SkipItem() noexcept {
  std::uint16_t tag = 0, length = 0;
  if (const FileCode code = PeekItem(tag, length)) return code;
  position_ = static_cast<std::uint16_t>(position_ + itemSize(length));
  return fileSuccess;
}

FileCode TLVMemory::FindTag(std::uint16_t tag) noexcept {
  for (;;) {
    std::uint16_t found = 0, length = 0;
    if (const FileCode code = PeekItem(found, length)) return code;
    if (found == tag) return fileSuccess;
    const std::uint16_t before = position_;
    if (const FileCode code = SkipItem()) return code;
    // In a larger block the position wraps, and the search would never end.
    if (position_ <= before) return fileEnd;
  }
}

FileCode TLVMemory::GetValuePointer(std::uint16_t& tag, std::uint16_t& length, std::byte*& value) noexcept {
  if (const FileCode code = PeekItem(tag, length)) return code;
  value = block_.get() + position_ + tlvHeaderSize;
  position_ = static_cast<std::uint16_t>(position_ + itemSize(length));
  return fileSuccess;
}

FileCode TLVMemory::ReadItem(std::uint16_t& tag, std::uint16_t& length, MemoryBlock& block) noexcept {
  std::byte* value = nullptr;
  if (const FileCode code = GetValuePointer(tag, length, value)) return code;
  // `block` may be the stream's own block, so the value is copied before that is freed.
  MemoryBlock copy;
  if (!BlockAlloc(copy, length)) return fileOutOfMemory;
  std::memcpy(copy.get(), value, length);
  block = std::move(copy);
  return fileSuccess;
}

// Leaves a margin after the item, up to the largest block.
bool TLVMemory::makeRoom(std::uint16_t length) noexcept {
  const std::uint32_t need = position_ + itemSize(length);
  if (need <= BlockSize(block_)) return true;
  return need <= largestBlockSize && BlockRealloc(block_, std::min(need + growthMargin, largestBlockSize));
}

FileCode TLVMemory::WriteItem(std::uint16_t tag, std::uint16_t length, const void* data) noexcept {
  if (closed_ || (length != 0 && !data)) return fileOutOfMemory;
  // Data in the stream's own block moves with the block.
  const auto* const start = static_cast<const std::byte*>(data);
  const bool isOwn =
      std::greater_equal<>()(start, block_.get()) && std::less<>()(start, block_.get() + BlockSize(block_));
  const std::ptrdiff_t offset = isOwn ? start - block_.get() : 0;
  if (!makeRoom(length)) return fileOutOfMemory;
  std::byte* const item = block_.get() + position_;
  const auto header = tlvHeaderBytes({.tag = tag, .length = length});
  // The value first: the header may overwrite its source.
  if (length != 0) std::memmove(item + tlvHeaderSize, isOwn ? block_.get() + offset : start, length);
  std::memcpy(item, header.data(), header.size());
  position_ = static_cast<std::uint16_t>(position_ + itemSize(length));
  return fileSuccess;
}

FileCode CreateTLVMemory(MemoryBlock& block, std::unique_ptr<TLVMemory>& stream) noexcept {
  stream.reset();
  if (!BlockAlloc(block, firstBlockSize)) return fileOutOfMemory;
  const FileCode code = makeStream(block, TLVMemory::Purpose::writing, stream);
  if (code != fileSuccess) BlockFree(block);
  return code;
}

FileCode OpenTLVMemory(MemoryBlock& block, std::unique_ptr<TLVMemory>& stream) noexcept {
  return makeStream(block, TLVMemory::Purpose::reading, stream);
}

}  // namespace fendrel
