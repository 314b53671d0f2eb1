// Finds and opens the folder that an export posts into.
#pragma once

#include <string>

#include "mapi_memory.h"

namespace fendrel {

// An open folder and its store; the folder is released first.
struct TargetFolder {
  ComPtr<IMsgStore> store;
  ComPtr<IMAPIFolder> folder;
};

// Opens the Common Views folder of the session's default store. MAPI_E_NOT_FOUND without a default store or if it does
// not open, MAPI_E_CALL_FAILED if the store does not name its Common Views folder. A store whose mask says that it has
// none gives S_OK and no folder: the first post then fails.
HRESULT openCommonViews(IMAPISession* session, TargetFolder& target);

// Opens the folder that `path` names, display names joined by '@', from the message store on. Names are compared
// exactly, in the code page: a name with '?' that two rows of a table share is not found, because '?' replaces
// characters that the code page lacks. MAPI_E_CALL_FAILED for an empty path, MAPI_E_NOT_FOUND for an unknown name, or
// the code of the failed call; `target` may then hold the store, but no folder.
HRESULT openFolderByPath(IMAPISession* session, const std::wstring& path, bool silent, TargetFolder& target);

}  // namespace fendrel
