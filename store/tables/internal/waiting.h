// Waiting for other programs where SQLite's own waiting does not.
#pragma once

#include <windows.h>

#include <algorithm>

#include "database.h"
#include "engine_error.h"

namespace fendrel::store {

// Does the work again, for busyTimeout at most, as long as it fails because others are busy.
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
