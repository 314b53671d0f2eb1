#include "tlv_file.h"

#include <array>
#include <new>
#include <utility>

namespace fendrel {
namespace {

FileCode makeStream(FileCode opened, HANDLE handle, std::unique_ptr<TLVFile>& stream) noexcept {
  stream.reset();
  if (opened != fileSuccess) return opened;
  stream.reset(new (std::nothrow) TLVFile(handle));
  if (stream) return fileSuccess;
  FileClose(handle);
  return fileOutOfMemory;
}

}  // namespace

TLVFile::~TLVFile() {
  if (handle_ != INVALID_HANDLE_VALUE) TLVFile::Close();
}

FileCode TLVFile::Close() noexcept { return FileClose(std::exchange(handle_, INVALID_HANDLE_VALUE)); }

FileCode TLVFile::GetValuePointer(std::uint16_t&, std::uint16_t&, std::byte*&) noexcept { return fileInvalidHandle; }

FileCode TLVFile::Seek(std::uint16_t origin, std::int32_t offset, std::uint32_t& newPosition) noexcept {
  return FileSeek(handle_, origin, offset, newPosition);
}

FileCode TLVFile::ReadBytes(std::uint16_t count, std::uint16_t& done, void* buffer) noexcept {
  return FileRead(handle_, count, done, buffer);
}

FileCode TLVFile::WriteBytes(std::uint16_t count, std::uint16_t& done, const void* buffer) noexcept {
  return FileWrite(handle_, count, done, buffer);
}

FileCode TLVFile::readHeader(TlvHeader& header) noexcept {
  std::array<std::byte, tlvHeaderSize> bytes;
  std::uint16_t done = 0;
  if (const FileCode code = ReadBytes(tlvHeaderSize, done, bytes.data())) return code;
  header = readTlvHeader(bytes);
  return fileSuccess;
}

FileCode TLVFile::readItemHere(std::uint16_t& tag, std::uint16_t& length, MemoryBlock& block) noexcept {
  TlvHeader header;
  if (const FileCode code = readHeader(header)) return code;
  tag = header.tag;
  length = header.length;
  if (!header.isWellFormed()) return fileMalformed;
  if (length == 0) return fileSuccess;
  if (!BlockAlloc(block, length)) return fileOutOfMemory;
  std::uint16_t done = 0;
  const FileCode code = ReadBytes(length, done, block.get());
  if (code != fileSuccess) BlockFree(block);
  return code == fileEnd ? fileMalformed : code;
}

FileCode TLVFile::ReadItem(std::uint16_t& tag, std::uint16_t& length, MemoryBlock& block) noexcept {
  std::uint32_t start = 0, position = 0;
  if (const FileCode code = Seek(seekFromCurrent, 0, start)) return code;
  const FileCode code = readItemHere(tag, length, block);
  if (code != fileSuccess) Seek(seekFromStart, static_cast<std::int32_t>(start), position);
  return code;
}

FileCode TLVFile::PeekItem(std::uint16_t& tag, std::uint16_t& length) noexcept {
  std::uint32_t start = 0, position = 0;
  if (const FileCode code = Seek(seekFromCurrent, 0, start)) return code;
  TlvHeader header;
  if (const FileCode code = readHeader(header)) return code;
  if (!header.isWellFormed()) return fileMalformed;
  tag = header.tag;
  length = header.length;
  return Seek(seekFromStart, static_cast<std::int32_t>(start), position);
}

FileCode TLVFile::SkipItem() noexcept {
  std::uint16_t tag = 0, length = 0;
  if (const FileCode code = PeekItem(tag, length)) return code;
  std::uint32_t position = 0;
  return Seek(seekFromCurrent, static_cast<std::int32_t>(tlvHeaderSize) + length, position);
}

FileCode TLVFile::WriteItem(std::uint16_t tag, std::uint16_t length, const void* data) noexcept {
  const auto header = tlvHeaderBytes({.tag = tag, .length = length});
  std::uint16_t done = 0;
  const FileCode code = WriteBytes(tlvHeaderSize, done, header.data());
  if (code != fileSuccess || length == 0) return code;
  return WriteBytes(length, done, data);
}

FileCode OpenTLVFile(const wchar_t* path, std::uint16_t access, std::uint16_t share,
                     std::unique_ptr<TLVFile>& stream) noexcept {
  HANDLE handle = INVALID_HANDLE_VALUE;
  const FileCode code = FileOpen(path, access, share, handle);
  return makeStream(code, handle, stream);
}

FileCode CreateTLVFile(const wchar_t* path, std::uint16_t access, std::uint16_t share,
                       std::unique_ptr<TLVFile>& stream) noexcept {
  HANDLE handle = INVALID_HANDLE_VALUE;
  const FileCode code = FileCreate(path, access, share, handle);
  return makeStream(code, handle, stream);
}

FileCode DestroyTLVFile(std::unique_ptr<TLVFile>& stream) noexcept {
  const FileCode code = stream ? stream->Close() : fileSuccess;
  stream.reset();
  return code;
}

}  // namespace fendrel
