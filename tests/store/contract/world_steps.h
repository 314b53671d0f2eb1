// Steps by which worlds are made through MAPI.
#pragma once

#include <string>

#include "local_mapi.h"

namespace contract {

// The store "Public Folders" of the session.
ComPtr<IMsgStore> openPublicStore(IMAPISession& session);

// The folder below which people see a store's folders.
ComPtr<IMAPIFolder> openSubtree(IMsgStore& store);

// Made, or opened where it is there.
ComPtr<IMAPIFolder> createFolder(IMAPIFolder& parent, const std::wstring& name);

// A session of the profile "Ada".
ComPtr<IMAPISession> logOnToFill(const wchar_t* password);

}  // namespace contract
