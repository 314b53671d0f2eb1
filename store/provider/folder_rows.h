// The rows of a hierarchy table.
#pragma once

#include "folder_properties.h"
#include "memory_rows.h"

namespace fendrel::provider {

// Folders are few: all are read at once, and again only if a request needs other columns.
class FolderRows final : public RowSource {
 public:
  FolderRows(ScopePointer scope, const store::Id& folder, store::Depth depth)
      : scope_(std::move(scope)), folder_(folder), depth_(depth) {}

  std::vector<PropertyTag> defaultColumns() const override;
  std::vector<PropertyTag> allColumns() const override;
  HRESULT scan(std::span<const PropertyTag> columns, const RowSink& sink) override;
  HRESULT read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) override;

 private:
  struct Row {
    RowKey key;
    std::vector<Property> values;
  };
  HRESULT fetch(std::span<const PropertyTag> columns);

  ScopePointer scope_;
  store::Id folder_;
  store::Depth depth_;
  std::vector<PropertyTag> columns_;
  std::vector<Row> rows_;
  std::size_t next_ = 0;  // end of the last read, where tables usually continue
};

}  // namespace fendrel::provider
