// IAttach.
#pragma once

#include "draft_properties.h"
#include "mapi_object.h"
#include "session_context.h"

namespace fendrel::provider {

class Message;

// SaveChanges passes its changes to the message, whose SaveChanges writes them.
class Attachment final : public MapiObject<IAttach> {
 public:
  Attachment(Message* message, ULONG number, DraftProperties draft, bool writable);
  ~Attachment() override;

 private:
  HRESULT readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) override;
  HRESULT readAllProperties(std::vector<Property>& found) override;
  HRESULT checkWritable() const override { return writable_ ? S_OK : MAPI_E_NO_ACCESS; }
  HRESULT checkProperty(PropertyTag tag) const override;
  HRESULT changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) override;
  HRESULT saveChanges(ULONG flags) override;
  HRESULT openProperty(ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object) override;

  ComPtr<Message> message_;
  ULONG number_;
  DraftProperties draft_;
  bool writable_;
};

// All properties of an attachment for its table; long ones unloaded.
HRESULT attachmentRow(const StoreScope& scope, ULONG number, const DraftProperties& draft, std::vector<Property>& row);

}  // namespace fendrel::provider
