// The rows of a hierarchy table.
#pragma once

#include "folder_properties.h"
#include "memory_rows.h"

namespace fendrel::provider {

// Folders are few: they are read in one go, with the columns asked for, when a question needs other columns than the
// one before.
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
  std::size_t next_ = 0;  // where the last read ended: tables mostly read on from there
};

}  // namespace fendrel::provider
