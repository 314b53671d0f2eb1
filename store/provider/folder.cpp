#include "folder.h"

#include "entry_opener.h"
#include "folder_rows.h"
#include "host_stream.h"
#include "mapi_table.h"
#include "mapi_utility.h"
#include "message.h"
#include "message_rows.h"
#include "status_codes.h"

namespace fendrel::provider {

using store::Status;

HRESULT Folder::readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) {
  store::FolderInfo info;
  if (const auto status = store::findFolder(scope_->database(), id_, info); status != Status::Ok)
    return toResult(status);
  std::vector<PropertyTag> stored;
  for (const PropertyTag tag : tags) {
    if (!isComputedFolderTag(tag)) stored.push_back(tag);
  }
  std::vector<Property> present;
  if (!stored.empty()) {
    const auto status = store::readFolderProperties(scope_->database(), id_, stored, present);
    if (status != Status::Ok) return toResult(status);
  }
  for (const PropertyTag tag : tags) {
    found.push_back(isComputedFolderTag(tag) ? computedFolderProperty(*scope_, info, tag, writable_)
                                             : findProperty(present, tag));
  }
  return S_OK;
}

HRESULT Folder::readAllProperties(std::vector<Property>& found) {
  store::FolderInfo info;
  if (const auto status = store::findFolder(scope_->database(), id_, info); status != Status::Ok)
    return toResult(status);
  const auto status = store::readFolderProperties(scope_->database(), id_, {}, found);
  if (status != Status::Ok) return toResult(status);
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
    const auto status = store::renameFolder(scope_->database(), id_, *name);
    if (status != Status::Ok) return toResult(status);
  }
  for (const PropertyTag tag : remove) {
    // A folder always has a name.
    if (PROP_ID(tag) == PROP_ID(PR_DISPLAY_NAME_W)) return MAPI_E_NO_ACCESS;
  }
  if (stored.empty() && remove.empty()) return S_OK;
  return toResult(store::changeFolderProperties(scope_->database(), id_, stored, remove));
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
    auto opened = makeObject<MapiTable>(mutex(), std::make_unique<MessageRows>(scope_, id_, kind), textForm(flags));
    return handOut(opened, table);
  });
}

STDMETHODIMP Folder::GetHierarchyTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    *table = nullptr;
    const auto depth = flags & CONVENIENT_DEPTH ? store::Depth::AllBelow : store::Depth::Children;
    auto opened = makeObject<MapiTable>(mutex(), std::make_unique<FolderRows>(scope_, id_, depth), textForm(flags));
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
    if (const auto status = store::checkFolder(scope_->database(), id_); status != Status::Ok) return toResult(status);
    const auto kind = flags & MAPI_ASSOCIATED ? store::MessageKind::Associated : store::MessageKind::Ordinary;
    auto created = makeObject<Message>(scope_, id_, kind);
    return handOut(created, message);
  });
}

STDMETHODIMP Folder::CopyMessages(LPENTRYLIST messages, LPCIID, LPVOID target, ULONG, LPMAPIPROGRESS, ULONG flags) {
  if (!messages || !target) return MAPI_E_INVALID_PARAMETER;
  // Asked before our session is locked: the folder may be of another session.
  MapiBuffer<SPropValue> targetId;
  const HRESULT asked = guarded([&]() -> HRESULT {
    ComPtr<IMAPIFolder> folder;
    auto* unknown = static_cast<IUnknown*>(target);
    if (FAILED(unknown->QueryInterface(IID_IMAPIFolder, reinterpret_cast<void**>(folder.GetAddressOf())))) {
      return MAPI_E_INTERFACE_NOT_SUPPORTED;
    }
    return readOne(*folder.Get(), PR_ENTRYID, targetId);
  });
  if (FAILED(asked)) return asked;
  return locked([&] {
    const auto id = decode(targetId->Value.bin.cb, targetId->Value.bin.lpb);
    if (!id) return MAPI_E_NO_SUPPORT;  // another provider's folder
    if ((flags & MESSAGE_MOVE) && !writable_) return MAPI_E_NO_ACCESS;
    std::vector<store::Guid> ids;
    if (const HRESULT result = messagesOf(messages, ids); FAILED(result)) return result;
    bool partly = false;
    for (const store::Guid& message : ids) {
      store::MessageInfo copy;
      const auto status = flags & MESSAGE_MOVE ? store::moveMessage(scope_->database(), message, id->object, id_)
                                               : store::copyMessage(scope_->database(), message, id->object, copy);
      if (status == Status::NotFound) partly = true;
      else if (status != Status::Ok) return toResult(status);
    }
    return partly ? MAPI_W_PARTIAL_COMPLETION : S_OK;
  });
}

HRESULT Folder::messagesOf(const ENTRYLIST* list, std::vector<store::Guid>& messages) const {
  if (!list) return allMessages(store::MessageKind::Ordinary, messages);
  if (list->cValues && !list->lpbin) return MAPI_E_INVALID_PARAMETER;
  for (ULONG i = 0; i < list->cValues; ++i) {
    const auto id = decode(list->lpbin[i].cb, list->lpbin[i].lpb);
    if (!id || id->type != MAPI_MESSAGE || id->store != scope_->store.id) return MAPI_E_INVALID_ENTRYID;
    messages.push_back(id->object);
  }
  return S_OK;
}

HRESULT Folder::allMessages(store::MessageKind kind, std::vector<store::Guid>& messages) const {
  return toResult(store::readMessageRows(scope_->database(), id_, kind, {}, [&](store::MessageRow&& row) {
    messages.push_back(row.message.id);
    return true;
  }));
}

STDMETHODIMP Folder::DeleteMessages(LPENTRYLIST messages, ULONG, LPMAPIPROGRESS, ULONG) {
  if (!messages) return MAPI_E_INVALID_PARAMETER;
  return locked([&] {
    if (!writable_) return MAPI_E_NO_ACCESS;
    std::vector<store::Guid> ids;
    if (const HRESULT result = messagesOf(messages, ids); FAILED(result)) return result;
    std::size_t deleted = 0;
    const auto status = store::deleteMessages(scope_->database(), ids, id_, &deleted);
    if (status != Status::Ok) return toResult(status);
    return deleted < ids.size() ? MAPI_W_PARTIAL_COMPLETION : S_OK;
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
    std::vector<Property> properties;
    if (comment) properties.push_back(makeProperty(PR_COMMENT_W, textArgument(comment, flags)));
    store::FolderInfo info;
    const auto ifExists = flags & OPEN_IF_EXISTS ? store::IfExists::Open : store::IfExists::Refuse;
    const auto status = store::createFolder(scope_->database(), id_, wanted, properties, ifExists, info);
    if (status != Status::Ok) return toResult(status);
    auto created = makeObject<Folder>(scope_, info.id, true);
    return handOut(created, folder);
  });
}

STDMETHODIMP Folder::CopyFolder(ULONG, LPENTRYID, LPCIID, LPVOID, LPTSTR, ULONG, LPMAPIPROGRESS, ULONG) {
  return MAPI_E_NO_SUPPORT;
}

STDMETHODIMP Folder::DeleteFolder(ULONG size, LPENTRYID entryId, ULONG, LPMAPIPROGRESS, ULONG flags) {
  return locked([&] {
    const auto id = decode(size, entryId);
    if (!id || id->type != MAPI_FOLDER || id->store != scope_->store.id) return MAPI_E_INVALID_ENTRYID;
    if (!writable_) return MAPI_E_NO_ACCESS;
    store::FolderInfo info;
    const auto found = store::findFolder(scope_->database(), id->object, info);
    if (found != Status::Ok) return toResult(found);
    if (info.parent != id_) return MAPI_E_NOT_FOUND;
    const store::DeleteFolderOptions options{(flags & DEL_FOLDERS) != 0, (flags & DEL_MESSAGES) != 0};
    return toResult(store::deleteFolder(scope_->database(), id->object, options));
  });
}

STDMETHODIMP Folder::SetReadFlags(LPENTRYLIST messages, ULONG, LPMAPIPROGRESS, ULONG flags) {
  return locked([&] {
    std::vector<store::Guid> ids;
    if (const HRESULT result = messagesOf(messages, ids); FAILED(result)) return result;
    if (!scope_->writable) return MAPI_E_NO_ACCESS;
    if (flags & GENERATE_RECEIPT_ONLY) return S_OK;
    bool partly = false;
    for (const store::Guid& message : ids) {
      const auto status = store::setRead(scope_->database(), message, (flags & CLEAR_READ_FLAG) == 0, id_);
      if (status == Status::NotFound) partly = true;
      else if (status != Status::Ok) return toResult(status);
    }
    return partly ? MAPI_W_PARTIAL_COMPLETION : S_OK;
  });
}

STDMETHODIMP Folder::GetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP Folder::SetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG, ULONG*) { return MAPI_E_NO_SUPPORT; }
STDMETHODIMP Folder::SaveContentsSort(LPSSortOrderSet, ULONG) { return MAPI_E_NO_SUPPORT; }

STDMETHODIMP Folder::EmptyFolder(ULONG, LPMAPIPROGRESS, ULONG flags) {
  return locked([&] {
    if (!writable_) return MAPI_E_NO_ACCESS;
    std::vector<store::Guid> folders, messages;
    const auto collect = [&](store::FolderRow&& row) {
      folders.push_back(row.folder.id);
      return true;
    };
    const auto status = store::readFolderRows(scope_->database(), id_, store::Depth::Children, {}, collect);
    if (status != Status::Ok) return toResult(status);
    if (const HRESULT result = allMessages(store::MessageKind::Ordinary, messages); FAILED(result)) return result;
    if (flags & DEL_ASSOCIATED) {
      if (const HRESULT result = allMessages(store::MessageKind::Associated, messages); FAILED(result)) return result;
    }
    const auto deleted = store::deleteMessages(scope_->database(), messages);
    if (deleted != Status::Ok) return toResult(deleted);
    for (const store::Guid& folder : folders) {
      const auto gone = store::deleteFolder(scope_->database(), folder, {true, true});
      if (gone != Status::Ok && gone != Status::NotFound) return toResult(gone);
    }
    return S_OK;
  });
}

}  // namespace fendrel::provider
