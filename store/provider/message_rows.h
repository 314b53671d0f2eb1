// The rows of a contents table.
#pragma once

#include "message_properties.h"
#include "row_source.h"

namespace fendrel::provider {

class MessageRows final : public RowSource {
 public:
  MessageRows(ScopePointer scope, const store::Id& folder, store::MessageKind kind)
      : scope_(std::move(scope)), folder_(folder), kind_(kind) {}

  std::vector<PropertyTag> defaultColumns() const override;
  std::vector<PropertyTag> allColumns() const override;
  HRESULT scan(std::span<const PropertyTag> columns, const RowSink& sink) override;
  HRESULT read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) override;

 private:
  HRESULT scanKeys(const RowSink& sink);

  ScopePointer scope_;
  store::Id folder_;
  store::MessageKind kind_;
};

}  // namespace fendrel::provider
