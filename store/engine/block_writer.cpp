#include "block_writer.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "checksum.h"
#include "engine_error.h"

namespace fendrel::store {

namespace {
// What is flushed at once in the background, in bytes. Short files are flushed at their end alone.
constexpr std::uint64_t leastFlush = 4 * 1024 * 1024, mostFlush = 16 * 1024 * 1024;
}

BlockWriter::BlockWriter(DiskFile& file, bool inBackground) : file_(file) {
  if (!inBackground) return;
  work_ = CreateThreadpoolWork(run, this, nullptr);
  flushWork_ = CreateThreadpoolWork(flush, this, nullptr);
}

BlockWriter::~BlockWriter() {
  if (!work_) return;
  {
    const std::lock_guard guard(mutex_);
    hasFailed_ = true;  // the present piece is the last one
  }
  WaitForThreadpoolWorkCallbacks(work_, FALSE);
  CloseThreadpoolWork(work_);
  if (!flushWork_) return;
  WaitForThreadpoolWorkCallbacks(flushWork_, FALSE);
  CloseThreadpoolWork(flushWork_);
}

void BlockWriter::write(std::uint64_t position, Bytes& block) {
  if (!work_) {
    file_.write(position, block);
    checksums_.push_back({position, checksum(block)});
    return;
  }
  bool failed = false;
  {
    const std::lock_guard guard(mutex_);
    while (count_ == pieces_.size() && !hasFailed_) mutex_.wait(changed_);
    failed = hasFailed_;
  }
  if (failed) finish();
  const std::lock_guard guard(mutex_);
  Piece& piece = pieces_[(first_ + count_) % pieces_.size()];
  piece.position = position;
  std::swap(piece.bytes, block);
  block.clear();
  ++count_;
  if (isRunning_) return;
  isRunning_ = true;
  SubmitThreadpoolWork(work_);
}

void BlockWriter::finish() {
  {
    const std::lock_guard guard(mutex_);
    // Also for the flush: of two at once, only one would be told of a failure.
    while (isRunning_ || isFlushing_) mutex_.wait(changed_);
    if (flushFailure_) throw *flushFailure_;
  }
  // Nobody else is at work now. What is left could not be written before.
  for (; count_ > 0; --count_) {
    const Piece& piece = pieces_[first_];
    file_.write(piece.position, piece.bytes);
    checksums_.push_back({piece.position, checksum(piece.bytes)});
    first_ = (first_ + 1) % pieces_.size();
  }
  hasFailed_ = false;
}

void BlockWriter::runToEnd() {
  for (;;) {
    const Piece* piece = nullptr;
    {
      const std::lock_guard guard(mutex_);
      isRunning_ = count_ > 0 && !hasFailed_;
      if (!isRunning_) {
        WakeAllConditionVariable(&changed_);
        return;
      }
      piece = &pieces_[first_];
    }
    bool failed = false;
    try {
      file_.write(piece->position, piece->bytes);
      checksums_.push_back({piece->position, checksum(piece->bytes)});
    } catch (...) {  // the next call tries again, and tells
      failed = true;
    }
    const std::lock_guard guard(mutex_);
    if (failed) {
      hasFailed_ = true;
    } else {
      unflushed_ += pieces_[first_].bytes.size();
      first_ = (first_ + 1) % pieces_.size();
      --count_;
      WakeAllConditionVariable(&changed_);
      flushEarly();
    }
  }
}

void BlockWriter::flushEarly() {
  if (!flushWork_ || isFlushing_ || unflushed_ < std::clamp(flushed_, leastFlush, mostFlush)) return;
  flushed_ += std::exchange(unflushed_, 0);
  isFlushing_ = true;
  SubmitThreadpoolWork(flushWork_);
}

void CALLBACK BlockWriter::flush(PTP_CALLBACK_INSTANCE, void* self, PTP_WORK) {
  auto& writer = *static_cast<BlockWriter*>(self);
  std::optional<EngineError> failure;
  try {
    writer.file_.flush();
  } catch (EngineError& error) {
    failure = std::move(error);
  } catch (...) {
    failure.emplace(Status::Failed, "A content file could not be flushed.");
  }
  const std::lock_guard guard(writer.mutex_);
  writer.isFlushing_ = false;
  if (failure) writer.flushFailure_ = std::move(failure);
  WakeAllConditionVariable(&writer.changed_);
}

void CALLBACK BlockWriter::run(PTP_CALLBACK_INSTANCE, void* self, PTP_WORK) {
  static_cast<BlockWriter*>(self)->runToEnd();
}

}  // namespace fendrel::store
