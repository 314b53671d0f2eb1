#include "tlv_descriptor.h"

namespace fendrel {

FileCode TLVDescriptor::GetValuePointer(std::uint16_t&, std::uint16_t&, std::byte*&) noexcept {
  return fileOtherFailure;
}
FileCode TLVDescriptor::ReadItem(std::uint16_t&, std::uint16_t&, MemoryBlock&) noexcept { return fileOtherFailure; }
FileCode TLVDescriptor::WriteItem(std::uint16_t, std::uint16_t, const void*) noexcept { return fileOtherFailure; }
FileCode TLVDescriptor::PeekItem(std::uint16_t&, std::uint16_t&) noexcept { return fileOtherFailure; }
FileCode TLVDescriptor::SkipItem() noexcept { return fileOtherFailure; }

FileCode TLVDescriptor::WriteItemFromHandle(std::uint16_t tag, std::uint16_t length,
                                            const MemoryBlock& block) noexcept {
  if (!block || BlockSize(block) < length) return fileOutOfMemory;
  return WriteItem(tag, length, block.get());
}

FileCode TLVDescriptor::FindTag(std::uint16_t tag) noexcept {
  for (;;) {
    std::uint16_t found = 0, length = 0;
    if (const FileCode code = PeekItem(found, length)) return code;
    if (found == tag) return fileSuccess;
    if (const FileCode code = SkipItem()) return code;
  }
}

}  // namespace fendrel
