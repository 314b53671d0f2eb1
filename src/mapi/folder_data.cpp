#include "folder_data.h"

#include <algorithm>
#include <new>
#include <vector>

#include "folder_opening.h"
#include "wait_cursor.h"

namespace fendrel {
namespace {

enum { id, name, subfolders, contentCount };
constexpr auto columns = propertyTags(PR_ENTRYID, PR_DISPLAY_NAME_A, PR_SUBFOLDERS, PR_CONTENT_COUNT);

// The identifier in a row of folders: any binary property in its column.
BinaryView binaryColumn(const SRow& row, ULONG column) noexcept {
  const auto values = columnsOf(row);
  if (column >= values.size() || PROP_TYPE(values[column].ulPropTag) != PT_BINARY) return {};
  return binaryOf(values[column]);
}

// A folder whose row does not say is assumed to have subfolders: expanding it shows whether it does.
bool mayHaveSubfolders(const SRow& row) noexcept {
  const SPropValue* const value = valueAt(row, subfolders, PR_SUBFOLDERS);
  return !value || value->Value.b;
}

}  // namespace

FOLDERDATA::FOLDERDATA(IMAPISession* borrowedSession, BinaryView identifier, const wchar_t* nodeName,
                       bool mayHaveSubfolders, bool standsForStore) noexcept
    : CContainerData(borrowedSession, identifier, nodeName, mayHaveSubfolders), isStore(standsForStore) {}

FOLDERDATA::FOLDERDATA(IMAPISession* borrowedSession, const wchar_t* nodeName) noexcept
    : FOLDERDATA(borrowedSession, {}, nodeName, true, false) {}

std::unique_ptr<FOLDERDATA> CreateFolderNode(IMAPISession* session, BinaryView entryId, const wchar_t* displayName,
                                             bool hasSubfolders, bool isStore) noexcept {
  std::unique_ptr<FOLDERDATA> node(new (std::nothrow)
                                       FOLDERDATA(session, entryId, displayName, hasSubfolders, isStore));
  if (!node || !node->valid) return nullptr;
  if (isStore) {
    ULONG objectType = MAPI_STORE;
    ComPtr<IUnknown> object;
    const HRESULT result = session->OpenEntry(sizeArgument(entryId), entryIdArgument(entryId), &IID_IMsgStore,
                                              MAPI_BEST_ACCESS, &objectType, &object);
    if (SUCCEEDED(result) && objectType == MAPI_STORE) adopt(node->store, object);
  }
  return node;
}

bool FOLDERDATA::Expand() noexcept {
  const WaitCursor wait;
  if (expanded) return true;
  expanded = 1;
  if (IsRoot()) {
    readStores();
  } else {
    OpenHierarchyTable();
    ReadChildren();
  }
  hasSubfolders = firstChild != nullptr;
  return true;
}

ComPtr<IMAPIFolder> FOLDERDATA::OpenFolder() noexcept {
  ComPtr<IMAPIFolder> folder;
  if (!store) return folder;
  if (isStore)
    OpenIpmSubtree(store.Get(), folder);
  else
    openFolderEntry(store.Get(), entryIdBytes(), &IID_IMAPIFolder, MAPI_BEST_ACCESS, folder);
  return folder;
}

void FOLDERDATA::OpenHierarchyTable() noexcept {
  if (hasSubfolders && store) hierarchy.OpenHierarchyTable(OpenFolder().Get());
}

void FOLDERDATA::AddChildLabelled(std::unique_ptr<FOLDERDATA> child) noexcept {
  FOLDERDATA* const added = child.release();
  AddChild(added);
  added->setLabel(*this);
  if (!added->isStore) added->store = store;
}

void FOLDERDATA::ReadChildren() noexcept {
  if (!hasSubfolders || !hierarchy.GetRowCount() || hierarchy.rowCount == 0) return;
  addChildrenFrom(hierarchy, [this](const SRow& row) -> Node {
    const BinaryView folderId = binaryColumn(row, id);
    if (folderId.empty()) return nullptr;
    // A name that cannot be converted is shown empty.
    const std::wstring folderName = wideFromAnsi(textAt(row, name, PR_DISPLAY_NAME_A)).value_or(std::wstring());
    return CreateFolderNode(session, folderId, folderName.c_str(), mayHaveSubfolders(row), false);
  });
}

void FOLDERDATA::readStores() noexcept {
  CMAPITable stores;
  if (!stores.OpenMsgStoresTable(session) || !stores.GetRowCount() || stores.rowCount == 0) return;
  addChildrenFrom(stores, [this](const SRow& row) -> Node {
    const BinaryView storeId = binaryAt(row, id, PR_ENTRYID);
    const auto storeName = wideFromAnsi(textAt(row, name, PR_DISPLAY_NAME_A));
    if (storeId.empty() || !storeName) return nullptr;
    return CreateFolderNode(session, storeId, storeName->c_str(), true, true);
  });
}

// AddChild searches for the place from the first sibling on. Adding the children from the last name to the first, equal
// names in the order of their rows, makes each the new head without a search.
template <class MakeNode>
void FOLDERDATA::addChildrenFrom(CMAPITable& table, MakeNode makeNode) noexcept {
  if (!table.Prepare(columns.array())) return;
  std::vector<Node> children;
  try {
    while (const SRow* const row = table.NextRow())
      if (Node child = makeNode(*row)) children.push_back(std::move(child));
  } catch (const std::bad_alloc&) {
    // The listing ends here, as if the table had failed.
  }
  std::ranges::stable_sort(children, [](const Node& left, const Node& right) { return isNameLess(*right, *left); });
  for (Node& child : children) AddChildLabelled(std::move(child));
}

}  // namespace fendrel
