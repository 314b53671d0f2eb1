#include "status.h"

#include <windows.h>

#include <new>

#include "engine_error.h"

namespace fendrel::store {

const char* name(Status status) noexcept {
  switch (status) {
    case Status::Ok: return "Ok";
    case Status::NotFound: return "NotFound";
    case Status::AlreadyExists: return "AlreadyExists";
    case Status::HasFolders: return "HasFolders";
    case Status::HasMessages: return "HasMessages";
    case Status::Changed: return "Changed";
    case Status::NoAccess: return "NoAccess";
    case Status::NotEnoughDisk: return "NotEnoughDisk";
    case Status::Busy: return "Busy";
    case Status::Corrupt: return "Corrupt";
    case Status::NewerVersion: return "NewerVersion";
    case Status::OnNetwork: return "OnNetwork";
    case Status::LogonFailed: return "LogonFailed";
    case Status::Unreachable: return "Unreachable";
    case Status::TooLarge: return "TooLarge";
    case Status::NotSupported: return "NotSupported";
    case Status::Cancelled: return "Cancelled";
    case Status::Invalid: return "Invalid";
    case Status::Failed: return "Failed";
  }
  return "?";
}

Status statusOfWindows(unsigned long code) {
  constexpr unsigned long diskQuotaExceeded = 1295;  // ERROR_DISK_QUOTA_EXCEEDED, missing from some headers
  switch (code) {
    case ERROR_SUCCESS: return Status::Ok;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY: throw std::bad_alloc();
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND: return Status::NotFound;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS: return Status::AlreadyExists;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
    case ERROR_NETWORK_ACCESS_DENIED: return Status::NoAccess;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION: return Status::Busy;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case diskQuotaExceeded:
    case ERROR_FILE_TOO_LARGE: return Status::NotEnoughDisk;
    case ERROR_CRC:
    case ERROR_FILE_CORRUPT:
    case ERROR_DISK_CORRUPT: return Status::Corrupt;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE: return Status::Invalid;
    default: return Status::Failed;
  }
}

}  // namespace fendrel::store
