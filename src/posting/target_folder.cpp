#include "target_folder.h"

#include <vector>

#include "folder_opening.h"
#include "folder_path.h"
#include "mapi_row.h"
#include "mapi_table.h"
#include "text_conversion.h"

namespace fendrel {
namespace {

using EntryId = std::vector<std::byte>;

EntryId copyOf(BinaryView bytes) { return {bytes.begin(), bytes.end()}; }

HRESULT findDefaultStore(IMAPISession* session, EntryId& entryId) {
  enum { id, isDefault };
  static constexpr auto columns = propertyTags(PR_ENTRYID, PR_DEFAULT_STORE);
  CMAPITable stores;
  if (!stores.OpenMsgStoresTable(session) || !stores.Prepare(columns.array())) return stores.lastResult;
  while (const SRow* const row = stores.NextRow()) {
    const SPropValue* const value = valueAt(*row, isDefault, PR_DEFAULT_STORE);
    if (!value || !value->Value.b) continue;
    entryId = copyOf(binaryAt(*row, id, PR_ENTRYID));
    return S_OK;
  }
  return FAILED(stores.lastResult) ? stores.lastResult : MAPI_E_NOT_FOUND;
}

// Names are in the code page, with '?' for every character that it lacks: two folders may have the same name.
bool mayStandForOthers(const std::wstring& displayName) noexcept { return displayName.find(L'?') != displayName.npos; }

// Searches an open table for the row that the path's next component names, and steps the path past it. The first exact
// match ends the search, unless another row may have the same name.
HRESULT findNamedRow(CMAPITable& table, FolderPath<wchar_t>& path, EntryId& entryId) {
  enum { name, id };
  static constexpr auto columns = propertyTags(PR_DISPLAY_NAME_A, PR_ENTRYID);
  if (!table.Prepare(columns.array())) return table.lastResult;
  enum class Match { none, address, exact } match = Match::none;
  std::wstring matched;
  bool several = false;
  while (const SRow* const row = table.NextRow()) {
    const auto displayName = wideFromAnsi(textAt(*row, name, PR_DISPLAY_NAME_A));
    if (!displayName) continue;
    if (match != Match::none && *displayName == matched) {
      several = true;
      continue;
    }
    if (path.matchesExactly(*displayName))
      match = Match::exact;
    else if (match != Match::exact && displayName->size() > matched.size() && path.matchesAddress(*displayName))
      match = Match::address;
    else
      continue;
    matched = *displayName;
    several = false;
    entryId = copyOf(binaryAt(*row, id, PR_ENTRYID));
    if (match == Match::exact && !mayStandForOthers(matched)) break;
  }
  if (FAILED(table.lastResult)) return table.lastResult;
  if (match == Match::none || (several && mayStandForOthers(matched))) return MAPI_E_NOT_FOUND;
  path.advance(matched.size());
  return S_OK;
}

HRESULT openNamedStore(IMAPISession* session, FolderPath<wchar_t>& path, bool silent, ComPtr<IMsgStore>& store) {
  EntryId entryId;
  {
    CMAPITable stores;
    if (!stores.OpenMsgStoresTable(session)) return stores.lastResult;
    if (const HRESULT result = findNamedRow(stores, path, entryId); FAILED(result)) return result;
  }
  const ULONG flags = silent ? MDB_WRITE | MDB_NO_DIALOG : MDB_WRITE;
  const HRESULT result = session->OpenMsgStore(reinterpret_cast<ULONG_PTR>(GetActiveWindow()), sizeArgument(entryId),
                                               entryIdArgument(entryId), &IID_IMsgStore, flags, &store);
  return checkReceived(result, store);
}

// Replaces the target's folder by the child that the path names next.
HRESULT openNamedChild(TargetFolder& target, FolderPath<wchar_t>& path) {
  EntryId entryId;
  {
    CMAPITable children;
    if (!children.OpenHierarchyTable(target.folder.Get())) return children.lastResult;
    if (const HRESULT result = findNamedRow(children, path, entryId); FAILED(result)) return result;
  }
  target.folder.Reset();
  const ULONG access = path.atEnd() ? MAPI_MODIFY : MAPI_BEST_ACCESS;
  return openFolderEntry(target.store.Get(), entryId, &IID_IMAPIFolder, access, target.folder);
}

}  // namespace

HRESULT openCommonViews(IMAPISession* session, TargetFolder& target) {
  EntryId storeId;
  if (const HRESULT result = findDefaultStore(session, storeId); FAILED(result)) return result;
  ComPtr<IMsgStore> store;
  if (FAILED(session->OpenMsgStore(0, sizeArgument(storeId), entryIdArgument(storeId), nullptr, MDB_WRITE, &store)) ||
      !store)
    return MAPI_E_NOT_FOUND;

  enum { mask, commonViews };
  static constexpr auto tags = propertyTags(PR_VALID_FOLDER_MASK, PR_COMMON_VIEWS_ENTRYID);
  ObjectProperties storeProperties;
  if (const HRESULT result = storeProperties.read(store.Get(), tags.argument()); FAILED(result)) return result;
  const SRow& properties = storeProperties.row();
  const SPropValue* const validFolders = valueAt(properties, mask, PR_VALID_FOLDER_MASK);
  if (!validFolders || !valueAt(properties, commonViews, PR_COMMON_VIEWS_ENTRYID)) return MAPI_E_CALL_FAILED;
  if ((validFolders->Value.l & FOLDER_COMMON_VIEWS_VALID) == 0) return S_OK;
  return openFolderEntry(store.Get(), binaryAt(properties, commonViews, PR_COMMON_VIEWS_ENTRYID), nullptr,
                         MAPI_BEST_ACCESS, target.folder);
}

HRESULT openFolderByPath(IMAPISession* session, const std::wstring& path, bool silent, TargetFolder& target) {
  FolderPath<wchar_t> rest(path);
  if (rest.atEnd()) return MAPI_E_CALL_FAILED;
  HRESULT result = openNamedStore(session, rest, silent, target.store);
  if (SUCCEEDED(result)) result = OpenIpmSubtree(target.store.Get(), target.folder);
  while (SUCCEEDED(result) && !rest.atEnd()) result = openNamedChild(target, rest);
  if (FAILED(result)) target.folder.Reset();
  return result;
}

}  // namespace fendrel
