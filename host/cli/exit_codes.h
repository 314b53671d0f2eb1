// The exit codes of fendrel.exe.
#pragma once

namespace fendrel::host {

enum class ExitCode : int {
  done = 0,
  failed = 1,
  wrongUsage = 2,
  somePosted = 3,     // some files were posted and some were not
  mapiUnusable = 4,   // MAPI or the profile cannot be used
  folderRefused = 5,  // the folder was not found, or refused access
  damageFound = 6,    // a store is damaged, or not all of it could be recovered
  cancelled = 8
};

}  // namespace fendrel::host
