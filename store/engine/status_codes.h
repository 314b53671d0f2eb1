// Converts the engine's statuses to MAPI's codes, for MAPI32.DLL and fendrel.exe. Engines do not use MAPI.
#pragma once

#include <windows.h>

#include <mapicode.h>

#include "status.h"

namespace fendrel::store {

constexpr HRESULT toResult(Status status) noexcept {
  switch (status) {
    case Status::Ok: return S_OK;
    case Status::NotFound: return MAPI_E_NOT_FOUND;
    case Status::AlreadyExists: return MAPI_E_COLLISION;
    case Status::HasFolders: return MAPI_E_HAS_FOLDERS;
    case Status::HasMessages: return MAPI_E_HAS_MESSAGES;
    case Status::Changed: return MAPI_E_OBJECT_CHANGED;
    case Status::NoAccess: return MAPI_E_NO_ACCESS;
    case Status::NotEnoughDisk: return MAPI_E_NOT_ENOUGH_DISK;
    case Status::Busy: return MAPI_E_TIMEOUT;
    case Status::Corrupt: return MAPI_E_CORRUPT_DATA;
    case Status::NewerVersion: return MAPI_E_VERSION;
    case Status::OnNetwork: return MAPI_E_NETWORK_ERROR;
    case Status::LogonFailed: return MAPI_E_LOGON_FAILED;
    case Status::Unreachable: return MAPI_E_NETWORK_ERROR;
    case Status::TooLarge: return MAPI_E_TOO_BIG;
    case Status::NotSupported: return MAPI_E_NO_SUPPORT;
    case Status::Cancelled: return MAPI_E_USER_CANCEL;
    case Status::Invalid: return MAPI_E_INVALID_PARAMETER;
    case Status::Failed: return MAPI_E_CALL_FAILED;
  }
  return MAPI_E_CALL_FAILED;
}

}  // namespace fendrel::store
