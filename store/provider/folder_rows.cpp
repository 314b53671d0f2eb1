#include "folder_rows.h"

#include <algorithm>

#include "status_codes.h"

namespace fendrel::provider {

std::vector<PropertyTag> FolderRows::defaultColumns() const {
  return {PR_ENTRYID,      PR_DISPLAY_NAME_W, PR_SUBFOLDERS,       PR_CONTENT_COUNT, PR_CONTENT_UNREAD,
          PR_DEPTH,        PR_FOLDER_TYPE,    PR_COMMENT_W,        PR_OBJECT_TYPE,   PR_STATUS,
          PR_INSTANCE_KEY, PR_DISPLAY_TYPE,   PR_CONTAINER_CLASS_W};
}

std::vector<PropertyTag> FolderRows::allColumns() const {
  const auto computed = computedFolderTags();
  std::vector<PropertyTag> columns(computed.begin(), computed.end());
  columns.insert(columns.end(), {PR_DEPTH, PR_COMMENT_W, PR_CONTAINER_CLASS_W});
  return columns;
}

HRESULT FolderRows::fetch(std::span<const PropertyTag> columns) {
  std::vector<PropertyTag> stored;
  for (const PropertyTag column : columns) {
    if (!isComputedFolderTag(column) && PROP_ID(column) != PROP_ID(PR_DEPTH)) stored.push_back(column);
  }
  std::vector<Row> rows;
  const auto status = scope_->engine().readFolderRows(folder_, depth_, stored, [&](store::FolderRow&& found) {
    Row& row = rows.emplace_back();
    row.key = found.folder.id;
    std::size_t nextStored = 0;
    for (const PropertyTag column : columns) {
      if (PROP_ID(column) == PROP_ID(PR_DEPTH))
        row.values.push_back(longProperty(PR_DEPTH, found.depth - 1));
      else if (isComputedFolderTag(column))
        row.values.push_back(computedFolderProperty(*scope_, found.folder, column, scope_->writable));
      else
        row.values.push_back(storedFolderProperty(found.folder, column, std::move(found.values[nextStored++])));
    }
    return true;
  });
  if (status != store::Status::Ok) return toResult(status);
  rows_ = std::move(rows);
  columns_.assign(columns.begin(), columns.end());
  next_ = 0;
  return S_OK;
}

HRESULT FolderRows::scan(std::span<const PropertyTag> columns, const RowSink& sink) {
  if (const HRESULT result = fetch(columns); FAILED(result)) return result;
  for (Row& row : rows_) {
    if (!sink(row.key, row.values)) break;
  }
  return S_OK;
}

HRESULT FolderRows::read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) {
  if (!std::ranges::equal(columns, columns_)) {
    if (const HRESULT result = fetch(columns); FAILED(result)) return result;
  }
  for (const RowKey& key : rows) {
    if (next_ >= rows_.size() || rows_[next_].key != key) {
      next_ = static_cast<std::size_t>(std::ranges::find(rows_, key, &Row::key) - rows_.begin());
    }
    if (next_ >= rows_.size()) continue;
    if (!sink(key, rows_[next_++].values)) break;
  }
  return S_OK;
}

}  // namespace fendrel::provider
