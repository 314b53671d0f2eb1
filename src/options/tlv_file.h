// A stream of tagged items in a file.
#pragma once

#include <memory>

#include "file_helpers.h"
#include "tlv_descriptor.h"

namespace fendrel {

// Owns its file handle. A failed ReadItem leaves the position before the item.
class TLVFile : public TLVDescriptor {
 public:
  explicit TLVFile(HANDLE handle) noexcept : handle_(handle) {}
  ~TLVFile() override;

  bool IsFile() const noexcept override { return true; }
  FileCode Close() noexcept override;
  FileCode GetValuePointer(std::uint16_t& tag, std::uint16_t& length, std::byte*& value) noexcept override;
  FileCode ReadItem(std::uint16_t& tag, std::uint16_t& length, MemoryBlock& block) noexcept override;
  FileCode WriteItem(std::uint16_t tag, std::uint16_t length, const void* data) noexcept override;

  // A malformed header leaves the position after it; otherwise the position does not change.
  FileCode PeekItem(std::uint16_t& tag, std::uint16_t& length) noexcept override;
  FileCode SkipItem() noexcept override;

  virtual FileCode Seek(std::uint16_t origin, std::int32_t offset, std::uint32_t& newPosition) noexcept;
  virtual FileCode ReadBytes(std::uint16_t count, std::uint16_t& done, void* buffer) noexcept;
  virtual FileCode WriteBytes(std::uint16_t count, std::uint16_t& done, const void* buffer) noexcept;

 private:
  FileCode readItemHere(std::uint16_t& tag, std::uint16_t& length, MemoryBlock& block) noexcept;
  FileCode readHeader(TlvHeader& header) noexcept;

  HANDLE handle_;
};

// Open a stream on an existing or a new file; `access` and `share` as for FileOpen. The code of FileOpen or FileCreate,
// or 267.
FileCode OpenTLVFile(const wchar_t* path, std::uint16_t access, std::uint16_t share,
                     std::unique_ptr<TLVFile>& stream) noexcept;
FileCode CreateTLVFile(const wchar_t* path, std::uint16_t access, std::uint16_t share,
                       std::unique_ptr<TLVFile>& stream) noexcept;

// Frees the stream; returns the result of Close.
FileCode DestroyTLVFile(std::unique_ptr<TLVFile>& stream) noexcept;

}  // namespace fendrel
