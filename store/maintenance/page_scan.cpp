#include "page_scan.h"

#include <algorithm>
#include <iterator>

#include "record.h"

namespace fendrel::store {
namespace {

constexpr int deepest = 24;  // a tree of SQLite's largest file has fewer levels
constexpr unsigned offsetBits = 16;

std::uint64_t placeOf(std::uint32_t page, std::size_t offset) {
  return std::uint64_t{page} << offsetBits | static_cast<std::uint64_t>(offset);
}

// The key of a cell whose row has the shape.
std::optional<RowKey> keyOf(const TreeCell& cell, const TreeShape& shape) {
  const auto record = Record::read(cell.first, cell.size);
  if (!record || !fits(*record, shape)) return {};
  RowKey key{};
  if (shape.hasRowNumbers) {
    key[0] = cell.rowNumber;
    return key;
  }
  for (std::size_t i = 0; i < shape.keys; ++i) {
    const auto value = record->value(i, cell.first);
    if (!value) return {};
    key[i] = value->number;
  }
  return key;
}

}  // namespace

bool rowAt(PageSource& source, std::uint64_t place, Bytes& row) {
  const std::uint64_t page = place >> offsetBits;
  if (page == 0 || page > source.pageCount()) return false;
  const auto bytes = source.page(static_cast<std::uint32_t>(page));
  if (!bytes) return false;
  const auto tree = TreePage::read(*bytes);
  if (!tree || tree->kind() == PageKind::insideTable) return false;
  const auto cell = tree->cellAt(static_cast<std::size_t>(place & ((1u << offsetBits) - 1)));
  return cell && readRow(source, *cell, row);
}

PageScan::PageScan(PageSource& source, std::vector<ScannedTree> trees, std::uint32_t firstFreePage)
    : source_(source),
      trees_(std::move(trees)),
      firstFreePage_(firstFreePage),
      taken_(std::size_t{source.pageCount()} + 1),
      leafDepths_(trees_.size()) {}

bool PageScan::take(std::uint32_t page) {
  if (page < 2 || page >= taken_.size() || taken_[page]) return false;
  taken_[page] = true;
  return true;
}

// The list's own pages each name the next one and others.
void PageScan::takeFreePages() {
  std::uint32_t trunk = firstFreePage_;
  while (take(trunk)) {
    const auto page = source_.page(trunk);
    if (!page) return;
    const auto count = std::min<std::uint64_t>(bigEndian(page->subspan(4, 4)), page->size() / 4 - 2);
    for (std::size_t i = 0; i < count; ++i) take(static_cast<std::uint32_t>(bigEndian(page->subspan(8 + i * 4, 4))));
    trunk = static_cast<std::uint32_t>(bigEndian(page->first(4)));
  }
}

void PageScan::run(const Use& use) {
  use_ = &use;
  for (std::size_t tree = 0; tree < trees_.size(); ++tree) walk(tree, {trees_[tree].root, {}}, 1);
  for (const Gap& gap : gaps_) {
    if (gap.depth == leafDepths_[gap.tree]) trees_[gap.tree].mayLackRows = true;
  }
  takeFreePages();
  if (const auto gaps = gapsInsideTrees(); !gaps.empty()) adoptPages(gaps);
}

// Pages of the root's depth, then of the next.
void PageScan::walk(std::size_t tree, const Child& start, int depth) {
  std::vector<Child> level = {start};
  for (; !level.empty() && depth <= deepest; ++depth) {
    std::vector<Child> next;
    for (const Child& child : level) {
      std::optional<TreePage> page;
      if (take(child.page)) {
        if (const auto bytes = source_.page(child.page)) page = TreePage::read(*bytes);
      }
      if (!page || isOfTable(page->kind()) != trees_[tree].shape->hasRowNumbers) {
        noteGap(tree, child.page, depth, child.range);
        continue;
      }
      std::ranges::move(takePage(tree, *page, child.page, child.range, depth), std::back_inserter(next));
    }
    level = std::move(next);
  }
  if (!level.empty()) trees_[tree].mayLackRows = true;
}

void PageScan::noteGap(std::size_t tree, std::uint32_t page, int depth, const Range& range) {
  gaps_.push_back({tree, depth, range});
  trees_[tree].damaged.push_back(page);
}

// Hands out the rows of a page and returns the pages below it.
std::vector<PageScan::Child> PageScan::takePage(std::size_t tree, const TreePage& page, std::uint32_t number,
                                                const Range& range, int depth) {
  const TreeShape& shape = *trees_[tree].shape;
  if (isLeaf(page.kind())) leafDepths_[tree] = depth;
  std::vector<Child> children;
  Range open = range;
  bool isWhole = true;
  for (std::size_t i = 0; i < page.cellCount(); ++i) {
    const auto cell = page.cell(i);
    std::optional<RowKey> key;
    if (cell) key = page.kind() == PageKind::insideTable ? RowKey{cell->rowNumber} : keyOf(*cell, shape);
    if (!key) isWhole = false;
    if (key && page.kind() != PageKind::insideTable) (*use_)({&shape, *key, placeOf(number, cell->offset), true});
    if (isLeaf(page.kind())) continue;
    if (!cell) {
      noteGap(tree, number, depth, range);
      continue;
    }
    Range below = open;
    if (key && shape.keys > 0) below.high = open.low = *key;
    children.push_back({cell->child, below});
    open.high = range.high;
  }
  if (!isLeaf(page.kind())) children.push_back({page.lastChild(), open});
  if (!isWhole) {
    trees_[tree].mayLackRows = true;
    if (trees_[tree].damaged.empty() || trees_[tree].damaged.back() != number) trees_[tree].damaged.push_back(number);
  }
  return children;
}

std::vector<PageScan::Gap> PageScan::gapsInsideTrees() const {
  std::vector<Gap> inside;
  for (const Gap& gap : gaps_) {
    if (gap.depth != leafDepths_[gap.tree]) inside.push_back(gap);
  }
  return inside;
}

// Keys may equal the borders: in a table's tree the border is the last key of the pages before it.
bool PageScan::fitsGap(const TreePage& page, const Gap& gap) const {
  const TreeShape& shape = *trees_[gap.tree].shape;
  if (isOfTable(page.kind()) != shape.hasRowNumbers || page.cellCount() == 0) return false;
  std::optional<RowKey> last = gap.range.low;
  for (std::size_t i = 0; i < page.cellCount(); ++i) {
    const auto cell = page.cell(i);
    const auto key = cell ? keyOf(*cell, shape) : std::nullopt;
    if (!key) return false;
    if (shape.keys == 0) continue;
    if ((last && *key <= *last) || (gap.range.high && *key > *gap.range.high)) return false;
    last = key;
  }
  return true;
}

void PageScan::adopt(std::size_t tree, const TreePage& page, std::uint32_t number) {
  taken_[number] = true;
  ++trees_[tree].adopted;
  for (std::size_t i = 0; i < page.cellCount(); ++i) {
    const auto cell = page.cell(i);
    const auto key = cell ? keyOf(*cell, *trees_[tree].shape) : std::nullopt;
    if (key) (*use_)({trees_[tree].shape, *key, placeOf(number, cell->offset), false});
  }
}

void PageScan::adoptPages(const std::vector<Gap>& gaps) {
  bool othersAreDamaged = !source_.isCompared();
  for (std::uint32_t number = 2; number < taken_.size(); ++number) {
    if (taken_[number]) continue;
    const auto bytes = source_.page(number);
    if (!bytes) othersAreDamaged = true;
    const auto page = bytes ? TreePage::read(*bytes) : std::nullopt;
    if (!page || page->kind() == PageKind::insideTable) continue;
    std::vector<std::size_t> candidates;
    for (const Gap& gap : gaps) {
      const bool isCandidate = !candidates.empty() && candidates.back() == gap.tree;
      if (!isCandidate && fitsGap(*page, gap)) candidates.push_back(gap.tree);
    }
    if (candidates.size() == 1) {
      adopt(candidates.front(), *page, number);
    } else {
      for (const std::size_t tree : candidates) trees_[tree].mayLackRows = true;
    }
  }
  // Inside a tree of a table without row numbers there are rows too. What has no pages behind it may have been a leaf.
  for (const Gap& gap : gaps) {
    ScannedTree& tree = trees_[gap.tree];
    if (!tree.shape->hasRowNumbers || tree.adopted == 0 || othersAreDamaged) tree.mayLackRows = true;
  }
}

}  // namespace fendrel::store
