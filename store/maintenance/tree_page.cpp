#include "tree_page.h"

#include "record.h"

namespace fendrel::store {
namespace {

constexpr std::size_t fileHeaderSize = 100, smallestPage = 480;
constexpr std::uint64_t longestRow = 1'000'000'000;  // SQLite's own limit

// How many bytes of a row lie in the page itself.
std::uint64_t localSize(std::uint64_t size, std::size_t usable, bool isTable) noexcept {
  const std::uint64_t most = isTable ? usable - 35 : (usable - 12) * 64 / 255 - 23;
  if (size <= most) return size;
  const std::uint64_t least = (usable - 12) * 32 / 255 - 23;
  const std::uint64_t fitting = least + (size - least) % (usable - 4);
  return fitting <= most ? fitting : least;
}

}  // namespace

std::optional<TreePage> TreePage::read(std::span<const std::byte> page, bool isFirst) noexcept {
  if (page.size() < smallestPage || page.size() > 65536) return {};
  const std::size_t start = isFirst ? fileHeaderSize : 0;
  TreePage read;
  read.page_ = page;
  switch (std::to_integer<int>(page[start])) {
    case 2: read.kind_ = PageKind::insideIndex; break;
    case 5: read.kind_ = PageKind::insideTable; break;
    case 10: read.kind_ = PageKind::leafOfIndex; break;
    case 13: read.kind_ = PageKind::leafOfTable; break;
    default: return {};
  }
  read.pointers_ = start + (isLeaf(read.kind_) ? 8 : 12);
  read.cellCount_ = static_cast<std::size_t>(bigEndian(page.subspan(start + 3, 2)));
  auto cells = static_cast<std::size_t>(bigEndian(page.subspan(start + 5, 2)));
  if (cells == 0) cells = 65536;
  if (cells > page.size() || read.pointers_ + read.cellCount_ * 2 > cells) return {};
  if (!isLeaf(read.kind_)) read.lastChild_ = static_cast<std::uint32_t>(bigEndian(page.subspan(start + 8, 4)));
  return read;
}

std::optional<TreeCell> TreePage::cell(std::size_t index) const noexcept {
  if (index >= cellCount_) return {};
  return cellAt(static_cast<std::size_t>(bigEndian(page_.subspan(pointers_ + index * 2, 2))));
}

std::optional<TreeCell> TreePage::cellAt(std::size_t offset) const noexcept {
  if (offset < pointers_ + cellCount_ * 2 || offset >= page_.size()) return {};
  TreeCell cell;
  cell.offset = offset;
  std::size_t at = offset;
  if (!isLeaf(kind_)) {
    if (page_.size() - at < 4) return {};
    cell.child = static_cast<std::uint32_t>(bigEndian(page_.subspan(at, 4)));
    at += 4;
  }
  if (kind_ != PageKind::insideTable && (!readVarint(page_, at, cell.size) || cell.size > longestRow)) return {};
  if (isOfTable(kind_)) {
    std::uint64_t number = 0;
    if (!readVarint(page_, at, number)) return {};
    cell.rowNumber = static_cast<std::int64_t>(number);
  }
  if (kind_ == PageKind::insideTable) return cell;
  const std::uint64_t local = localSize(cell.size, page_.size(), isOfTable(kind_));
  const std::size_t needed = static_cast<std::size_t>(local) + (local < cell.size ? 4 : 0);
  if (needed > page_.size() - at) return {};
  cell.first = page_.subspan(at, static_cast<std::size_t>(local));
  if (local < cell.size) {
    cell.overflow = static_cast<std::uint32_t>(bigEndian(page_.subspan(at + cell.first.size(), 4)));
  }
  return cell;
}

}  // namespace fendrel::store
