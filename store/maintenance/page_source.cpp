#include "page_source.h"

#include <algorithm>

#include "record.h"

namespace fendrel::store {

bool readRow(PageSource& source, const TreeCell& cell, Bytes& row) {
  row.assign(cell.first.begin(), cell.first.end());
  std::uint32_t next = cell.overflow;
  const std::uint64_t size = cell.size;
  // A chain that comes round ends when the row has its bytes, and no row has more pages than there are.
  for (std::uint32_t pages = 0; row.size() < size; ++pages) {
    if (next < 2 || pages >= source.pageCount()) return false;
    const auto page = source.page(next);
    if (!page || page->size() <= 4) return false;
    next = static_cast<std::uint32_t>(bigEndian(page->first(4)));
    const auto count = std::min<std::uint64_t>(page->size() - 4, size - row.size());
    const auto bytes = page->subspan(4, static_cast<std::size_t>(count));
    row.insert(row.end(), bytes.begin(), bytes.end());
  }
  return true;
}

}  // namespace fendrel::store
