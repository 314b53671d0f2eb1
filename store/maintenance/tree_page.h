// Pages of tables and indexes as SQLite's published file format has them. Portable and without trust, as record.h.
// For store/maintenance only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace fendrel::store {

// In the file each page has a page header (8 bytes, inside a tree 12), then an offset of 2 bytes for each cell in the
// order of their keys, then free room, then the cells; the last bytes may be reserved.
//   offset  size
//        0     1  kind
//        3     2  number of cells
//        5     2  where the cells begin
//        8     4  inside a tree: the last child
// A cell: child (4 bytes, inside a tree), size of the row (varint, not inside a table's tree), row number (varint, in a
// table), the row, of which what does not fit follows in overflow pages: number of the first (4 bytes).
enum class PageKind : std::uint8_t { insideIndex = 2, insideTable = 5, leafOfIndex = 10, leafOfTable = 13 };

constexpr bool isLeaf(PageKind kind) { return kind == PageKind::leafOfIndex || kind == PageKind::leafOfTable; }
constexpr bool isOfTable(PageKind kind) { return kind == PageKind::insideTable || kind == PageKind::leafOfTable; }

struct TreeCell {
  std::size_t offset = 0;  // in the page
  std::uint32_t child = 0;
  std::int64_t rowNumber = 0;
  std::uint64_t size = 0;            // of the row
  std::span<const std::byte> first;  // its bytes in this page
  std::uint32_t overflow = 0;        // the page with the next ones; 0: there are no more
};

class TreePage {
public:
  // `page`: its bytes without the reserved ones; the first page of a file begins with the file's header. They must stay
  // while this object and its cells are used. Nothing: it is no such page.
  static std::optional<TreePage> read(std::span<const std::byte> page, bool isFirst = false) noexcept;

  PageKind kind() const noexcept { return kind_; }
  std::size_t cellCount() const noexcept { return cellCount_; }
  std::uint32_t lastChild() const noexcept { return lastChild_; }

  // Nothing: it does not lie in the page.
  std::optional<TreeCell> cell(std::size_t index) const noexcept;
  std::optional<TreeCell> cellAt(std::size_t offset) const noexcept;

private:
  std::span<const std::byte> page_;
  PageKind kind_{};
  std::size_t pointers_ = 0, cellCount_ = 0;
  std::uint32_t lastChild_ = 0;
};

}  // namespace fendrel::store
