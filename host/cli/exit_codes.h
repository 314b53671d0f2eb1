// What fendrel.exe answers to the program that started it.
#pragma once

namespace fendrel::host {

enum class ExitCode : int {
  done = 0,
  failed = 1,
  wrongUsage = 2,
  somePosted = 3,     // some files were posted and some were not
  mapiUnusable = 4,   // MAPI or the profile cannot be used
  folderRefused = 5,  // the folder was not found, or refused what was asked
  damageFound = 6,    // a store is damaged, or not all of it could be carried over
  cancelled = 8
};

}  // namespace fendrel::host
