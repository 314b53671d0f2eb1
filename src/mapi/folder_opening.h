// Opens the folders of a message store.
#pragma once

#include "mapi_row.h"

namespace fendrel {

// Opens the folder `entryId` of the store. MAPI_E_NOT_FOUND for another object type (if the call sets one), for a null
// object and for an empty identifier.
HRESULT openFolderEntry(IMsgStore* store, BinaryView entryId, LPCIID interfaceId, ULONG flags,
                        ComPtr<IMAPIFolder>& folder) noexcept;

// Opens the root of the folders that a user sees.
HRESULT OpenIpmSubtree(IMsgStore* store, ComPtr<IMAPIFolder>& folder) noexcept;

}  // namespace fendrel
