// IMessage.
#pragma once

#include <map>

#include "draft_properties.h"
#include "mapi_object.h"
#include "message_properties.h"

namespace fendrel::provider {

// Holds all changes until SaveChanges passes them to the engine in one transaction.
class Message final : public MapiObject<IMessage> {
 public:
  // A new message, which is in no folder before its first save.
  Message(ScopePointer scope, const store::Id& folder, store::MessageKind kind);
  // A saved message.
  Message(ScopePointer scope, const store::MessageInfo& info, bool writable);

  STDMETHODIMP GetAttachmentTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP OpenAttach(ULONG number, LPCIID iid, ULONG flags, LPATTACH* attachment) override;
  STDMETHODIMP CreateAttach(LPCIID iid, ULONG flags, ULONG* number, LPATTACH* attachment) override;
  STDMETHODIMP DeleteAttach(ULONG number, UlongPtr window, LPMAPIPROGRESS progress, ULONG flags) override;
  STDMETHODIMP GetRecipientTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP ModifyRecipients(ULONG flags, LPADRLIST recipients) override;
  STDMETHODIMP SubmitMessage(ULONG flags) override;
  STDMETHODIMP SetReadFlag(ULONG flags) override;

  // For its attachments: takes an attachment's saved changes for the message's next save.
  HRESULT keepAttachment(ULONG number, PropertyChanges changes);

  // For its attachment tables: the numbers of all attachments, with this object's changes; the row of one
  // (MAPI_E_NOT_FOUND); a state that changes with the set of attachments.
  HRESULT attachmentNumbers(std::vector<ULONG>& numbers) const;
  HRESULT attachmentRow(ULONG number, std::vector<Property>& row) const;
  std::uint64_t attachmentState() const noexcept { return attachmentState_; }

  const StoreScope& scope() const noexcept { return *scope_; }

 private:
  enum class AttachmentState { Saved, Added, Changed, Removed };
  struct PendingAttachment {
    AttachmentState state;
    PropertyChanges changes;
  };

  HRESULT readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) override;
  HRESULT readAllProperties(std::vector<Property>& found) override;
  std::span<const ULONG> objectTags() const override;
  HRESULT checkWritable() const override { return writable_ ? S_OK : MAPI_E_NO_ACCESS; }
  HRESULT checkProperty(PropertyTag tag) const override;
  HRESULT changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) override;
  HRESULT saveChanges(ULONG flags) override;
  HRESULT openProperty(ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object) override;

  Property computed(PropertyTag tag, std::span<const Property> sources) const;
  HRESULT draftOf(store::MessageDraft& draft, bool force) const;
  // The initial properties of an attachment's object. MAPI_E_NOT_FOUND.
  HRESULT attachmentDraft(ULONG number, DraftProperties& draft) const;
  bool hasAttachments() const;

  ScopePointer scope_;
  bool writable_;
  bool isSaved_;
  store::MessageInfo info_{};      // before the first save only folder, kind and search key are valid
  std::optional<bool> readState_;  // to be saved
  DraftProperties draft_;
  std::map<ULONG, PendingAttachment> attachments_;
  ULONG nextAttachment_ = 0;  // never reused by this object
  std::uint64_t attachmentState_ = 0;
};

}  // namespace fendrel::provider
