#include "folder_opening.h"

namespace fendrel {

HRESULT openFolderEntry(IMsgStore* store, BinaryView entryId, LPCIID interfaceId, ULONG flags,
                        ComPtr<IMAPIFolder>& folder) noexcept {
  if (entryId.empty()) return MAPI_E_NOT_FOUND;  // it would open the store's root
  // A call may not set the type; if it does, it must be a folder, because the result is used as one.
  ULONG objectType = MAPI_FOLDER;
  ComPtr<IUnknown> object;
  const HRESULT result =
      store->OpenEntry(sizeArgument(entryId), entryIdArgument(entryId), interfaceId, flags, &objectType, &object);
  if (FAILED(result)) return result;
  if (!object || objectType != MAPI_FOLDER) return MAPI_E_NOT_FOUND;
  adopt(folder, object);
  return S_OK;
}

HRESULT OpenIpmSubtree(IMsgStore* store, ComPtr<IMAPIFolder>& folder) noexcept {
  MapiBuffer<SPropValue> entryId;
  const HRESULT result = mapi().hrGetOneProp(store, PR_IPM_SUBTREE_ENTRYID, receive(entryId));
  if (FAILED(result)) return result;
  if (!entryId || entryId->ulPropTag != PR_IPM_SUBTREE_ENTRYID) return MAPI_E_NOT_FOUND;
  return openFolderEntry(store, binaryOf(*entryId), nullptr, MAPI_BEST_ACCESS, folder);
}

}  // namespace fendrel
