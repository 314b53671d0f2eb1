// Waits for other programs in cases where SQLite's busy handler is not called.
#pragma once

#include <windows.h>

#include <algorithm>

#include "database.h"
#include "engine_error.h"

namespace fendrel::store {

// Repeats the work while it fails with Busy, at most for busyTimeout.
template <class Work>
void waitWhileBusy(Work&& work) {
  const ULONGLONG start = GetTickCount64();
  for (DWORD pause = 1;; pause = std::min<DWORD>(pause * 2, 50)) {
    try {
      work();
      return;
    } catch (const EngineError& error) {
      if (error.status != Status::Busy || GetTickCount64() - start > busyTimeout) throw;
    }
    Sleep(pause);
  }
}

}  // namespace fendrel::store
