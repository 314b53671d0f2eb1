#include "log_frames.h"

#include <cstring>
#include <optional>

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
  LogSum(bool isBigEndian) : isBigEndian_(isBigEndian) {}

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

}  // namespace

LogFrames readLogFrames(DiskFile& log, std::size_t pageSize) {
  LogFrames frames;
  Bytes header(logHeaderSize);
  if (log.read(0, header) != header.size()) return frames;
  const std::span<const std::byte> start(header);
  const std::uint64_t kind = bigEndian(start.first(4));
  if ((kind & ~std::uint64_t{1}) != magic || bigEndian(start.subspan(8, 4)) != pageSize) return frames;
  LogSum sum((kind & 1) != 0);
  sum.add(start.first(24));
  if (!sum.is(start.subspan(24))) return frames;
  const auto salts = start.subspan(16, 8);

  std::map<std::uint32_t, std::uint64_t> uncommitted;
  Bytes bytes(frameHeaderSize + pageSize);
  bool isDamaged = false;
  for (std::uint64_t at = logHeaderSize; log.read(at, bytes) == bytes.size(); at += bytes.size()) {
    const std::span<const std::byte> frame(bytes);
    const auto page = static_cast<std::uint32_t>(bigEndian(frame.first(4)));
    if (page == 0 || std::memcmp(frame.data() + 8, salts.data(), salts.size()) != 0) break;
    if (!isDamaged) {
      sum.add(frame.first(summedOfFrameHeader));
      sum.add(frame.subspan(frameHeaderSize));
      isDamaged = !sum.is(frame.subspan(16, 8));
      if (isDamaged) continue;
    }
    if (isDamaged) {
      ++frames.behindDamage;
      continue;
    }
    uncommitted[page] = at + frameHeaderSize;
    if (const auto count = static_cast<std::uint32_t>(bigEndian(frame.subspan(4, 4))); count != 0) {
      for (const auto& [number, place] : uncommitted) frames.pages[number] = place;
      uncommitted.clear();
      frames.pageCount = count;
    }
  }
  return frames;
}

}  // namespace fendrel::store
