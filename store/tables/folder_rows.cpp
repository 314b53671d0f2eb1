#include "folder_table.h"
#include "property_table.h"

namespace fendrel::store {

namespace {

// Depth first: the children of each folder are read when the folder is visited.
class FolderReading {
 public:
  FolderReading(Connection& connection, Depth depth, std::span<const PropertyTag> columns, const FolderRowSink& sink)
      : connection_(connection), depth_(depth), columns_(columns), sink_(sink) {}

  void run(std::int64_t top) {
    // An explicit stack, because a tree may be deeper than the call stack allows.
    std::vector<Pending> pending;
    pushChildren(top, 1, pending);
    while (!pending.empty()) {
      Pending next = std::move(pending.back());
      pending.pop_back();
      const bool hasChildren = next.row.folder.hasSubfolders;
      const std::uint32_t depth = next.row.depth;
      readColumns(next);
      if (!sink_(std::move(next.row))) return;
      if (depth_ == Depth::AllBelow && hasChildren) pushChildren(next.id, depth + 1, pending);
    }
  }

 private:
  struct Pending {
    std::int64_t id;
    FolderRow row;
  };

  // The top of the stack is read next, so the youngest is pushed first.
  void pushChildren(std::int64_t parent, std::uint32_t depth, std::vector<Pending>& pending) {
    Query query(connection_.statement("SELECT " FENDREL_FOLDER_COLUMNS " FROM folder f WHERE f.parent = ? "
                                      "ORDER BY f.id DESC"),
                parent);
    while (query.step()) pending.push_back({query->integer(folderRowColumn), {folderAt(*query), depth, {}}});
  }

  void readColumns(Pending& folder) {
    folder.row.values.assign(columns_.size(), Property{});
    if (columns_.empty()) return;
    for (const Property& property : readOwnerProperties(connection_, OwnerTable::Folder, folder.id, columns_)) {
      placeInColumns(columns_, folder.row.values, property);
    }
  }

  Connection& connection_;
  Depth depth_;
  std::span<const PropertyTag> columns_;
  const FolderRowSink& sink_;
};

}  // namespace

Status readFolderRows(Database& database, const Id& folder, Depth depth, std::span<const PropertyTag> columns,
                      const FolderRowSink& sink) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    FolderReading(connection, depth, columns, sink).run(folderRow(connection, folder));
  });
}

}  // namespace fendrel::store
