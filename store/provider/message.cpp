#include "message.h"

#include <algorithm>
#include <iterator>

#include "attachment.h"
#include "attachment_rows.h"
#include "host_stream.h"
#include "ids.h"
#include "mapi_table.h"
#include "memory_rows.h"
#include "status_codes.h"

namespace fendrel::provider {
namespace {

// Longer values are omitted from "all properties" but not from explicit requests.
constexpr std::uint64_t longestInAllOfMessage = 1024 * 1024;

constexpr PropertyTag recipientColumns[] = {PR_ROWID,      PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_W,
                                            PR_ENTRYID,    PR_ADDRTYPE_W,     PR_EMAIL_ADDRESS_W,
                                            PR_SEARCH_KEY, PR_OBJECT_TYPE,    PR_DISPLAY_TYPE};

constexpr ULONG objectsOfMessages[] = {PR_MESSAGE_RECIPIENTS, PR_MESSAGE_ATTACHMENTS};

}  // namespace

Message::Message(ScopePointer scope, const store::Id& folder, store::MessageKind kind)
    : MapiObject(homeOf(scope->session)),
      scope_(std::move(scope)),
      writable_(true),
      isSaved_(false),
      draft_(scope_->session->engine, folder) {
  info_.folder = folder;
  info_.kind = kind;
  info_.searchKey = store::newGuid();  // the same in each attempt to save
  readState_ = true;                   // its creator has read it
}

Message::Message(ScopePointer scope, const store::MessageInfo& info, bool writable)
    : MapiObject(homeOf(scope->session)),
      scope_(std::move(scope)),
      writable_(writable),
      isSaved_(true),
      info_(info),
      draft_(scope_->session->engine, info.folder) {
  draft_.setSaved(info.id, std::nullopt);
}

bool Message::hasAttachments() const {
  std::vector<ULONG> numbers;
  return SUCCEEDED(attachmentNumbers(numbers)) && !numbers.empty();
}

Property Message::computed(PropertyTag tag, std::span<const Property> sources) const {
  store::MessageInfo info = info_;
  if (readState_) info.isRead = *readState_;
  if (!attachments_.empty()) info.hasAttachments = hasAttachments();
  if (!isSaved_) {
    // Identifiers, times and sizes are not known yet.
    switch (PROP_ID(tag)) {
      case PROP_ID(PR_ENTRYID):
      case PROP_ID(PR_RECORD_KEY):
      case PROP_ID(PR_INSTANCE_KEY):
      case PROP_ID(PR_SEARCH_KEY):
      case PROP_ID(PR_CREATION_TIME):
      case PROP_ID(PR_LAST_MODIFICATION_TIME):
      case PROP_ID(PR_MESSAGE_SIZE): return {};
      default: break;
    }
  }
  return computedMessageProperty(*scope_, info, tag, writable_, sources);
}

HRESULT Message::readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) {
  if (isSaved_ && !readState_) {
    // Another program may have read or deleted it since.
    store::MessageInfo now;
    const auto status = scope_->engine().findMessage(info_.id, now);
    if (status == store::Status::NotFound) return MAPI_E_OBJECT_DELETED;
    if (status != store::Status::Ok) return toResult(status);
    info_.isRead = now.isRead;
    info_.folder = now.folder;
  }
  std::vector<PropertyTag> asked;
  for (const PropertyTag tag : tags) {
    const auto sources = isComputedMessageTag(tag) ? sourcesOf(tag) : std::span(&tag, PROP_ID(tag) != 0 ? 1 : 0);
    asked.insert(asked.end(), sources.begin(), sources.end());
  }
  std::vector<Property> present;
  if (!asked.empty()) {
    if (const HRESULT result = draft_.read(asked, present); FAILED(result)) return result;
  }
  std::size_t next = 0;
  for (const PropertyTag tag : tags) {
    if (isComputedMessageTag(tag)) {
      const auto sources = std::span<const Property>(present).subspan(next, sourcesOf(tag).size());
      found.push_back(computed(tag, sources));
      next += sources.size();
    } else {
      found.push_back(PROP_ID(tag) != 0 ? std::move(present[next++]) : Property{});
    }
  }
  return S_OK;
}

HRESULT Message::readAllProperties(std::vector<Property>& found) {
  std::vector<Property> all;
  if (const HRESULT result = draft_.readAll(longestInAllOfMessage, all); FAILED(result)) return result;
  const std::span<const PropertyTag> tags = computedMessageTags();
  if (const HRESULT result = readProperties(tags, found); FAILED(result)) return result;
  std::erase_if(found, [](const Property& property) { return property.tag == 0; });
  for (Property& property : all) {
    if (!isComputedMessageTag(property.tag)) found.push_back(std::move(property));
  }
  return S_OK;
}

std::span<const ULONG> Message::objectTags() const { return objectsOfMessages; }

HRESULT Message::checkProperty(PropertyTag tag) const {
  // The creator may set flags until the first save.
  if (PROP_ID(tag) == PROP_ID(PR_MESSAGE_FLAGS) && !isSaved_) return S_OK;
  // Computed only if it is not set.
  if (PROP_ID(tag) == PROP_ID(PR_SUBJECT_PREFIX_W)) return S_OK;
  return isComputedMessageTag(tag) ? MAPI_E_COMPUTED : S_OK;
}

HRESULT Message::changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) {
  for (const Property& property : set) {
    if (PROP_ID(property.tag) == PROP_ID(PR_MESSAGE_FLAGS)) {
      if (!longOf(property)) return MAPI_E_INVALID_TYPE;
      readState_ = (*longOf(property) & static_cast<LONG>(MSGFLAG_READ)) != 0;
    }
    draft_.changes().set(property);
  }
  for (const PropertyTag tag : remove) draft_.changes().remove(tag);
  return S_OK;
}

HRESULT Message::draftOf(store::MessageDraft& draft, bool force) const {
  if (isSaved_) {
    draft.message = info_.id;
    if (!force) draft.expectedRevision = info_.revision;
  } else {
    draft.folder = info_.folder;
    draft.kind = info_.kind;
    draft.searchKey = info_.searchKey;
    if (!draft_.changes().find(PR_MESSAGE_CLASS_W)) {
      draft.set.push_back(makeProperty(PR_MESSAGE_CLASS_W, std::u16string(u"IPM.Note")));
    }
  }
  draft.isRead = readState_;
  if (const HRESULT result = draft_.changes().moveInto(draft.set, draft.remove, draft.contents); FAILED(result)) {
    return result;
  }
  for (const auto& [number, pending] : attachments_) {
    store::AttachmentChange change;
    change.number = number;
    switch (pending.state) {
      case AttachmentState::Saved: continue;
      case AttachmentState::Added: change.action = store::AttachmentAction::Add; break;
      case AttachmentState::Changed: change.action = store::AttachmentAction::Change; break;
      case AttachmentState::Removed: change.action = store::AttachmentAction::Remove; break;
    }
    if (pending.state != AttachmentState::Removed) {
      const HRESULT result = pending.changes.moveInto(change.set, change.remove, change.contents);
      if (FAILED(result)) return result;
    }
    draft.attachments.push_back(std::move(change));
  }
  return S_OK;
}

HRESULT Message::saveChanges(ULONG flags) {
  if (!writable_) return MAPI_E_NO_ACCESS;
  const bool changed = !isSaved_ || readState_ || !draft_.changes().empty() || !attachments_.empty();
  if (changed) {
    store::MessageDraft draft;
    if (const HRESULT result = draftOf(draft, (flags & FORCE_SAVE) != 0); FAILED(result)) return result;
    store::MessageInfo saved;
    const auto status = scope_->engine().saveMessage(draft, saved);
    if (status == store::Status::NotFound && isSaved_) return MAPI_E_OBJECT_DELETED;
    if (status != store::Status::Ok) return toResult(status);
    info_ = std::move(saved);
    isSaved_ = true;
    readState_.reset();
    draft_.changes().clear();
    draft_.setSaved(info_.id, std::nullopt);
    attachments_.clear();
  }
  // Without KEEP_OPEN flags the message becomes read-only.
  writable_ = (flags & KEEP_OPEN_READWRITE) != 0;
  return S_OK;
}

HRESULT Message::openProperty(ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object) {
  if (tag == PR_MESSAGE_ATTACHMENTS && answersTo<IMAPITable>(iid)) {
    return GetAttachmentTable(options, reinterpret_cast<LPMAPITABLE*>(object));
  }
  if (tag == PR_MESSAGE_RECIPIENTS && answersTo<IMAPITable>(iid)) {
    return GetRecipientTable(options, reinterpret_cast<LPMAPITABLE*>(object));
  }
  StreamWish wish;
  if (const HRESULT result = streamWish(tag, iid, options, flags, writable_, wish); FAILED(result)) return result;
  if (FAILED(checkProperty(tag)) || PROP_ID(tag) == PROP_ID(PR_SUBJECT_PREFIX_W))
    return wish.writable ? MAPI_E_COMPUTED : openHostStream(*this, this, mutex(), tag, iid, 0, 0, object);
  std::shared_ptr<StreamContent> content;
  if (const HRESULT result = draft_.openContent(tag, wish.writable, wish.create, content); FAILED(result))
    return result;
  auto stream = makeObject<PropertyStream>(mutex(), std::move(content), wish.writable);
  return handOut(stream, object);
}

HRESULT Message::attachmentNumbers(std::vector<ULONG>& numbers) const {
  if (isSaved_) {
    std::vector<store::AttachmentRow> rows;
    const auto status = scope_->engine().readAttachmentRows(info_.id, {}, rows);
    if (status != store::Status::Ok) return toResult(status);
    for (const auto& row : rows) numbers.push_back(row.number);
  }
  for (const auto& [number, pending] : attachments_) {
    if (pending.state == AttachmentState::Removed)
      std::erase(numbers, number);
    else if (pending.state == AttachmentState::Added)
      numbers.push_back(number);
  }
  std::ranges::sort(numbers);
  return S_OK;
}

HRESULT Message::attachmentRow(ULONG number, std::vector<Property>& row) const {
  DraftProperties draft(scope_->session->engine, info_.folder);
  if (const HRESULT result = attachmentDraft(number, draft); FAILED(result)) return result;
  return provider::attachmentRow(*scope_, number, draft, row);
}

HRESULT Message::attachmentDraft(ULONG number, DraftProperties& draft) const {
  std::vector<ULONG> numbers;
  if (const HRESULT result = attachmentNumbers(numbers); FAILED(result)) return result;
  if (!std::ranges::binary_search(numbers, number)) return MAPI_E_NOT_FOUND;
  const auto pending = attachments_.find(number);
  if (pending != attachments_.end()) {
    draft.changes() = pending->second.changes.shared();
  }
  if (pending == attachments_.end() || pending->second.state != AttachmentState::Added)
    draft.setSaved(info_.id, number);
  return S_OK;
}

STDMETHODIMP Message::GetAttachmentTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    *table = nullptr;
    // Report a problem with the message here, not in each row.
    std::vector<ULONG> numbers;
    if (const HRESULT result = attachmentNumbers(numbers); FAILED(result)) return result;
    auto opened = makeObject<MapiTable>(home(), std::make_unique<AttachmentRows>(this), textForm(flags));
    return handOut(opened, table);
  });
}

STDMETHODIMP Message::OpenAttach(ULONG number, LPCIID iid, ULONG flags, LPATTACH* attachment) {
  if (!attachment) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    *attachment = nullptr;
    if (!accepts<IAttach>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    bool writable = false;
    if (const HRESULT result = accessFor(flags, writable_, writable); FAILED(result)) return result;
    DraftProperties draft(scope_->session->engine, info_.folder);
    if (const HRESULT result = attachmentDraft(number, draft); FAILED(result)) return result;
    auto opened = makeObject<Attachment>(this, number, std::move(draft), writable);
    return handOut(opened, attachment);
  });
}

STDMETHODIMP Message::CreateAttach(LPCIID iid, ULONG, ULONG* number, LPATTACH* attachment) {
  if (!attachment || !number) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    *attachment = nullptr;
    if (!accepts<IAttach>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    if (!writable_) return MAPI_E_NO_ACCESS;
    std::vector<ULONG> numbers;
    if (const HRESULT result = attachmentNumbers(numbers); FAILED(result)) return result;
    if (!numbers.empty()) nextAttachment_ = std::max(nextAttachment_, numbers.back() + 1);
    auto created =
        makeObject<Attachment>(this, nextAttachment_, DraftProperties(scope_->session->engine, info_.folder), true);
    *number = nextAttachment_++;
    return handOut(created, attachment);
  });
}

HRESULT Message::keepAttachment(ULONG number, PropertyChanges changes) {
  if (!writable_) return MAPI_E_NO_ACCESS;
  const auto known = attachments_.find(number);
  if (known != attachments_.end() && known->second.state == AttachmentState::Removed) return MAPI_E_OBJECT_DELETED;
  std::vector<ULONG> numbers;
  if (const HRESULT result = attachmentNumbers(numbers); FAILED(result)) return result;
  const bool added = !std::ranges::binary_search(numbers, number) ||
                     (known != attachments_.end() && known->second.state == AttachmentState::Added);
  const auto state = added ? AttachmentState::Added : AttachmentState::Changed;
  attachments_.insert_or_assign(number, PendingAttachment{state, std::move(changes)});
  ++attachmentState_;
  return S_OK;
}

STDMETHODIMP Message::DeleteAttach(ULONG number, UlongPtr, LPMAPIPROGRESS, ULONG) {
  return locked([&] {
    if (!writable_) return MAPI_E_NO_ACCESS;
    std::vector<ULONG> numbers;
    if (const HRESULT result = attachmentNumbers(numbers); FAILED(result)) return result;
    if (!std::ranges::binary_search(numbers, number)) return MAPI_E_NOT_FOUND;
    nextAttachment_ = std::max(nextAttachment_, numbers.back() + 1);
    const auto known = attachments_.find(number);
    if (known != attachments_.end() && known->second.state == AttachmentState::Added)
      attachments_.erase(known);
    else
      attachments_.insert_or_assign(number, PendingAttachment{AttachmentState::Removed, {}});
    ++attachmentState_;
    return S_OK;
  });
}

STDMETHODIMP Message::GetRecipientTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    *table = nullptr;
    auto source = std::make_unique<MemoryRows>(std::vector(std::begin(recipientColumns), std::end(recipientColumns)),
                                               std::vector<MemoryRows::Row>{});
    auto opened = makeObject<MapiTable>(home(), std::move(source), textForm(flags));
    return handOut(opened, table);
  });
}

// Messages are posted into folders, not sent: they have no recipients.
STDMETHODIMP Message::ModifyRecipients(ULONG, LPADRLIST recipients) {
  return recipients && recipients->cEntries == 0 ? S_OK : MAPI_E_NO_SUPPORT;
}
STDMETHODIMP Message::SubmitMessage(ULONG) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP Message::SetReadFlag(ULONG flags) {
  if (const HRESULT result = checkReadFlags(flags); FAILED(result)) return result;
  return locked([&] {
    if (flags & (GENERATE_RECEIPT_ONLY | CLEAR_RN_PENDING | CLEAR_NRN_PENDING)) return S_OK;  // no receipts
    const bool isRead = (flags & CLEAR_READ_FLAG) == 0;
    if (!isSaved_) {
      readState_ = isRead;
      return S_OK;
    }
    if (!scope_->writable) return MAPI_E_NO_ACCESS;
    const auto status = scope_->engine().setRead(info_.id, isRead, {});
    if (status == store::Status::Ok) info_.isRead = isRead;
    return toResult(status);
  });
}

}  // namespace fendrel::provider
