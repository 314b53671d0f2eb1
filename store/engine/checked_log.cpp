#include "checked_log.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "page_checksums.h"

namespace fendrel::store {

namespace {

constexpr int pageSize = databasePageSize;
constexpr std::size_t gatheredAtMost = 1024 * 1024;

// A header, then frames of a header and a page each.
constexpr sqlite3_int64 logHeaderSize = 32, frameHeaderSize = 24, frameSize = frameHeaderSize + pageSize;

std::uint32_t bigEndian(const std::byte* at) {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value = value << 8 | std::to_integer<std::uint32_t>(at[i]);
  return value;
}

// The log's checksum goes on from frame to frame.
struct LogSum {
  std::uint32_t first, second;

  void add(const std::byte* bytes, std::size_t size) {
    for (std::size_t i = 0; i < size; i += 8) {
      std::uint32_t pair[2];
      std::memcpy(pair, bytes + i, sizeof pair);
      first += pair[0] + second;
      second += pair[1] + first;
    }
  }
  bool operator==(const LogSum&) const = default;
};

LogSum logSumAt(const std::byte* at) { return {bigEndian(at), bigEndian(at + 4)}; }

}  // namespace

int CheckedLog::readBelow(void* into, int count, sqlite3_int64 at) {
  return file_->pMethods->xRead(file_, into, count, at);
}

int CheckedLog::writeBelow(const void* bytes, sqlite3_int64 count, sqlite3_int64 at) {
  return file_->pMethods->xWrite(file_, bytes, static_cast<int>(count), at);
}

// True unless the page of the frame that begins at `frame` is known to differ from its checksum.
bool CheckedLog::frameMatches(const std::byte* page, sqlite3_int64 frame) {
  constexpr sqlite3_int64 sumInHeader = 16;
  std::array<std::byte, frameHeaderSize> header;
  std::array<std::byte, 8> before;
  const sqlite3_int64 beforeAt = frame == logHeaderSize ? logHeaderSize - 8 : frame - frameSize + sumInHeader;
  if (readBelow(header.data(), frameHeaderSize, frame) != SQLITE_OK) return false;
  if (readBelow(before.data(), static_cast<int>(before.size()), beforeAt) != SQLITE_OK) return false;
  LogSum sum = logSumAt(before.data());
  sum.add(header.data(), 8);
  sum.add(page, pageSize);
  return sum == logSumAt(header.data() + sumInHeader);
}

// Logs of machines with another byte order have sums of another order.
bool CheckedLog::isOfThisByteOrder() {
  std::array<std::byte, 4> magic;
  return readBelow(magic.data(), 4, 0) == SQLITE_OK && bigEndian(magic.data()) != 0x377F0683;
}

int CheckedLog::read(void* into, int count, sqlite3_int64 at) {
  int code = writeGathered();
  if (code == SQLITE_OK) code = readBelow(into, count, at);
  const sqlite3_int64 frame = at - frameHeaderSize;
  const bool isPage = count == pageSize && frame >= logHeaderSize && (frame - logHeaderSize) % frameSize == 0;
  if (code != SQLITE_OK || !isPage || rewritten_.contains(frame)) return code;
  if (frameMatches(static_cast<const std::byte*>(into), frame) || !isOfThisByteOrder()) return SQLITE_OK;
  return SQLITE_IOERR_DATA;
}

// A transaction that is longer than the cache can write a page a second time into its frame. The frame's header, and
// those of all frames behind it, which have no checksum till then, follow before the commit.
int CheckedLog::write(const void* bytes, int count, sqlite3_int64 at) {
  const auto* first = static_cast<const std::byte*>(bytes);
  if (count == frameHeaderSize) {
    if (std::all_of(first + 8, first + frameHeaderSize, [](std::byte byte) { return byte == std::byte{0}; })) {
      rewritten_.insert(at);
    } else {
      rewritten_.erase(at);
    }
    frameHeader_ = at;
  } else {
    if (count == pageSize && frameHeader_ != at - frameHeaderSize) rewritten_.insert(at - frameHeaderSize);
    frameHeader_ = -1;
  }
  const bool continues = at == gatheredAt_ + static_cast<sqlite3_int64>(gathered_.size());
  if (!continues || gathered_.size() + static_cast<std::size_t>(count) > gatheredAtMost) {
    if (const int code = writeGathered(); code != SQLITE_OK) return code;
    gatheredAt_ = at;
  }
  gathered_.insert(gathered_.end(), first, first + count);
  return SQLITE_OK;
}

int CheckedLog::writeGathered() {
  if (gathered_.empty()) return SQLITE_OK;
  const int code = writeBelow(gathered_.data(), static_cast<sqlite3_int64>(gathered_.size()), gatheredAt_);
  gathered_.clear();
  return code;
}

// All of it stands in the database, so it does no harm if the mark is lost in a power cut. A log that has lost its end
// alone would: its first frames are older than what the database holds. So the mark is on the disk before that.
int CheckedLog::cut(sqlite3_int64 size) {
  if (const int code = writeGathered(); code != SQLITE_OK) return code;
  if (size != 0 || room_ == 0) return file_->pMethods->xTruncate(file_, size);
  sqlite3_int64 length = 0;
  int code = file_->pMethods->xFileSize(file_, &length);
  if (code != SQLITE_OK || length == 0) return code;
  code = writeBelow(emptyLogMark.data(), emptyLogMark.size(), 0);
  if (code != SQLITE_OK || length <= room_) return code;
  code = file_->pMethods->xSync(file_, SQLITE_SYNC_NORMAL);
  return code == SQLITE_OK ? file_->pMethods->xTruncate(file_, room_) : code;
}

int CheckedLog::makeRoom() {
  sqlite3_int64 length = 0;
  int code = file_->pMethods->xFileSize(file_, &length);
  if (code != SQLITE_OK || length >= room_) return code;
  const std::vector<std::byte> zeros(static_cast<std::size_t>(std::min<sqlite3_int64>(room_, gatheredAtMost)));
  if (length == 0) {
    code = writeBelow(emptyLogMark.data(), emptyLogMark.size(), 0);
    length = emptyLogMark.size();
  }
  while (code == SQLITE_OK && length < room_) {
    const auto count = std::min<sqlite3_int64>(room_ - length, static_cast<sqlite3_int64>(zeros.size()));
    code = writeBelow(zeros.data(), count, length);
    length += count;
  }
  return code == SQLITE_OK ? file_->pMethods->xSync(file_, SQLITE_SYNC_NORMAL) : code;
}

}  // namespace fendrel::store
