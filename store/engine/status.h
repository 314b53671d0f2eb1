// The result of a call of the store's engine.
#pragma once

namespace fendrel::store {

// Running out of memory is not a status: std::bad_alloc leaves the call, which has then changed nothing.
// No other exception leaves the engine.
enum class Status {
  Ok,
  NotFound,       // no such profile, store, folder, message, attachment, property
  AlreadyExists,  // a name or number is in use
  HasFolders,     // a folder to delete holds folders
  HasMessages,    // a folder to delete holds messages
  Changed,        // the message was saved by someone else since it was read
  NoAccess,       // file or folder not readable or writable; a store's own folder cannot be renamed or deleted
  NotEnoughDisk,
  Busy,          // others kept the store locked for too long, or a server did not answer in time
  Corrupt,       // damaged or missing data was found and not returned
  NewerVersion,  // the file was written by a newer version of this program
  OnNetwork,     // the file is on another machine, where SQLite's log does not work
  LogonFailed,   // a server refuses user name or secret
  Unreachable,   // a server cannot be reached or is not trusted
  TooLarge,      // the store does not accept a message or value of that size
  NotSupported,  // this store cannot keep it
  Cancelled,     // the user cancelled
  Invalid,       // an argument that is a caller's mistake
  Failed,        // anything else; see the failure's text
};

// English name, for messages and test output.
const char* name(Status status) noexcept;

}  // namespace fendrel::store
