// The locks of a store's write-ahead log, kept for a moment beyond their use. For the engine's own files only.
//
// Each transaction takes and returns about four locks. Where locks are cheap that is nothing; under Wine, or on a file
// server, each is a message to another process, and together they take longer than the write that they protect. So
// in a burst of transactions the write lock, and the shared lock of a reader's mark, stay with the process
// when SQLite returns them, for 200 ms at most; then others have their turn. They are given back at once when another
// connection of this process waits, and no locks are kept for a second after this one had to wait for others.
//
// A program that has just opened a store reads much in a row: there the shared lock stays as well.
//
// What that means for others: readers never wait; writers wait up to 200 ms longer. A process that dies loses its locks
// at once, as ever. While an old mark is kept, the log cannot be moved into the database beyond it by other processes.
#pragma once

#include <windows.h>

#include <sqlite3.h>

#include <cstdint>
#include <string>

#include "light_mutex.h"

namespace fendrel::store {

class KeptLocks {
public:
  using Clock = ULONGLONG (*)();  // milliseconds
  static ULONGLONG ticks() { return GetTickCount64(); }

  // `file` is the database of the layer below, which outlives this object; `path` tells which connections share locks.
  KeptLocks(sqlite3_file* file, std::string path, Clock clock = ticks);
  ~KeptLocks();
  KeptLocks(const KeptLocks&) = delete;
  KeptLocks& operator=(const KeptLocks&) = delete;

  // SQLite's xShmLock, with its flags and result codes. Any thread, one at a time.
  int lock(int first, int count, int flags);

  // From now on, for 200 ms at most, a reader's lock stays when SQLite returns it. Any thread.
  void beginReading();

  // Returns everything that SQLite does not hold at this moment. Any thread.
  void giveBack();

private:
  int take(int first, int count, int flags, bool& mayAsk);
  int release(int first, int count, int flags);
  bool mayKeep();
  bool mayKeepMark(unsigned mark) const noexcept;
  void endKeeping(ULONGLONG pause);
  void giveBack(unsigned locks);
  bool startTimer(ULONGLONG milliseconds);
  void giveBackInTime();
  void askOthers();
  int below(int first, int count, int flags) { return file_->pMethods->xShmLock(file_, first, count, flags); }
  static void CALLBACK timeIsUp(PTP_CALLBACK_INSTANCE, void* self, PTP_TIMER);

  sqlite3_file* file_;
  std::string path_;
  Clock clock_;
  LightMutex mutex_;
  PTP_TIMER timer_ = nullptr;
  unsigned held_ = 0;          // by SQLite; a bit for each lock
  unsigned kept_ = 0;          // by this object alone: the write lock exclusive, those of marks shared
  bool keeping_ = false;       // what writers and their readers return
  bool isReading_ = false;     // what readers return
  ULONGLONG keptUntil_ = 0;
  ULONGLONG pausedUntil_ = 0;
  ULONGLONG lastWrite_ = 0;    // 0: none yet
};

}  // namespace fendrel::store
