// How a call of the store's engine ended.
#pragma once

namespace fendrel::store {

// Running out of memory is not a status: std::bad_alloc leaves the call, which has then changed nothing.
// No other exception leaves the engine.
enum class Status {
  Ok,
  NotFound,       // no such profile, store, folder, message, attachment, property
  AlreadyExists,  // a name or number is taken
  HasFolders,     // a folder to delete holds folders
  HasMessages,    // a folder to delete holds messages
  Changed,        // the message was saved by someone else since it was read
  NoAccess,       // file or folder not readable or writable; a store's own folder cannot be renamed or deleted
  NotEnoughDisk,
  Busy,          // others kept the store locked for too long, or a server did not answer in time
  Corrupt,       // damaged or missing data was found; nothing of it is handed out
  NewerVersion,  // the file was written by a newer version of this program
  OnNetwork,     // the file lies on another machine, where SQLite's log does not work
  LogonFailed,   // a server refuses name or secret
  Unreachable,   // a server cannot be asked, or is not to be trusted
  TooLarge,      // the store takes no message, or no value, of that size
  NotSupported,  // this store has no place for it
  Cancelled,     // the user gave up waiting
  Invalid,       // an argument that no caller should pass
  Failed,        // anything else; the words of the failure tell
};

// English name, for messages and test output.
const char* name(Status status) noexcept;

}  // namespace fendrel::store
