#include "status.h"

#include <sqlite3.h>
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
    case Status::Invalid: return "Invalid";
    case Status::Failed: return "Failed";
  }
  return "?";
}

Status statusOfSqlite(int code) {
  switch (code) {
    case SQLITE_IOERR_NOMEM: throw std::bad_alloc();
    case SQLITE_CONSTRAINT_UNIQUE:
    case SQLITE_CONSTRAINT_PRIMARYKEY: return Status::AlreadyExists;
    case SQLITE_IOERR_CORRUPTFS: return Status::Corrupt;
    default: break;
  }
  switch (code & 0xFF) {
    case SQLITE_OK: return Status::Ok;
    case SQLITE_NOMEM: throw std::bad_alloc();
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL: return Status::Busy;
    case SQLITE_FULL: return Status::NotEnoughDisk;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB: return Status::Corrupt;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_AUTH:
    case SQLITE_CANTOPEN: return Status::NoAccess;
    case SQLITE_TOOBIG:
    case SQLITE_MISMATCH: return Status::Invalid;
    default: return Status::Failed;
  }
}

Status statusOfWindows(unsigned long code) {
  constexpr unsigned long diskQuotaExceeded = 1295;  // ERROR_DISK_QUOTA_EXCEEDED, not in every header
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
