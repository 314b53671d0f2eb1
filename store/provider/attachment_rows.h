// The rows of an attachment table.
#pragma once

#include "mapi_interfaces.h"
#include "row_source.h"

namespace fendrel::provider {

class Message;

// Shows the message object's attachments, including unsaved changes and additions.
class AttachmentRows final : public RowSource {
 public:
  explicit AttachmentRows(Message* message);
  ~AttachmentRows() override;

  std::vector<PropertyTag> defaultColumns() const override;
  HRESULT scan(std::span<const PropertyTag> columns, const RowSink& sink) override;
  HRESULT read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) override;
  bool hasBookmarks() const override { return false; }
  std::uint64_t state() const override;

 private:
  ComPtr<Message> message_;
};

}  // namespace fendrel::provider
