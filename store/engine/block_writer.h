// Writes the blocks of one file while their maker goes on, and computes their checksums. For the engine's own files only.
//
// Copying into the system's cache takes as long as reading a report; in the background both happen at once. Up to four
// blocks wait. A block that cannot be written stays, and is tried again, with its failure reported, by the next
// call: nothing that was taken is lost. Of a long file, what is written is flushed meanwhile, so that little is left
// to flush at the end; where that fails the file is spoilt, since systems tell of a failed flush only once.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "disk.h"
#include "engine_error.h"
#include "light_mutex.h"

namespace fendrel::store {

class BlockWriter {
public:
  // The file must outlive this object. Without a background, write() returns when the block is written.
  BlockWriter(DiskFile& file, bool inBackground);
  ~BlockWriter();  // what still waits is dropped
  BlockWriter(const BlockWriter&) = delete;
  BlockWriter& operator=(const BlockWriter&) = delete;

  // Takes the bytes out of `block`, which gets an empty buffer to go on with. Throws EngineError: then it took nothing,
  // and an earlier block could not be written either.
  void write(std::uint64_t position, Bytes& block);

  struct Checksum {
    std::uint64_t position, sum;
  };

  // After finish(), of all blocks since they were last forgotten, in the order of their writing.
  const std::vector<Checksum>& checksums() const noexcept { return checksums_; }
  void forgetChecksums() noexcept { checksums_.clear(); }

  // Returns when everything is written; until the next write() the file may be used otherwise. Throws EngineError. It does
  // not stand for a flush.
  void finish();

private:
  struct Piece {
    std::uint64_t position = 0;
    Bytes bytes;
  };

  void runToEnd();
  void flushEarly();
  static void CALLBACK run(PTP_CALLBACK_INSTANCE, void* self, PTP_WORK);
  static void CALLBACK flush(PTP_CALLBACK_INSTANCE, void* self, PTP_WORK);

  DiskFile& file_;
  PTP_WORK work_ = nullptr, flushWork_ = nullptr;
  LightMutex mutex_;
  CONDITION_VARIABLE changed_ = CONDITION_VARIABLE_INIT;
  std::array<Piece, 4> pieces_;  // a ring; a piece that does not wait keeps its buffer
  std::size_t first_ = 0, count_ = 0;
  bool isRunning_ = false;
  bool hasFailed_ = false;  // the first piece
  bool isFlushing_ = false;
  std::optional<EngineError> flushFailure_;
  std::uint64_t unflushed_ = 0, flushed_ = 0;
  std::vector<Checksum> checksums_;
};

}  // namespace fendrel::store
