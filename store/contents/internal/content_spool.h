// The unsaved bytes of a SpooledContent. For the engine only.
//
// The bytes are divided into blocks of contentBlockSize. One block is in memory (the current one); the others are in
// a file of the content folder, created with the second block. A block's checksum is computed when it leaves memory, so
// that saving does not read the file. Failures are thrown as EngineError.
#pragma once

#include <string>
#include <vector>

#include "content_blocks.h"
#include "content_folder.h"

namespace fendrel::store {

class ContentSpool {
 public:
  // The folder must outlive this object.
  explicit ContentSpool(ContentFolder& folder) : folder_(folder) {}
  ~ContentSpool();
  ContentSpool(const ContentSpool&) = delete;
  ContentSpool& operator=(const ContentSpool&) = delete;

  std::uint64_t size() const noexcept { return size_; }
  bool isSaved() const noexcept { return isSaved_; }
  const ContentFolder& folder() const noexcept { return folder_; }

  void write(std::uint64_t position, std::span<const std::byte> bytes);
  std::size_t read(std::uint64_t position, std::span<std::byte> into);
  void resize(std::uint64_t size);

  // The part of a save before the database's lock: afterwards everything is in `data()`, or in a file that is flushed
  // and has its name. The folder's names are not flushed yet.
  void prepare();
  bool isFile() const noexcept { return file_.file != nullptr; }
  std::span<const std::byte> data() const noexcept { return block_; }  // !isFile()
  const std::vector<std::uint64_t>& checksums() const noexcept { return checksums_; }
  const std::wstring& fileName() const noexcept { return file_.name; }  // isFile()

  // Call before the transaction that names the file commits. The file is then no longer deleted here, since a failed
  // commit may have reached the disk.
  void handOver() noexcept { isHandedOver_ = true; }

  // Call after the commit.
  void finish() noexcept;

  // Call if it was saved elsewhere: deletes everything here.
  void discard() noexcept;

 private:
  std::uint64_t blockCount() const noexcept { return blocksOf(size_); }
  std::size_t lengthOf(std::uint64_t block) const noexcept;
  void makeCurrent(std::uint64_t block);
  void storeCurrent();
  void noteChecksum(std::uint64_t block, std::uint64_t sum);
  void openFile();
  void dropFile() noexcept;

  ContentFolder& folder_;
  std::uint64_t size_ = 0;
  Bytes block_;                           // the current block's bytes, up to size_
  std::uint64_t current_ = 0;             // its number
  bool dirty_ = false;                    // differs from the file
  std::vector<std::uint64_t> checksums_;  // one per block; not valid for the current one
  ContentFolder::File file_;
  bool isHandedOver_ = false, isSaved_ = false;
};

}  // namespace fendrel::store
