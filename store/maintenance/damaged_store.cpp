#include "damaged_store.h"

#include <algorithm>

#include "damaged_reading.h"

namespace fendrel::store {
namespace {

constexpr std::string_view firstPageIsLost =
    "The first page, which tells where the tables are, cannot be read: they were looked for where a store has them.";

const TreeShape* shapeNamed(std::string_view name) {
  const auto found = std::ranges::find(treeShapes(), name, &TreeShape::name);
  return found == treeShapes().end() ? nullptr : &*found;
}

// Reads all of a table, but of contents no more than their sizes: these are read one by one, each by its number, which
// no other's damage disturbs. In a table without row numbers SQLite compares whole rows when it looks for one.
bool canBeRead(ReadingConnection& connection, const TreeShape& table) {
  const std::string columns = table.name == "content" ? "size" : "*";
  std::string why;
  return readRows(connection, "SELECT " + columns + " FROM " + std::string(table.name) + " NOT INDEXED", why,
                  [](const Statement&) {});
}

std::vector<ScannedTree> treesOf(sqlite3* database) {
  std::vector<ScannedTree> trees;
  Statement rows(database, "SELECT name, rootpage FROM main.sqlite_schema WHERE rootpage > 0", false);
  while (rows.step()) {
    const TreeShape* shape = shapeNamed(rows.text(0));
    if (!shape) continue;
    ScannedTree tree;
    tree.shape = shape;
    tree.root = static_cast<std::uint32_t>(rows.integer(1));
    trees.push_back(std::move(tree));
  }
  return trees;
}

void run(sqlite3* database, const std::string& sql) {
  checkSqlite(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), database, "Making an empty store");
}

std::string numbersOf(const std::vector<std::uint32_t>& pages) {
  constexpr std::size_t most = 20;
  std::string text;
  for (std::size_t i = 0; i < std::min(pages.size(), most); ++i) {
    text += (i == 0 ? "" : ", ") + std::to_string(pages[i]);
  }
  return pages.size() > most ? text + " and " + std::to_string(pages.size() - most) + " more" : text;
}

}  // namespace

DamagedStore::DamagedStore(const std::wstring& path, Disk& disk) {
  try {
    connection_ = std::make_unique<ReadingConnection>(path, disk);
  } catch (const EngineError& error) {
    if (error.status != Status::Corrupt) throw;
    pages_ = std::make_unique<StorePages>(path, disk);
    connection_ = std::make_unique<ReadingConnection>(path, disk, ReadingConnection::Empty{});
    const Trees trees = treesOfKnownStore(error);
    std::vector<const TreeShape*> all;
    for (const TreeShape& shape : treeShapes()) all.push_back(&shape);
    overcome_.emplace_back(firstPageIsLost);
    readPages(trees, all, 0);
    return;
  }
  std::vector<const TreeShape*> damaged;
  for (const TreeShape& shape : treeShapes()) {
    if (shape.isTable && !canBeRead(*connection_, shape)) damaged.push_back(&shape);
  }
  if (damaged.empty()) return;
  const Trees trees = treesOf(connection_->handle());
  pages_ = std::make_unique<StorePages>(connection_->path(), disk);
  readPages(trees, damaged, pages_->firstFreePage());
}

void DamagedStore::readPages(const Trees& trees, const std::vector<const TreeShape*>& tables,
                             std::uint32_t firstFreePage) {
  rows_ = std::make_unique<FoundRows>(*connection_, *pages_);
  for (const TreeShape* table : tables) rows_->stand(*table);
  PageScan scan(*pages_, trees, firstFreePage);
  scan.run([&](const FoundRow& row) { rows_->add(row); });
  rows_->finish();
  for (const ScannedTree& tree : scan.trees()) {
    if (tree.shape->isTable && std::ranges::find(tables, tree.shape) != tables.end()) report(tree);
  }
}

void DamagedStore::report(const ScannedTree& tree) {
  const std::string name(tree.shape->name);
  const std::uint64_t disputed = rows_->disputed(*tree.shape);
  if (!tree.damaged.empty()) {
    std::string what = (tree.damaged.size() == 1 ? "page " : "pages ") + numbersOf(tree.damaged);
    if (tree.mayLackRows) {
      connection_->noteIncomplete(name, "rows were lost with " + what);
    } else {
      overcome_.push_back("In the table " + name + " " + what + " cannot be read; its rows were all found without.");
    }
  } else if (tree.mayLackRows) {
    connection_->noteIncomplete(name, "pages that may belong to it could not be told apart");
  }
  if (disputed > 0) {
    connection_->noteIncomplete(name, std::to_string(disputed) + " rows stand in it twice, with different values");
  }
  if (const std::uint64_t cut = rows_->cut(*tree.shape); cut > 0) {
    connection_->noteIncomplete(name, std::to_string(cut) + " rows go on in pages that cannot be read");
  }
}

// Stores made in one way have their tables in the same places: as the schema's scripts make them one after another, or
// as compacting orders them.
DamagedStore::Trees DamagedStore::treesOfKnownStore(const EngineError& otherwise) {
  sqlite3* database = connection_->handle();
  for (const char* sql : {"", "VACUUM"}) {
    run(database, sql);
    if (Trees trees = treesOf(database); areThere(trees)) return trees;
  }
  throw otherwise;
}

// True if every root that can be read is one of its kind, and some can.
bool DamagedStore::areThere(const Trees& trees) {
  std::size_t found = 0;
  for (const ScannedTree& tree : trees) {
    const auto bytes = pages_->page(tree.root);
    if (!bytes) continue;
    const auto page = TreePage::read(*bytes);
    if (!page || isOfTable(page->kind()) != tree.shape->hasRowNumbers) {
      if (pages_->isCompared()) return false;
      continue;
    }
    ++found;
  }
  return found * 2 > trees.size();
}

}  // namespace fendrel::store
