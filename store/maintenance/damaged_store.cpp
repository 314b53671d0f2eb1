#include "damaged_store.h"

#include <algorithm>
#include <utility>

#include "migrations.h"
#include "page_checksums.h"

namespace fendrel::store {
namespace {

const TreeShape* shapeNamed(std::string_view name) {
  const auto found = std::ranges::find(treeShapes(), name, &TreeShape::name);
  return found == treeShapes().end() ? nullptr : &*found;
}

// Of each table the last column that a row always has in the table's own page.
constexpr std::pair<const char*, const char*> lastColumns[] = {
    {"store", "kind"},       {"profile", "mailbox"}, {"folder", "associated_count"},
    {"message", "revision"}, {"attachment", "size"}, {"content", "size"},
    {"message_property", "size"}, {"folder_property", "type"}, {"store_property", "type"}};

// Reads all of a table's pages but those behind long values, which are no other row's.
bool canBeRead(ReadingConnection& connection, const std::string& table, const std::string& column) {
  try {
    connection.keepMoment();
    connection.number(("SELECT max(" + column + ") FROM " + table + " NOT INDEXED").c_str());
    return true;
  } catch (const EngineError& error) {
    if (!isDamage(error)) throw;
    return false;
  }
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
    for (const TreeShape& shape : treeShapes()) {
      if (shape.isTable) all.push_back(&shape);
    }
    overcome_.push_back("The first page, which tells where the tables are, cannot be read: they were looked for where a "
                        "store has them.");
    readPages(trees, all, 0);
    return;
  }
  std::vector<const TreeShape*> damaged;
  for (const auto& [table, column] : lastColumns) {
    if (!canBeRead(*connection_, table, column)) damaged.push_back(shapeNamed(table));
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
    if (std::ranges::find(tables, tree.shape) != tables.end()) report(tree);
  }
}

void DamagedStore::report(const ScannedTree& tree) {
  const std::string table = "the table " + std::string(tree.shape->name);
  const std::uint64_t disputed = rows_->disputed(*tree.shape);
  if (!tree.damaged.empty()) {
    std::string what = (tree.damaged.size() == 1 ? "page " : "pages ") + numbersOf(tree.damaged);
    if (tree.mayLackRows) connection_->noteIncomplete(std::string(tree.shape->name), "rows were lost with " + what);
    else overcome_.push_back("In " + table + " " + what + " cannot be read; all of its rows were found without.");
  } else if (tree.mayLackRows) {
    connection_->noteIncomplete(std::string(tree.shape->name), "pages that may belong to it could not be told apart");
  }
  if (disputed > 0) {
    connection_->noteIncomplete(std::string(tree.shape->name),
                                std::to_string(disputed) + " rows stand in it twice, with different values");
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
