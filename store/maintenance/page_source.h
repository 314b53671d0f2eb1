// Where pages come from, and the rows that lie in several of them. Portable and without trust, as record.h. For
// store/maintenance only.
#pragma once

#include <optional>
#include <span>

#include "property.h"
#include "tree_page.h"

namespace fendrel::store {

class PageSource {
public:
  virtual ~PageSource() = default;

  // Pages are numbered from 1.
  virtual std::uint32_t pageCount() const = 0;

  // The page without its reserved bytes, all pages of one size. It is there until the next call. Nothing: it is damaged
  // or missing.
  virtual std::optional<std::span<const std::byte>> page(std::uint32_t number) = 0;

  // True where every damaged page is known to be one: its bytes are compared with a checksum.
  virtual bool isCompared() const = 0;
};

// All bytes of the row of a cell, from its own page and the overflow pages behind it. False: one of these is missing.
// The cell is of a page of `source`, and no longer there after the call.
bool readRow(PageSource& source, const TreeCell& cell, Bytes& row);

}  // namespace fendrel::store
