#include "folder.h"

#include "entry_opener.h"
#include "folder_rows.h"
#include "host_stream.h"
#include "mapi_table.h"
#include "message.h"
#include "message_rows.h"
#include "object_reading.h"
#include "status_codes.h"

namespace fendrel::provider {

using store::Status;

namespace {

constexpr ULONG objectsOfFolders[] = {PR_CONTAINER_HIERARCHY, PR_CONTAINER_CONTENTS, PR_FOLDER_ASSOCIATED_CONTENTS};

HRESULT folderOf(void* target, ComPtr<IMAPIFolder>& folder) {
  auto* unknown = static_cast<IUnknown*>(target);
  const bool isFolder =
      SUCCEEDED(unknown->QueryInterface(IID_IMAPIFolder, reinterpret_cast<void**>(folder.GetAddressOf())));
  return isFolder ? S_OK : MAPI_E_INTERFACE_NOT_SUPPORTED;
}

// The folder as our class; null for another provider's.
ComPtr<Folder> ownFolder(IMAPIFolder& folder) {
  ComPtr<IMAPIFolder> own;
  if (FAILED(folder.QueryInterface(ownFolderId(), reinterpret_cast<void**>(own.GetAddressOf())))) return {};
  return static_cast<Folder*>(own.Get());
}

}  // namespace

// Different in each loaded copy of the library, so that none treats another's objects as its own.
const IID& ownFolderId() noexcept {
  static const IID id = [] {
    IID made{};
    return SUCCEEDED(CoCreateGuid(&made)) ? made : IID_NULL;
  }();
  return id;
}

std::span<const ULONG> Folder::objectTags() const { return objectsOfFolders; }

HRESULT Folder::readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) {
  store::FolderInfo info;
  if (const auto status = scope_->engine().findFolder(id_, info); status != Status::Ok) return toResult(status);
  std::vector<PropertyTag> stored;
  for (const PropertyTag tag : tags) {
    if (!isComputedFolderTag(tag)) stored.push_back(tag);
  }
  std::vector<Property> present;
  if (!stored.empty()) {
    const auto status = scope_->engine().readFolderProperties(id_, stored, present);
    if (status != Status::Ok) return toResult(status);
  }
  for (const PropertyTag tag : tags) {
    found.push_back(isComputedFolderTag(tag) ? computedFolderProperty(*scope_, info, tag, writable_)
                                             : storedFolderProperty(info, tag, findProperty(present, tag)));
  }
  return S_OK;
}

HRESULT Folder::readAllProperties(std::vector<Property>& found) {
  store::FolderInfo info;
  if (const auto status = scope_->engine().findFolder(id_, info); status != Status::Ok) return toResult(status);
  const auto status = scope_->engine().readFolderProperties(id_, {}, found);
  if (status != Status::Ok) return toResult(status);
  if (findProperty(found, PR_CONTAINER_CLASS_W).tag == 0) {
    Property standIn = storedFolderProperty(info, PR_CONTAINER_CLASS_W, {});
    if (standIn.tag != 0) found.push_back(std::move(standIn));
  }
  for (const PropertyTag tag : computedFolderTags()) {
    found.push_back(computedFolderProperty(*scope_, info, tag, writable_));
  }
  return S_OK;
}

HRESULT Folder::checkProperty(PropertyTag tag) const {
  if (PROP_ID(tag) == PROP_ID(PR_DISPLAY_NAME_W)) return S_OK;
  return isComputedFolderTag(tag) ? MAPI_E_COMPUTED : S_OK;
}

HRESULT Folder::changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) {
  std::vector<Property> stored;
  for (const Property& property : set) {
    if (PROP_ID(property.tag) != PROP_ID(PR_DISPLAY_NAME_W)) {
      stored.push_back(property);
      continue;
    }
    const auto* name = textOf(property);
    if (!name || name->empty()) return MAPI_E_INVALID_PARAMETER;
    const auto status = scope_->engine().renameFolder(id_, *name);
    if (status != Status::Ok) return toResult(status);
  }
  for (const PropertyTag tag : remove) {
    // A folder always has a name.
    if (PROP_ID(tag) == PROP_ID(PR_DISPLAY_NAME_W)) return MAPI_E_NO_ACCESS;
  }
  if (stored.empty() && remove.empty()) return S_OK;
  return toResult(scope_->engine().changeFolderProperties(id_, stored, remove));
}

HRESULT Folder::openProperty(ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object) {
  if (PROP_TYPE(tag) == PT_OBJECT && answersTo<IMAPITable>(iid)) {
    if (tag == PR_CONTAINER_HIERARCHY) return GetHierarchyTable(options, reinterpret_cast<LPMAPITABLE*>(object));
    if (tag == PR_CONTAINER_CONTENTS) return GetContentsTable(options, reinterpret_cast<LPMAPITABLE*>(object));
    if (tag == PR_FOLDER_ASSOCIATED_CONTENTS) {
      return GetContentsTable(options | MAPI_ASSOCIATED, reinterpret_cast<LPMAPITABLE*>(object));
    }
  }
  return openHostStream(*this, this, mutex(), tag, iid, options, flags, object);
}

STDMETHODIMP Folder::GetContentsTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    *table = nullptr;
    const auto kind = flags & MAPI_ASSOCIATED ? store::MessageKind::Associated : store::MessageKind::Ordinary;
    auto opened = makeObject<MapiTable>(home(), std::make_unique<MessageRows>(scope_, id_, kind), textForm(flags));
    return handOut(opened, table);
  });
}

STDMETHODIMP Folder::GetHierarchyTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    *table = nullptr;
    const auto depth = flags & CONVENIENT_DEPTH ? store::Depth::AllBelow : store::Depth::Children;
    auto opened = makeObject<MapiTable>(home(), std::make_unique<FolderRows>(scope_, id_, depth), textForm(flags));
    return handOut(opened, table);
  });
}

STDMETHODIMP Folder::OpenEntry(ULONG size, LPENTRYID entryId, LPCIID iid, ULONG flags, ULONG* objectType,
                               LPUNKNOWN* object) {
  return locked([&] { return openEntryOfStore(scope_, size, entryId, iid, flags, objectType, object); });
}

STDMETHODIMP Folder::SetSearchCriteria(LPSRestriction, LPENTRYLIST, ULONG) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP Folder::GetSearchCriteria(ULONG, LPSRestriction*, LPENTRYLIST*, ULONG*) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP Folder::CreateMessage(LPCIID iid, ULONG flags, LPMESSAGE* message) {
  if (!message) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    *message = nullptr;
    if (!accepts<IMessage>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    if (!writable_) return MAPI_E_NO_ACCESS;
    if (const auto status = scope_->engine().checkFolder(id_); status != Status::Ok) return toResult(status);
    const auto kind = flags & MAPI_ASSOCIATED ? store::MessageKind::Associated : store::MessageKind::Ordinary;
    auto created = makeObject<Message>(scope_, id_, kind);
    return handOut(created, message);
  });
}

// The target may belong to another session: it is called only while our session is not locked.
STDMETHODIMP Folder::CopyMessages(LPENTRYLIST messages, LPCIID, LPVOID target, UlongPtr, LPMAPIPROGRESS, ULONG flags) {
  if (!messages || !target) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    const bool move = (flags & MESSAGE_MOVE) != 0;
    ComPtr<IMAPIFolder> into;
    if (const HRESULT result = folderOf(target, into); FAILED(result)) return result;
    if ((move && !writable_) || !mayBeChanged(*into.Get())) return MAPI_E_NO_ACCESS;
    MessageList list;
    if (const HRESULT result = messagesOf(messages, list); FAILED(result)) return result;
    const auto own = ownFolder(*into.Get());
    const bool isNear = own && isOfSameStores(*own.Get());
    return isNear ? locked([&] { return copyWithin(list, own->id_, move); }) : copyAcross(list, *into.Get(), move);
  });
}

bool Folder::isOfSameStores(const Folder& other) const {
  return scope_->engine().place() == other.scope_->engine().place();
}

HRESULT Folder::copyWithin(const MessageList& list, const store::Id& target, bool move) {
  if (const auto status = scope_->engine().checkFolder(target); status != Status::Ok) return toResult(status);
  bool partly = list.isPart;
  for (const store::Id& message : list.ids) {
    const auto status =
        move ? scope_->engine().moveMessage(message, target, id_) : scope_->engine().copyMessage(message, target, id_);
    if (status == Status::NotFound)
      partly = true;
    else if (status != Status::Ok)
      return toResult(status);
  }
  return partly ? MAPI_W_PARTIAL_COMPLETION : S_OK;
}

HRESULT Folder::copyAcross(const MessageList& list, IMAPIFolder& target, bool move) {
  bool partly = list.isPart;
  for (const store::Id& id : list.ids) {
    store::MessageInfo info;
    const auto status = scope_->engine().findMessage(id, info);
    if (status == Status::NotFound || (status == Status::Ok && info.folder != id_)) {
      partly = true;
      continue;
    }
    if (status != Status::Ok) return toResult(status);
    const auto message = makeObject<Message>(scope_, info, false);
    const HRESULT result = copyMessageInto(*message.Get(), info.kind == store::MessageKind::Associated, target);
    if (FAILED(result)) return result;
    // A message that was not copied completely is not deleted.
    if (result != S_OK)
      partly = true;
    else if (move && scope_->engine().deleteMessages(std::span(&id, 1), id_, nullptr) != Status::Ok)
      partly = true;
  }
  return partly ? MAPI_W_PARTIAL_COMPLETION : S_OK;
}

HRESULT Folder::messagesOf(const ENTRYLIST* list, MessageList& messages) const {
  if (!list) return allMessages(store::MessageKind::Ordinary, messages.ids);
  if (list->cValues && !list->lpbin) return MAPI_E_INVALID_PARAMETER;
  for (ULONG i = 0; i < list->cValues; ++i) {
    const auto id = decode(list->lpbin[i].cb, list->lpbin[i].lpb);
    if (!id || id->type != MAPI_MESSAGE) return MAPI_E_INVALID_ENTRYID;
    if (id->store == scope_->store.id)
      messages.ids.push_back(id->object);
    else
      messages.isPart = true;
  }
  return S_OK;
}

HRESULT Folder::allMessages(store::MessageKind kind, std::vector<store::Id>& messages) const {
  std::vector<store::Id> found;
  const auto status = scope_->engine().listMessages(id_, kind, found);
  messages.insert(messages.end(), found.begin(), found.end());
  return toResult(status);
}

STDMETHODIMP Folder::DeleteMessages(LPENTRYLIST messages, UlongPtr, LPMAPIPROGRESS, ULONG) {
  if (!messages) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    if (!writable_) return MAPI_E_NO_ACCESS;
    MessageList list;
    if (const HRESULT result = messagesOf(messages, list); FAILED(result)) return result;
    std::size_t deleted = 0;
    const auto status = scope_->engine().deleteMessages(list.ids, id_, &deleted);
    if (status != Status::Ok) return toResult(status);
    return list.isPart || deleted < list.ids.size() ? MAPI_W_PARTIAL_COMPLETION : S_OK;
  });
}

STDMETHODIMP Folder::CreateFolder(ULONG type, LPTSTR name, LPTSTR comment, LPCIID iid, ULONG flags,
                                  LPMAPIFOLDER* folder) {
  if (!folder || !name) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    *folder = nullptr;
    if (type == FOLDER_SEARCH) return MAPI_E_NO_SUPPORT;
    if (type != FOLDER_GENERIC) return MAPI_E_INVALID_PARAMETER;
    if (!accepts<IMAPIFolder>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    if (!writable_) return MAPI_E_NO_ACCESS;
    const std::u16string wanted = textArgument(name, flags);
    if (wanted.empty()) return MAPI_E_INVALID_PARAMETER;
    std::vector<Property> properties = {makeProperty(PR_CONTAINER_CLASS_W, std::u16string(noteFolderClass))};
    if (comment) properties.push_back(makeProperty(PR_COMMENT_W, textArgument(comment, flags)));
    store::FolderInfo info;
    const auto ifExists = flags & OPEN_IF_EXISTS ? store::IfExists::Open : store::IfExists::Refuse;
    const auto status = scope_->engine().createFolder(id_, wanted, properties, ifExists, info);
    if (status != Status::Ok) return toResult(status);
    auto created = makeObject<Folder>(scope_, info.id, true);
    return handOut(created, folder);
  });
}

STDMETHODIMP Folder::CopyFolder(ULONG size, LPENTRYID entryId, LPCIID, LPVOID target, LPTSTR newName, UlongPtr,
                                LPMAPIPROGRESS, ULONG flags) {
  if (!target) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    const bool move = (flags & FOLDER_MOVE) != 0, withFolders = move || (flags & COPY_SUBFOLDERS) != 0;
    ComPtr<IMAPIFolder> into;
    if (const HRESULT result = folderOf(target, into); FAILED(result)) return result;
    if ((move && !writable_) || !mayBeChanged(*into.Get())) return MAPI_E_NO_ACCESS;
    store::FolderInfo child;
    if (const HRESULT result = childOf(size, entryId, child); FAILED(result)) return result;
    if (move && child.isStandard) return MAPI_E_NO_ACCESS;
    const std::u16string name = newName ? textArgument(newName, flags) : child.name;
    if (const auto own = ownFolder(*into.Get()); own && isOfSameStores(*own.Get())) {
      if (const HRESULT result = withFolders ? checkCycle(child.id, own->id_) : S_OK; FAILED(result)) return result;
      if (move && own->scope_->store.id == scope_->store.id) {
        return toResult(scope_->engine().moveFolder(child.id, own->id_, name));
      }
    }
    return transferFolder(child, *into.Get(), name, withFolders, move);
  });
}

HRESULT Folder::childOf(ULONG size, const void* entryId, store::FolderInfo& child) const {
  const auto id = decode(size, entryId);
  if (!id || id->type != MAPI_FOLDER || id->store != scope_->store.id) return MAPI_E_INVALID_ENTRYID;
  if (const auto status = scope_->engine().findFolder(id->object, child); status != Status::Ok) {
    return toResult(status);
  }
  return child.parent == id_ ? S_OK : MAPI_E_NOT_FOUND;
}

// MAPI_E_FOLDER_CYCLE if `place` is the folder or one of its subfolders.
HRESULT Folder::checkCycle(const store::Id& folder, const store::Id& place) const {
  for (store::Id at = place; !at.empty();) {
    if (at == folder) return MAPI_E_FOLDER_CYCLE;
    store::FolderInfo info;
    if (const auto status = scope_->engine().findFolder(at, info); status != Status::Ok) {
      return toResult(status);
    }
    at = info.parent;
  }
  return S_OK;
}

HRESULT Folder::transferFolder(const store::FolderInfo& child, IMAPIFolder& target, std::u16string name,
                               bool withFolders, bool move) {
  const auto from = makeObject<Folder>(scope_, child.id, move);
  ComPtr<IMAPIFolder> made;
  HRESULT result = target.CreateFolder(FOLDER_GENERIC, reinterpret_cast<LPTSTR>(name.data()), nullptr, nullptr,
                                       MAPI_UNICODE, made.GetAddressOf());
  if (SUCCEEDED(result)) result = copyFolderInto(*from.Get(), *made.Get(), withFolders, move);
  if (result != S_OK || !move) return result;
  // If something was added meanwhile, it stays, and the folder too.
  const auto status = scope_->engine().deleteFolder(child.id, {false, false, id_});
  return status == Status::Ok ? S_OK : MAPI_W_PARTIAL_COMPLETION;
}

STDMETHODIMP Folder::DeleteFolder(ULONG size, LPENTRYID entryId, UlongPtr, LPMAPIPROGRESS, ULONG flags) {
  return locked([&] {
    store::FolderInfo child;
    const HRESULT found = childOf(size, entryId, child);
    if (found == MAPI_E_INVALID_ENTRYID) return found;
    if (!writable_) return MAPI_E_NO_ACCESS;
    if (FAILED(found)) return found;
    const store::DeleteFolderOptions options{(flags & DEL_FOLDERS) != 0, (flags & DEL_MESSAGES) != 0, id_};
    return toResult(scope_->engine().deleteFolder(child.id, options));
  });
}

STDMETHODIMP Folder::SetReadFlags(LPENTRYLIST messages, UlongPtr, LPMAPIPROGRESS, ULONG flags) {
  if (const HRESULT result = checkReadFlags(flags); FAILED(result)) return result;
  return locked([&] {
    MessageList list;
    if (const HRESULT result = messagesOf(messages, list); FAILED(result)) return result;
    if (!scope_->writable) return MAPI_E_NO_ACCESS;
    if (flags & (GENERATE_RECEIPT_ONLY | CLEAR_RN_PENDING | CLEAR_NRN_PENDING)) return S_OK;  // no receipts
    bool partly = list.isPart;
    for (const store::Id& message : list.ids) {
      const auto status = scope_->engine().setRead(message, (flags & CLEAR_READ_FLAG) == 0, id_);
      if (status == Status::NotFound)
        partly = true;
      else if (status != Status::Ok)
        return toResult(status);
    }
    return partly ? MAPI_W_PARTIAL_COMPLETION : S_OK;
  });
}

HRESULT Folder::messageOf(ULONG size, const void* entryId, store::Id& message) const {
  const auto id = decode(size, entryId);
  if (!id || id->type != MAPI_MESSAGE || id->store != scope_->store.id) return MAPI_E_INVALID_ENTRYID;
  message = id->object;
  return S_OK;
}

STDMETHODIMP Folder::GetMessageStatus(ULONG size, LPENTRYID entryId, ULONG, ULONG* status) {
  if (!status) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    store::Id message;
    if (const HRESULT result = messageOf(size, entryId, message); FAILED(result)) return result;
    HRESULT result = MAPI_E_NOT_FOUND;
    const auto take = [&](store::MessageRow&& row) {
      *status = row.message.status;
      result = S_OK;
      return false;
    };
    const auto read = scope_->engine().readMessageRowsOf(id_, std::span(&message, 1), {}, take);
    return read == Status::Ok ? result : toResult(read);
  });
}

STDMETHODIMP Folder::SetMessageStatus(ULONG size, LPENTRYID entryId, ULONG status, ULONG mask, ULONG* oldStatus) {
  return locked([&] {
    store::Id message;
    if (const HRESULT result = messageOf(size, entryId, message); FAILED(result)) return result;
    if (!scope_->writable) return MAPI_E_NO_ACCESS;
    std::uint32_t before = 0;
    const auto set = scope_->engine().setStatus(message, status, mask, before, id_);
    if (set == Status::Ok && oldStatus) *oldStatus = before;
    return toResult(set);
  });
}

STDMETHODIMP Folder::SaveContentsSort(LPSSortOrderSet, ULONG) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP Folder::EmptyFolder(UlongPtr, LPMAPIPROGRESS, ULONG flags) {
  return locked([&] {
    if (!writable_) return MAPI_E_NO_ACCESS;
    std::vector<store::Id> folders, messages;
    const auto collect = [&](store::FolderRow&& row) {
      folders.push_back(row.folder.id);
      return true;
    };
    const auto status = scope_->engine().readFolderRows(id_, store::Depth::Children, {}, collect);
    if (status != Status::Ok) return toResult(status);
    if (const HRESULT result = allMessages(store::MessageKind::Ordinary, messages); FAILED(result)) return result;
    if (flags & DEL_ASSOCIATED) {
      if (const HRESULT result = allMessages(store::MessageKind::Associated, messages); FAILED(result)) return result;
    }
    const auto deleted = scope_->engine().deleteMessages(messages, id_, nullptr);
    if (deleted != Status::Ok) return toResult(deleted);
    for (const store::Id& folder : folders) {
      const auto gone = scope_->engine().deleteFolder(folder, {true, true, id_});
      if (gone != Status::Ok && gone != Status::NotFound) return toResult(gone);
    }
    return S_OK;
  });
}

}  // namespace fendrel::provider
