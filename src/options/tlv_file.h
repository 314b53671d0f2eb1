// A stream of tagged items in a file.
#pragma once

#include <memory>

#include "file_helpers.h"
#include "tlv_descriptor.h"

namespace fendrel {

// Owns its file handle. After a failed ReadItem it stands before the item that failed.
class TLVFile : public TLVDescriptor {
 public:
  explicit TLVFile(HANDLE handle) noexcept : handle_(handle) {}
  ~TLVFile() override;

  bool IsFile() const noexcept override { return true; }
  FileCode Close() noexcept override;
  FileCode GetValuePointer(std::uint16_t& tag, std::uint16_t& length, std::byte*& value) noexcept override;
  FileCode ReadItem(std::uint16_t& tag, std::uint16_t& length, MemoryBlock& block) noexcept override;
  FileCode WriteItem(std::uint16_t tag, std::uint16_t length, const void* data) noexcept override;

  // The position is after the header when that is malformed, else as before.
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

// Opens a stream on an existing file, or makes one on a new file; `access` and `share` as of FileOpen. The code of FileOpen
// or FileCreate, or 267.
FileCode OpenTLVFile(const wchar_t* path, std::uint16_t access, std::uint16_t share,
                     std::unique_ptr<TLVFile>& stream) noexcept;
FileCode CreateTLVFile(const wchar_t* path, std::uint16_t access, std::uint16_t share,
                       std::unique_ptr<TLVFile>& stream) noexcept;

// Closes and frees the stream; the result of the closing.
FileCode DestroyTLVFile(std::unique_ptr<TLVFile>& stream) noexcept;

}  // namespace fendrel
