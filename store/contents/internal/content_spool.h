// Where the bytes of a SpooledContent are before they are saved. For the engine's own files only.
//
// The bytes are divided into blocks of contentBlockSize. One block is in memory (the current one); the others are in
// a file of the content folder, which is made when a second block is first touched. A block's checksum is computed when
// it leaves memory, so that saving reads nothing back. Failures are thrown as EngineError.
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

  // A save, without the database's lock: everything is in `data()`, or in a file that is flushed and has its name. The
  // folder's names are not flushed yet.
  void prepare();
  bool isFile() const noexcept { return file_.file != nullptr; }
  std::span<const std::byte> data() const noexcept { return block_; }  // !isFile()
  const std::vector<std::uint64_t>& checksums() const noexcept { return checksums_; }
  const std::wstring& fileName() const noexcept { return file_.name; }  // isFile()

  // The transaction that names the file is about to be committed: from now on it is not deleted here, since a commit
  // that was answered with a failure may have reached the disk all the same.
  void handOver() noexcept { isHandedOver_ = true; }

  // It is committed.
  void finish() noexcept;

  // It was saved in another place: nothing of it stays here.
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
  Bytes block_;                           // the current block's bytes, as many as lie below size_
  std::uint64_t current_ = 0;             // its number
  bool dirty_ = false;                    // it differs from the file
  std::vector<std::uint64_t> checksums_;  // one a block; right for all that are not current
  ContentFolder::File file_;
  bool isHandedOver_ = false, isSaved_ = false;
};

}  // namespace fendrel::store
