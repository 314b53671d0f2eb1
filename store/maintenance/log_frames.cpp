#include "log_frames.h"

#include <algorithm>
#include <cstring>

#include "checked_log.h"
#include "page_checksums.h"
#include "record.h"

namespace fendrel::store {
namespace {

// The log's header (32 bytes): magic number, whose last bit tells the byte order of sums, version, page size, number of
// the checkpoint, two salts, sum. A frame's (24 bytes): page, pages of the database after a commit (else 0), the two
// salts, sum; then the page. Each sum goes on from the one before it.
constexpr std::size_t logHeaderSize = 32, frameHeaderSize = 24, summedOfFrameHeader = 8;
constexpr std::uint64_t magic = 0x377F0682;

class LogSum {
public:
  LogSum(bool isBigEndian, std::span<const std::byte> stored = {}) : isBigEndian_(isBigEndian) {
    if (stored.empty()) return;
    first_ = static_cast<std::uint32_t>(bigEndian(stored.first(4)));
    second_ = static_cast<std::uint32_t>(bigEndian(stored.subspan(4, 4)));
  }

  void add(std::span<const std::byte> bytes) {
    for (std::size_t at = 0; at + 8 <= bytes.size(); at += 8) {
      first_ += number(bytes.subspan(at, 4)) + second_;
      second_ += number(bytes.subspan(at + 4, 4)) + first_;
    }
  }
  bool is(std::span<const std::byte> stored) const {
    return bigEndian(stored.first(4)) == first_ && bigEndian(stored.subspan(4, 4)) == second_;
  }

private:
  std::uint32_t number(std::span<const std::byte> bytes) const {
    if (isBigEndian_) return static_cast<std::uint32_t>(bigEndian(bytes));
    std::uint32_t value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
  }

  bool isBigEndian_;
  std::uint32_t first_ = 0, second_ = 0;
};

// Counts what lies behind the first frame that does not match. A commit is flushed before the next one begins: a frame
// whose sum goes on from a commit's tells that this commit was finished. What a crash or a rollback leaves does not.
class LostFrames {
public:
  void note(bool goesOn, bool isCommit) {
    if (goesOn) ++frames_;
    if (goesOn && isBehindCommit_) areSaved_ = true;
    isBehindCommit_ = isCommit;
  }
  std::uint32_t saved() const { return areSaved_ ? frames_ : 0; }

private:
  std::uint32_t frames_ = 0;
  bool isBehindCommit_ = false, areSaved_ = false;
};

// What follows the mark is older than the last checkpoint. No header has half of its bytes by chance, and a mark that is
// damaged is one all the same.
bool isMarkedEmpty(std::span<const std::byte> header) {
  const auto mark = std::as_bytes(std::span(emptyLogMark));
  std::size_t equal = 0;
  for (std::size_t i = 0; i < std::min(header.size(), mark.size()); ++i) equal += header[i] == mark[i];
  return equal > mark.size() / 2;
}

}  // namespace

bool isLogEmpty(Disk& disk, const std::wstring& path) {
  const std::wstring log = path + L"-wal";
  if (!disk.exists(log)) return true;
  Bytes header(logHeaderSize);
  header.resize(disk.open(log)->read(0, header));
  return header.empty() || isMarkedEmpty(header);
}

LogFrames readLogFrames(DiskFile& log, std::size_t pageSize) {
  LogFrames frames;
  Bytes header(logHeaderSize);
  if (log.read(0, header) != header.size()) return frames;
  if (isMarkedEmpty(header)) return frames;
  const std::span<const std::byte> start(header);
  const bool isBigEndian = bigEndian(start.first(4)) == (magic | 1);
  LogSum sum(isBigEndian);
  sum.add(start.first(24));
  bool isDamaged = !sum.is(start.subspan(24)) || (bigEndian(start.first(4)) & ~std::uint64_t{1}) != magic ||
                   bigEndian(start.subspan(8, 4)) != pageSize;
  Bytes salts(start.begin() + 16, start.begin() + 24), sumBefore(start.begin() + 24, start.end());

  std::map<std::uint32_t, std::uint64_t> uncommitted;
  LostFrames lost;
  Bytes bytes(frameHeaderSize + pageSize);
  for (std::uint64_t at = logHeaderSize; log.read(at, bytes) == bytes.size(); at += bytes.size()) {
    const std::span<const std::byte> frame(bytes);
    if (at == logHeaderSize && isDamaged) salts.assign(frame.begin() + 8, frame.begin() + 16);
    sum = LogSum(isBigEndian, sumBefore);
    sum.add(frame.first(summedOfFrameHeader));
    sum.add(frame.subspan(frameHeaderSize));
    sumBefore.assign(frame.begin() + 16, frame.begin() + 24);
    const auto page = static_cast<std::uint32_t>(bigEndian(frame.first(4)));
    const auto count = static_cast<std::uint32_t>(bigEndian(frame.subspan(4, 4)));  // not 0: a commit
    const bool isOfThisLog = page != 0 && std::equal(salts.begin(), salts.end(), frame.begin() + 8);
    const bool goesOn = isOfThisLog && sum.is(sumBefore);
    if (isDamaged || !goesOn) {
      isDamaged = true;
      lost.note(goesOn, isOfThisLog && count != 0);
      continue;
    }
    uncommitted[page] = at + frameHeaderSize;
    if (count != 0) {
      for (const auto& [number, place] : uncommitted) frames.pages[number] = place;
      uncommitted.clear();
      frames.pageCount = count;
    }
  }
  frames.behindDamage = lost.saved();
  return frames;
}

std::string wordsOfLostFrames(std::uint32_t frames) {
  return "The log holds " + std::to_string(frames) + (frames == 1 ? " frame" : " frames") +
         " behind a damaged one: what was saved last is not in the store.";
}

LogFrames readLogFrames(Disk& disk, const std::wstring& path) {
  const std::wstring log = path + L"-wal";
  return disk.exists(log) ? readLogFrames(*disk.open(log), databasePageSize) : LogFrames{};
}

}  // namespace fendrel::store
