#include "store_pages.h"

#include <algorithm>
#include <limits>

#include "engine_error.h"
#include "page_checksums.h"
#include "record.h"

namespace fendrel::store {
namespace {

// In the database's header.
constexpr std::size_t pageCountOffset = 28, firstFreePageOffset = 32;

// SQLite's locks lie there: never written, and not to be read while another program has one.
constexpr std::uint32_t lockPage = 0x40000000 / databasePageSize + 1;

constexpr std::size_t keptPages = 64;

}  // namespace

StorePages::StorePages(const std::wstring& path, Disk& disk)
    : file_(disk.open(path)), page_(databasePageSize), kept_(keptPages) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
  pagesInFile_ = static_cast<std::uint32_t>(std::min(file_->size() / databasePageSize, most));
  if (const std::wstring log = path + L"-wal"; disk.exists(log)) {
    log_ = disk.open(log);
    frames_ = readLogFrames(*log_, databasePageSize);
  }
  pageCount_ = pagesInFile_;
  hasChecksums_ = learnChecksums();
  learnPageCount();
}

// No page matches a checksum by chance.
bool StorePages::learnChecksums() {
  for (std::uint32_t number = 1; number <= pagesInFile_; ++number) {
    if (readWhole(*file_, std::uint64_t{number - 1} * databasePageSize) && matchesPage(page_, number)) return true;
  }
  // All of it may still be in the log.
  const auto first = frames_.pages.find(1);
  constexpr std::size_t reservedBytesOffset = 20;
  return first != frames_.pages.end() && readWhole(*log_, first->second) &&
         page_[reservedBytesOffset] == std::byte{reservedPageBytes};
}

// Behind the last page there may be others that were left when the database became shorter.
void StorePages::learnPageCount() {
  if (frames_.pageCount != 0) {
    pageCount_ = frames_.pageCount;
  } else if (const auto first = page(1); first && hasChecksums_) {
    const auto count = static_cast<std::uint32_t>(bigEndian(first->subspan(pageCountOffset, 4)));
    if (count != 0) pageCount_ = std::min(count, pagesInFile_);
  }
}

// What the disk itself cannot read is damaged like what does not match.
bool StorePages::readWhole(DiskFile& file, std::uint64_t at) {
  try {
    return file.read(at, page_) == page_.size();
  } catch (const EngineError&) {
    return false;
  }
}

// Into page_. False: it is damaged.
bool StorePages::readPage(std::uint32_t number) {
  const auto inLog = frames_.pages.find(number);
  if (inLog != frames_.pages.end()) return readWhole(*log_, inLog->second);
  if (!readWhole(*file_, std::uint64_t{number - 1} * databasePageSize)) return false;
  return !hasChecksums_ || matchesPage(page_, number);
}

std::optional<std::span<const std::byte>> StorePages::page(std::uint32_t number) {
  if (number == 0 || number > pageCount_) return {};
  KeptPage& kept = kept_[number % kept_.size()];
  if (kept.number != number) {
    if (number == lockPage) {
      std::ranges::fill(page_, std::byte{0});
    } else if (!readPage(number)) {
      return {};
    }
    kept.number = number;
    kept.bytes = page_;
  }
  const std::size_t usable = databasePageSize - (hasChecksums_ ? reservedPageBytes : 0);
  return std::span<const std::byte>(kept.bytes).first(usable);
}

std::uint32_t StorePages::firstFreePage() {
  const auto first = page(1);
  return first ? static_cast<std::uint32_t>(bigEndian(first->subspan(firstFreePageOffset, 4))) : 0;
}

}  // namespace fendrel::store
