// Steps that make worlds through MAPI.
#pragma once

#include <string>

#include "local_mapi.h"

namespace contract {

// The store "Public Folders" of the session.
ComPtr<IMsgStore> openPublicStore(IMAPISession& session);

// The root of the folders that users see.
ComPtr<IMAPIFolder> openSubtree(IMsgStore& store);

// Creates or opens a folder.
ComPtr<IMAPIFolder> createFolder(IMAPIFolder& parent, const std::wstring& name);

// A session of the profile "Ada".
ComPtr<IMAPISession> logOnToFill(const wchar_t* password);

}  // namespace contract
