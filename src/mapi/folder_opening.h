// Opens the folders of a message store.
#pragma once

#include "mapi_row.h"

namespace fendrel {

// Opens the folder `entryId` of the store. Where the call tells the object's type it must be a folder: MAPI_E_NOT_FOUND
// otherwise, for a null object and for an empty identifier.
HRESULT openFolderEntry(IMsgStore* store, BinaryView entryId, LPCIID interfaceId, ULONG flags,
                        ComPtr<IMAPIFolder>& folder) noexcept;

// Opens the top of the folders that a user sees.
HRESULT OpenIpmSubtree(IMsgStore* store, ComPtr<IMAPIFolder>& folder) noexcept;

}  // namespace fendrel
