// In a burst of transactions the write lock and a reader's mark stay with the process for a moment.
#include "kept_locks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <utility>
#include <vector>

namespace fendrel::store {
namespace {

constexpr int writeLock = 0, checkpointLock = 1, databaseMark = 3, mark1 = 4, mark2 = 5;
constexpr int takeShared = SQLITE_SHM_LOCK | SQLITE_SHM_SHARED, takeExclusive = SQLITE_SHM_LOCK | SQLITE_SHM_EXCLUSIVE;
constexpr int returnShared = SQLITE_SHM_UNLOCK | SQLITE_SHM_SHARED;
constexpr int returnExclusive = SQLITE_SHM_UNLOCK | SQLITE_SHM_EXCLUSIVE;

// The system's side: writes down what it is asked for, and has all locks but those that others hold.
struct System {
  sqlite3_file file;
  std::vector<std::string> calls;
  std::atomic<std::size_t> callCount = 0;  // the timer may make some
  unsigned othersHold = 0;

  System() {
    static const sqlite3_io_methods methods = [] {
      sqlite3_io_methods table{};
      table.iVersion = 2;
      table.xShmLock = [](sqlite3_file* self, int first, int count, int flags) {
        return reinterpret_cast<System*>(self)->lock(first, count, flags);
      };
      return table;
    }();
    file.pMethods = &methods;
  }

  int lock(int first, int count, int flags) {
    const bool isTake = (flags & SQLITE_SHM_LOCK) != 0;
    calls.push_back((isTake ? "+" : "-") + std::to_string(first) + (count > 1 ? "*" + std::to_string(count) : "") +
                    (flags & SQLITE_SHM_SHARED ? "s" : "x"));
    ++callCount;
    return isTake && (othersHold >> first & ((1u << count) - 1)) ? SQLITE_BUSY : SQLITE_OK;
  }

  std::vector<std::string> taken() { return std::exchange(calls, {}); }
};

using Calls = std::vector<std::string>;
// Moved by the tests alone, so that it does not matter how long they take.
std::atomic<ULONGLONG> clockTime = 0;
ULONGLONG testClock() { return clockTime; }

class KeptLocksTest : public testing::Test {
protected:
  KeptLocksTest() { clockTime = 1'000'000; }

  // As SQLite does it: a newer mark if it can be had, a shared lock on the mark, the write lock, and both back.
  static void transaction(KeptLocks& locks, int mark = mark1) {
    if (locks.lock(mark, 1, takeExclusive) == SQLITE_OK) locks.lock(mark, 1, returnExclusive);
    EXPECT_EQ(locks.lock(mark, 1, takeShared), SQLITE_OK);
    EXPECT_EQ(locks.lock(writeLock, 1, takeExclusive), SQLITE_OK);
    EXPECT_EQ(locks.lock(writeLock, 1, returnExclusive), SQLITE_OK);
    EXPECT_EQ(locks.lock(mark, 1, returnShared), SQLITE_OK);
  }

  void beginBurst() {
    transaction(locks_);
    transaction(locks_);
    system_.calls.clear();
  }

  System system_;
  KeptLocks locks_{&system_.file, "store", testClock};
};

const Calls wholeTransaction = {"+4x", "-4x", "+4s", "+0x", "-0x", "-4s"};

TEST_F(KeptLocksTest, OneTransactionKeepsNothing) {
  transaction(locks_);
  EXPECT_EQ(system_.calls, wholeTransaction);
}

TEST_F(KeptLocksTest, TransactionsFarApartKeepNothing) {
  transaction(locks_);
  clockTime += 101;
  transaction(locks_);
  EXPECT_EQ(system_.calls.size(), 2 * wholeTransaction.size());
}

TEST_F(KeptLocksTest, SecondTransactionOfABurstKeepsWriteLockAndMark) {
  transaction(locks_);
  system_.calls.clear();
  transaction(locks_);
  EXPECT_EQ(system_.calls, (Calls{"+4x", "-4x", "+4s", "+0x"}));
}

TEST_F(KeptLocksTest, FurtherTransactionsAskNobody) {
  beginBurst();
  for (int i = 0; i < 10; ++i) transaction(locks_);
  EXPECT_EQ(system_.calls, Calls{});
}

TEST_F(KeptLocksTest, ReadingAsksNobody) {
  beginBurst();
  EXPECT_EQ(locks_.lock(mark1, 1, takeExclusive), SQLITE_BUSY);  // goes on with the mark that it has
  EXPECT_EQ(locks_.lock(mark1, 1, takeShared), SQLITE_OK);
  EXPECT_EQ(locks_.lock(mark1, 1, returnShared), SQLITE_OK);
  EXPECT_EQ(system_.calls, Calls{});
}

TEST_F(KeptLocksTest, AnotherMarkReplacesTheKeptOne) {
  beginBurst();
  EXPECT_EQ(locks_.lock(mark2, 1, takeShared), SQLITE_OK);
  EXPECT_EQ(locks_.lock(mark2, 1, returnShared), SQLITE_OK);
  EXPECT_EQ(system_.calls, (Calls{"+5s", "-4s"}));
}

TEST_F(KeptLocksTest, MarkOfTheDatabaseAloneIsNotKept) {
  beginBurst();
  EXPECT_EQ(locks_.lock(databaseMark, 1, takeShared), SQLITE_OK);
  EXPECT_EQ(locks_.lock(databaseMark, 1, returnShared), SQLITE_OK);
  EXPECT_EQ(system_.calls, (Calls{"+3s", "-3s"}));
}

// As SQLite does it for each statement that reads, while the log holds nothing.
void readOnce(KeptLocks& locks) {
  EXPECT_EQ(locks.lock(databaseMark, 1, takeShared), SQLITE_OK);
  EXPECT_EQ(locks.lock(databaseMark, 1, returnShared), SQLITE_OK);
}

TEST_F(KeptLocksTest, ReadersKeepNothingByThemselves) {
  for (int i = 0; i < 2; ++i) readOnce(locks_);
  EXPECT_EQ(system_.calls, (Calls{"+3s", "-3s", "+3s", "-3s"}));
}

TEST_F(KeptLocksTest, ReadingAtTheBeginningKeepsTheMark) {
  locks_.beginReading();
  for (int i = 0; i < 10; ++i) readOnce(locks_);
  EXPECT_EQ(system_.calls, Calls{"+3s"});
  EXPECT_EQ(locks_.lock(mark1, 1, takeShared), SQLITE_OK);
  EXPECT_EQ(locks_.lock(mark1, 1, returnShared), SQLITE_OK);
  EXPECT_EQ(system_.calls, (Calls{"+3s", "+4s", "-3s"})) << "one mark is enough";
}

TEST_F(KeptLocksTest, ReadingAtTheBeginningKeepsNoWriteLock) {
  locks_.beginReading();
  transaction(locks_);
  EXPECT_EQ(system_.calls, (Calls{"+4x", "-4x", "+4s", "+0x", "-0x"}));
}

TEST_F(KeptLocksTest, TheBeginningEndsInTime) {
  locks_.beginReading();
  readOnce(locks_);
  clockTime += 200;
  for (int i = 0; i < 500 && system_.callCount < 2; ++i) Sleep(10);
  EXPECT_EQ(system_.calls, (Calls{"+3s", "-3s"}));
  readOnce(locks_);
  EXPECT_EQ(system_.calls.size(), 4u);
}

TEST_F(KeptLocksTest, CheckpointGetsTheMarkOfTheDatabaseThatAReaderLeft) {
  locks_.beginReading();
  readOnce(locks_);
  EXPECT_EQ(locks_.lock(databaseMark, 1, takeExclusive), SQLITE_OK);
  EXPECT_EQ(system_.calls, (Calls{"+3s", "-3s", "+3x"}));
}

TEST_F(KeptLocksTest, CheckpointMayPassTheKeptMark) {
  beginBurst();
  EXPECT_EQ(locks_.lock(checkpointLock, 1, takeExclusive), SQLITE_OK);
  EXPECT_EQ(locks_.lock(mark1, 1, takeExclusive), SQLITE_OK);
  EXPECT_EQ(system_.calls, (Calls{"+1x", "-4s", "+4x"}));
}

TEST_F(KeptLocksTest, NewBeginningOfTheLogGetsAllMarks) {
  beginBurst();
  EXPECT_EQ(locks_.lock(mark1, 4, takeExclusive), SQLITE_OK);
  EXPECT_EQ(system_.calls, (Calls{"-4s", "+4*4x"}));
}

TEST_F(KeptLocksTest, LongBurstGivesOthersATurn) {
  beginBurst();
  clockTime += 199;
  transaction(locks_);
  EXPECT_EQ(system_.taken(), Calls{});
  clockTime += 1;
  transaction(locks_);
  EXPECT_EQ(system_.taken(), (Calls{"-0x", "-4s"}));
  transaction(locks_);
  EXPECT_EQ(system_.taken(), wholeTransaction);
  clockTime += 20;
  transaction(locks_);
  EXPECT_EQ(system_.taken(), (Calls{"+4x", "-4x", "+4s", "+0x"}));
}

TEST_F(KeptLocksTest, LocksComeBackByThemselves) {
  beginBurst();
  const std::size_t before = system_.callCount;
  clockTime += 200;
  for (int tenths = 0; tenths < 600 && system_.callCount < before + 2; ++tenths) Sleep(100);
  EXPECT_EQ(system_.calls, (Calls{"-0x", "-4s"}));
  transaction(locks_);
  EXPECT_EQ(system_.calls.size(), 2 + wholeTransaction.size());
}

TEST_F(KeptLocksTest, TimerGivesNothingBackBeforeItsTime) {
  beginBurst();
  Sleep(300);
  transaction(locks_);
  EXPECT_EQ(system_.calls, Calls{});
}

TEST_F(KeptLocksTest, LocksInUseAreNotGivenBack) {
  beginBurst();
  EXPECT_EQ(locks_.lock(mark1, 1, takeShared), SQLITE_OK);
  EXPECT_EQ(locks_.lock(writeLock, 1, takeExclusive), SQLITE_OK);
  locks_.giveBack();
  EXPECT_EQ(system_.calls, Calls{});
  EXPECT_EQ(locks_.lock(writeLock, 1, returnExclusive), SQLITE_OK);
  EXPECT_EQ(locks_.lock(mark1, 1, returnShared), SQLITE_OK);
  EXPECT_EQ(system_.calls, (Calls{"-0x", "-4s"}));
}

TEST_F(KeptLocksTest, WhoHadToWaitKeepsNothingForASecond) {
  system_.othersHold = 1u << writeLock;
  EXPECT_EQ(locks_.lock(writeLock, 1, takeExclusive), SQLITE_BUSY);
  system_.othersHold = 0;
  for (int i = 0; i < 3; ++i) {
    system_.calls.clear();
    transaction(locks_);
    EXPECT_EQ(system_.calls, wholeTransaction);
    clockTime += 99;
  }
  clockTime += 800;
  transaction(locks_);
  beginBurst();
  transaction(locks_);
  EXPECT_EQ(system_.calls, Calls{});
}

TEST_F(KeptLocksTest, AnotherConnectionOfTheProcessGetsThemAtOnce) {
  beginBurst();
  System others;
  others.othersHold = 1u << writeLock;  // as long as the first one keeps it
  KeptLocks second(&others.file, "store", testClock);
  EXPECT_EQ(second.lock(writeLock, 1, takeExclusive), SQLITE_BUSY);
  EXPECT_EQ(system_.calls, (Calls{"-0x", "-4s"}));
  EXPECT_EQ(others.calls, (Calls{"+0x", "+0x"}));  // asked again when it was given back
}

TEST_F(KeptLocksTest, ConnectionOfAnotherStoreKeepsIts) {
  beginBurst();
  System others;
  others.othersHold = 1u << writeLock;
  KeptLocks second(&others.file, "another store", testClock);
  EXPECT_EQ(second.lock(writeLock, 1, takeExclusive), SQLITE_BUSY);
  EXPECT_EQ(system_.calls, Calls{});
}

TEST_F(KeptLocksTest, EndGivesEverythingBack) {
  System system;
  {
    KeptLocks locks(&system.file, "third store", testClock);
    transaction(locks);
    transaction(locks);
    system.calls.clear();
  }
  EXPECT_EQ(system.calls, (Calls{"-0x", "-4s"}));
}

}  // namespace
}  // namespace fendrel::store
