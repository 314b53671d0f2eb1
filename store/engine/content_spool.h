// Where the bytes of a ContentWriter are before they are saved. For the engine's own files only.
//
// The bytes are divided into blocks of contentBlockSize. One block is in memory (the current one); the others are in
// a content file, which is taken when a second block is first touched. A block's checksum is computed when it leaves
// memory, by the writer of the file, so that saving reads nothing back. Blocks that follow one another are written in the
// background; a failure there comes with a later call. Failures are thrown as EngineError.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "block_writer.h"
#include "connection.h"
#include "content_writer.h"
#include "ready_files.h"

namespace fendrel::store {

// How the names of content files end. Earlier programs wrote into temporary files first.
constexpr const wchar_t* contentEnding = L".content";
constexpr const wchar_t* spoolEnding = L".tmp";

class ContentSpool {
public:
  explicit ContentSpool(Connection& connection) : connection_(connection) {}
  ~ContentSpool();

  std::uint64_t size() const noexcept { return size_; }
  bool saved() const noexcept { return saved_; }
  Connection& connection() noexcept { return connection_; }

  void write(std::uint64_t position, std::span<const std::byte> bytes);
  std::size_t read(std::uint64_t position, std::span<std::byte> into);
  void resize(std::uint64_t size);

  // The first half of a save, without the database's lock: everything is in `data()` or flushed to the file.
  void prepare();
  bool isFile() const noexcept { return file_.file != nullptr; }
  std::span<const std::byte> data() const noexcept { return block_; }       // !isFile()
  const std::vector<std::uint64_t>& checksums() const noexcept { return checksums_; }

  const std::wstring& fileName() const noexcept { return file_.name; }                      // isFile()

  // The second half: the transaction that names the file is committed.
  void finish() noexcept;

private:
  std::uint64_t blockCount() const noexcept { return (size_ + contentBlockSize - 1) / contentBlockSize; }
  std::size_t lengthOf(std::uint64_t block) const noexcept;
  void makeCurrent(std::uint64_t block);
  void storeCurrent();
  void noteChecksum(std::uint64_t block, std::uint64_t sum);
  void openFile();
  DiskFile& wholeFile();
  void dropFile() noexcept;

  Connection& connection_;
  std::uint64_t size_ = 0;
  Bytes block_;                 // the current block's bytes, as many as lie below size_
  std::uint64_t current_ = 0;   // its number
  bool dirty_ = false;          // it differs from the file
  std::vector<std::uint64_t> checksums_;  // one a block; right for all that are not current, once prepared for all
  ReadyFiles::File file_;
  std::optional<BlockWriter> writer_;  // of the file
  bool saved_ = false;
};

}  // namespace fendrel::store
