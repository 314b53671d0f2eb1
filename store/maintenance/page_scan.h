// Finds the rows of tables page by page, where SQLite would stop at the first damaged one. Portable and without trust,
// as record.h. For store/maintenance only.
//
// First the trees are walked from their roots. A page that cannot be read leaves a gap. Its depth tells what it was:
// all leaves of a tree have one depth. A leaf's rows are lost; behind a page from inside a tree lie pages that are
// whole and to which nothing leads any more. Those are looked for among all pages, and known by the shape of their rows
// and by keys that belong into the gap.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <vector>

#include "page_source.h"
#include "tree_shapes.h"

namespace fendrel::store {

using RowKey = std::array<std::int64_t, 3>;  // as many as the shape has, then zeros

struct FoundRow {
  const TreeShape* shape = nullptr;
  RowKey key{};
  std::uint64_t place = 0;  // for rowAt
  bool isLedTo = false;     // false: its page was known by its shape alone
};

// The bytes of a found row. False: a page of it is damaged.
bool rowAt(PageSource& source, std::uint64_t place, Bytes& row);

// A tree and what was found of it.
struct ScannedTree {
  const TreeShape* shape = nullptr;
  std::uint32_t root = 0;
  std::vector<std::uint32_t> damaged;  // its pages that cannot be read
  std::uint32_t adopted = 0;           // pages that nothing led to
  bool mayLackRows = false;            // rows of it may be neither found nor known to be missing
};

class PageScan {
public:
  using Use = std::function<void(const FoundRow&)>;

  // `trees`: all trees of the file, with shape and root. The pages of the free list, which begins with page
  // `firstFreePage` (0: none is known), are not looked at where nothing leads to them.
  PageScan(PageSource& source, std::vector<ScannedTree> trees, std::uint32_t firstFreePage);

  // Calls use(row) for all rows. A row that stands in the file twice comes twice.
  void run(const Use& use);

  const std::vector<ScannedTree>& trees() const noexcept { return trees_; }

private:
  struct Range {
    std::optional<RowKey> low, high;
  };
  struct Gap {
    std::size_t tree;
    int depth;
    Range range;
  };
  struct Child {
    std::uint32_t page;
    Range range;
  };

  void takeFreePages();
  void walk(std::size_t tree, const Child& start, int depth);
  std::vector<Child> takePage(std::size_t tree, const TreePage& page, std::uint32_t number, const Range& range,
                              int depth);
  void noteGap(std::size_t tree, std::uint32_t page, int depth, const Range& range);
  std::vector<Gap> gapsInsideTrees() const;
  void adoptPages(const std::vector<Gap>& gaps);
  void adopt(std::size_t tree, const TreePage& page, std::uint32_t number);
  bool fitsGap(const TreePage& page, const Gap& gap) const;
  bool take(std::uint32_t page);

  PageSource& source_;
  std::vector<ScannedTree> trees_;
  std::uint32_t firstFreePage_;
  std::vector<bool> taken_;  // pages by number
  std::vector<Gap> gaps_;
  std::vector<int> leafDepths_;  // of each tree, 0: no leaf was found
  const Use* use_ = nullptr;
};

}  // namespace fendrel::store
