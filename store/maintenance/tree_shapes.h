// What the rows of our tables and indexes look like, by which a page of theirs is known when nothing leads to it.
// Portable. For store/maintenance only.
#pragma once

#include <span>
#include <string_view>

#include "record.h"

namespace fendrel::store {

struct TreeShape {
  std::string_view name;
  bool isTable;         // else an index, whose rows are of no use by themselves
  bool hasRowNumbers;   // false: an index, or a table without row numbers, which is stored as one
  std::size_t keys;     // of a table: by how many integers its rows are ordered
  // A letter for each value of a row, capital where it may be NULL: i integer, t text, b bytes, g 16 bytes; a anything;
  // n always NULL (a row number's column).
  std::string_view columns;
};

// Of store/schema, every version so far.
std::span<const TreeShape> treeShapes() noexcept;

bool fits(const Record& record, const TreeShape& shape) noexcept;

}  // namespace fendrel::store
