// A mutex that never allocates. The first lock of std::mutex does in some toolchains, and could fail in the middle of a
// save. For std::lock_guard and std::unique_lock.
#pragma once

#include <windows.h>

namespace fendrel::store {

class LightMutex {
 public:
  void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
  void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
};

}  // namespace fendrel::store
