#include "error_words.h"

#include <mapicode.h>
#include <mapidefs.h>

#include <fmt/format.h>

#include <iterator>

#include "failure.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr ErrorWords knownErrors[] = {
    {MAPI_E_NO_ACCESS, "MAPI_E_NO_ACCESS", "no right to do this", "Ask the owner, or choose another place."},
    {MAPI_E_NOT_FOUND, "MAPI_E_NOT_FOUND", "not found", "\"fendrel folders\" shows what there is."},
    {MAPI_E_NO_SUPPORT, "MAPI_E_NO_SUPPORT", "not supported by this message store", "Choose another store."},
    {MAPI_E_NOT_ENOUGH_MEMORY, "MAPI_E_NOT_ENOUGH_MEMORY", "not enough memory", "Close other programs and try again."},
    {MAPI_E_NOT_ENOUGH_DISK, "MAPI_E_NOT_ENOUGH_DISK", "not enough disk space", "Make room and post again."},
    {MAPI_E_INVALID_PARAMETER, "MAPI_E_INVALID_PARAMETER", "a value was refused as invalid", ""},
    {MAPI_E_CALL_FAILED, "MAPI_E_CALL_FAILED", "the call failed", "Try again; if it fails again, check the store."},
    {MAPI_E_CORRUPT_DATA, "MAPI_E_CORRUPT_DATA", "the store is damaged",
     "\"fendrel store check\" reports the damage, and \"fendrel store salvage\" recovers undamaged messages."},
    {MAPI_E_CORRUPT_STORE, "MAPI_E_CORRUPT_STORE", "the store is damaged, or the file is not a store",
     "\"fendrel store check\" reports the damage, and \"fendrel store salvage\" recovers undamaged messages."},
    {MAPI_E_FAILONEPROVIDER, "MAPI_E_FAILONEPROVIDER", "one message store of the profile cannot be used",
     "Check the profile's message stores."},
    {MAPI_E_UNCONFIGURED, "MAPI_E_UNCONFIGURED", "the profile is not set up completely", "Set the profile up."},
    {MAPI_E_LOGON_FAILED, "MAPI_E_LOGON_FAILED", "logon failed: no such profile, or a wrong password",
     "\"fendrel profile list\" shows the profiles; give a password with --password-file."},
    {MAPI_E_PASSWORD_CHANGE_REQUIRED, "MAPI_E_PASSWORD_CHANGE_REQUIRED", "the password must be changed first", ""},
    {MAPI_E_PASSWORD_EXPIRED, "MAPI_E_PASSWORD_EXPIRED", "the password has expired", ""},
    {MAPI_E_USER_CANCEL, "MAPI_E_USER_CANCEL", "cancelled", ""},
    {MAPI_E_CANCEL, "MAPI_E_CANCEL", "cancelled", ""},
    {E_ABORT, "E_ABORT", "cancelled", ""},
    {MAPI_E_COLLISION, "MAPI_E_COLLISION", "the name is in use", "Choose another name."},
    {MAPI_E_HAS_MESSAGES, "MAPI_E_HAS_MESSAGES", "the folder holds messages", ""},
    {MAPI_E_HAS_FOLDERS, "MAPI_E_HAS_FOLDERS", "the folder holds folders", ""},
    {MAPI_E_BUSY, "MAPI_E_BUSY", "the store is busy", "Try again in a moment."},
    {MAPI_E_TIMEOUT, "MAPI_E_TIMEOUT", "the store did not answer in time", "Try again in a moment."},
    {MAPI_E_DISK_ERROR, "MAPI_E_DISK_ERROR", "the disk reported an error", "Check the disk that holds the store."},
    {MAPI_E_NETWORK_ERROR, "MAPI_E_NETWORK_ERROR", "the server cannot be reached, or the store lies on a network drive",
     "Check the network; keep fendrel's own store on a local disk, or set FENDREL_ALLOW_NETWORK_STORE=1 if only one "
     "machine uses it."},
    {MAPI_E_OBJECT_CHANGED, "MAPI_E_OBJECT_CHANGED", "another program changed it meanwhile", "Try again."},
    {MAPI_E_OBJECT_DELETED, "MAPI_E_OBJECT_DELETED", "another program deleted it meanwhile", ""},
    {MAPI_E_INVALID_ENTRYID, "MAPI_E_INVALID_ENTRYID", "the entry no longer exists", "List the entries again."},
    {MAPI_E_UNKNOWN_ENTRYID, "MAPI_E_UNKNOWN_ENTRYID", "the entry is unknown", "List the entries again."},
    {MAPI_E_TOO_BIG, "MAPI_E_TOO_BIG", "too big",
     "Make the report smaller, or ask the store's administrator for a higher limit."},
    {MAPI_E_TOO_COMPLEX, "MAPI_E_TOO_COMPLEX", "too complex for this message store", ""},
    {MAPI_E_BAD_CHARWIDTH, "MAPI_E_BAD_CHARWIDTH", "the character width is not supported", ""},
    {MAPI_E_VERSION, "MAPI_E_VERSION", "the version does not match", "Install a matching version."},
    {MAPI_E_NOT_INITIALIZED, "MAPI_E_NOT_INITIALIZED", "no mail program offers MAPI here",
     "Install one, or use fendrel's own store with --mapi local."},
    {MAPI_E_EXTENDED_ERROR, "MAPI_E_EXTENDED_ERROR", "the message store refused it", ""},
    {MAPI_E_NO_SUPPRESS, "MAPI_E_NO_SUPPRESS", "it cannot be suppressed", ""},
    {MAPI_E_INTERFACE_NOT_SUPPORTED, "MAPI_E_INTERFACE_NOT_SUPPORTED", "the object does not offer this", ""},
    {HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND), "ERROR_MOD_NOT_FOUND", "the library or one that it needs is missing", ""},
    {HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND), "ERROR_PROC_NOT_FOUND", "the library lacks a needed function", ""},
    {HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "ERROR_FILE_NOT_FOUND", "there is no such file", ""},
    {HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), "ERROR_PATH_NOT_FOUND", "there is no such folder on the disk", ""},
    {HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION), "ERROR_SHARING_VIOLATION", "another program is using it",
     "Close that program and try again."},
    {HRESULT_FROM_WIN32(ERROR_DISK_FULL), "ERROR_DISK_FULL", "the disk is full", "Make room and try again."},
    {HRESULT_FROM_WIN32(ERROR_NO_LOGON_SERVERS), "ERROR_NO_LOGON_SERVERS", "the logon server cannot be reached",
     "Check the network, and try again later."},
    {HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), "RPC_S_SERVER_UNAVAILABLE", "the server cannot be reached",
     "Check the network, and try again later."},
    {MAPI_E_END_OF_SESSION, "MAPI_E_END_OF_SESSION", "the session with the server has ended", "Try again."},
};

}  // namespace

const ErrorWords* findErrorWords(HRESULT code) {
  for (const ErrorWords& words : knownErrors)
    if (words.code == code) return &words;
  return nullptr;
}

bool passesByItself(HRESULT code) {
  switch (code) {
    case MAPI_E_BUSY:
    case MAPI_E_TIMEOUT:
    case MAPI_E_DISK_ERROR:
    case MAPI_E_NOT_ENOUGH_DISK:
    case MAPI_E_NETWORK_ERROR:
    case MAPI_E_FAILONEPROVIDER:  // a profile's result while the server of one store is down
    case MAPI_E_END_OF_SESSION:
    case HRESULT_FROM_WIN32(ERROR_DISK_FULL):
    case HRESULT_FROM_WIN32(ERROR_NO_LOGON_SERVERS):
    case HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE): return true;
    default: return false;
  }
}

std::string errorName(HRESULT code) {
  const ErrorWords* words = findErrorWords(code);
  return words ? words->name : fmt::format("0x{:08X}", static_cast<std::uint32_t>(code));
}

std::string describeError(HRESULT code) {
  const auto number = static_cast<std::uint32_t>(code);
  if (const ErrorWords* words = findErrorWords(code))
    return fmt::format("{} ({}, 0x{:08X})", words->cause, words->name, number);
  if (HRESULT_FACILITY(code) == FACILITY_WIN32) {
    const std::string cause = systemMessage(static_cast<DWORD>(HRESULT_CODE(code)));
    if (!cause.empty()) return fmt::format("{} (0x{:08X})", cause, number);
  }
  return fmt::format("error 0x{:08X}", number);
}

ExitCode folderExitCode(HRESULT code) {
  switch (code) {
    case MAPI_E_NO_ACCESS:
    case MAPI_E_NOT_FOUND:
    case MAPI_E_NO_SUPPORT: return ExitCode::folderRefused;
    default: return exitCodeFor(code, ExitCode::failed);
  }
}

}  // namespace fendrel::host
