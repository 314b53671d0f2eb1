// Finds and opens the folder that an export posts into.
#pragma once

#include <string>

#include "mapi_memory.h"

namespace fendrel {

// An open folder and the store that holds it; released folder first.
struct TargetFolder {
  ComPtr<IMsgStore> store;
  ComPtr<IMAPIFolder> folder;
};

// Opens the Common Views folder of the session's default store. MAPI_E_NOT_FOUND without a default store or when
// it does not open, MAPI_E_CALL_FAILED when the store does not know its Common Views folder. A store whose
// mask says that it has none gives S_OK and no folder: the first post then fails.
HRESULT openCommonViews(IMAPISession* session, TargetFolder& target);

// Opens the folder that `path` names, display names joined by '@', message store first. Names are compared exactly, in
// the code page: a name with a '?' that two rows of one table have is not found, because a character that the code page
// lacks reads as one. MAPI_E_CALL_FAILED for an empty path, MAPI_E_NOT_FOUND for a name that is not there, or the code of
// the call that failed; the store may then be left in `target`, the folder is not.
HRESULT openFolderByPath(IMAPISession* session, const std::wstring& path, bool silent, TargetFolder& target);

}  // namespace fendrel
