#include "kept_locks.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace fendrel::store {

namespace {

constexpr ULONGLONG longestKept = 200, pauseForOthers = 20, pauseAfterWaiting = 1000, burst = 100;  // milliseconds

// The locks, as SQLite numbers them. The mark 0 stands for the database alone: checkpoints need it, so writers do not keep
// it.
constexpr int writeLock = 0, checkpointLock = 1, databaseMark = 3, firstMark = 4, lastMark = 7;
constexpr unsigned bit(int lock) { return 1u << lock; }
constexpr unsigned bits(int first, int count) { return (bit(count) - 1) << first; }
constexpr unsigned marks = bits(firstMark, lastMark - firstMark + 1), allMarks = marks | bit(databaseMark);

// All of this process, so that one that waits can ask the others.
LightMutex registryMutex;
std::vector<KeptLocks*>& registry() {
  static std::vector<KeptLocks*> all;
  return all;
}

}  // namespace

KeptLocks::KeptLocks(sqlite3_file* file, std::string path, Clock clock)
    : file_(file), path_(std::move(path)), clock_(clock) {
  const std::lock_guard guard(registryMutex);
  registry().push_back(this);
}

KeptLocks::~KeptLocks() {
  {
    const std::lock_guard guard(registryMutex);
    std::erase(registry(), this);
  }
  if (timer_) {
    SetThreadpoolTimer(timer_, nullptr, 0, 0);
    WaitForThreadpoolTimerCallbacks(timer_, TRUE);
    CloseThreadpoolTimer(timer_);
  }
  giveBack();
}

int KeptLocks::lock(int first, int count, int flags) {
  if (flags & SQLITE_SHM_UNLOCK) return release(first, count, flags);
  bool mayAsk = false;
  int code = take(first, count, flags, mayAsk);
  if (code != SQLITE_BUSY || !mayAsk) return code;
  // Without our own mutex: the other one may be asking us.
  askOthers();
  code = take(first, count, flags, mayAsk);
  if (code == SQLITE_BUSY && first == writeLock) {
    const std::lock_guard guard(mutex_);
    endKeeping(pauseAfterWaiting);
  }
  return code;
}

int KeptLocks::take(int first, int count, int flags, bool& mayAsk) {
  const std::lock_guard guard(mutex_);
  const unsigned wanted = bits(first, count);
  const bool isShared = (flags & SQLITE_SHM_SHARED) != 0;
  if (kept_ & wanted) {
    // The write lock is kept exclusive, marks are kept shared.
    if (wanted == bit(writeLock) || isShared) {
      kept_ &= ~wanted;
      held_ |= wanted;
      return SQLITE_OK;
    }
  }
  // A reader would like a newer mark. The kept one does as well, since the log still holds all that came after it;
  // then no lock is needed. A checkpoint, which wants to pass the mark, holds its own lock meanwhile.
  const bool isNewMark = !isShared && count == 1 && (wanted & marks) && !(held_ & bit(checkpointLock));
  if (isNewMark && (kept_ & marks)) return SQLITE_BUSY;
  mayAsk = !isNewMark;
  giveBack(kept_ & wanted);
  const int code = below(first, count, flags);
  if (code == SQLITE_OK) held_ |= wanted;
  return code;
}

int KeptLocks::release(int first, int count, int flags) {
  const std::lock_guard guard(mutex_);
  const unsigned released = bits(first, count);
  held_ &= ~released;
  if (released == bit(writeLock)) {
    if (mayKeep()) {
      kept_ |= released;
      return SQLITE_OK;
    }
  } else if ((flags & SQLITE_SHM_SHARED) && mayKeepMark(released)) {
    giveBack(kept_ & allMarks);  // one mark is enough
    kept_ |= released;
    return SQLITE_OK;
  }
  return below(first, count, flags);
}

// Asked when a transaction returns the write lock.
bool KeptLocks::mayKeep() {
  const ULONGLONG now = clock_();
  const bool isBurst = lastWrite_ != 0 && now - lastWrite_ <= burst;
  lastWrite_ = now;
  if (keeping_ && now >= keptUntil_) endKeeping(pauseForOthers);
  if (now < pausedUntil_) return false;
  if (keeping_) return true;
  if (!isBurst) return false;
  keptUntil_ = now + longestKept;
  keeping_ = startTimer(longestKept);
  return keeping_;
}

bool KeptLocks::mayKeepMark(unsigned mark) const noexcept {
  return (kept_ & bit(writeLock) && mark & marks) || (isReading_ && mark & allMarks);
}

void KeptLocks::beginReading() {
  const std::lock_guard guard(mutex_);
  keptUntil_ = clock_() + longestKept;
  isReading_ = startTimer(longestKept);
}

void KeptLocks::endKeeping(ULONGLONG pause) {
  keeping_ = false;
  isReading_ = false;
  pausedUntil_ = clock_() + pause;
  giveBack(kept_);
}

void KeptLocks::giveBack(unsigned locks) {
  kept_ &= ~locks;
  for (int lock = writeLock; lock <= lastMark; ++lock) {
    if (locks & bit(lock)) {
      below(lock, 1, SQLITE_SHM_UNLOCK | (lock == writeLock ? SQLITE_SHM_EXCLUSIVE : SQLITE_SHM_SHARED));
    }
  }
}

void KeptLocks::giveBack() {
  const std::lock_guard guard(mutex_);
  endKeeping(pauseForOthers);
}

// A program that does nothing any more must give its locks back all the same.
bool KeptLocks::startTimer(ULONGLONG milliseconds) {
  if (!timer_) timer_ = CreateThreadpoolTimer(timeIsUp, this, nullptr);
  if (!timer_) return false;
  const auto due = static_cast<ULONGLONG>(-static_cast<LONGLONG>(milliseconds * 10'000));
  FILETIME time{static_cast<DWORD>(due), static_cast<DWORD>(due >> 32)};
  SetThreadpoolTimer(timer_, &time, 0, 0);
  return true;
}

void CALLBACK KeptLocks::timeIsUp(PTP_CALLBACK_INSTANCE, void* self, PTP_TIMER) {
  static_cast<KeptLocks*>(self)->giveBackInTime();
}

// Timers and the clock do not agree to the millisecond, and a new burst may have begun meanwhile.
void KeptLocks::giveBackInTime() {
  const std::lock_guard guard(mutex_);
  if (!keeping_ && !isReading_) return;
  const ULONGLONG now = clock_();
  if (now >= keptUntil_) {
    endKeeping(pauseForOthers);
  } else {
    startTimer(keptUntil_ - now);
  }
}

void KeptLocks::askOthers() {
  const std::lock_guard guard(registryMutex);
  for (KeptLocks* other : registry()) {
    if (other != this && other->path_ == path_) other->giveBack();
  }
}

}  // namespace fendrel::store
