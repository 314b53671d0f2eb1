// Frames of the log reach the disk as one write, at the moments at which somebody counts on them.
#include "checked_log.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "page_checksums.h"

namespace fendrel::store {
namespace {

constexpr sqlite3_int64 logHeader = 32, frameHeader = 24;

struct LogFile {
  sqlite3_file file;
  std::string bytes;
  std::vector<std::string> writes;
  int answer = SQLITE_OK;

  LogFile() {
    static const sqlite3_io_methods methods = [] {
      sqlite3_io_methods table{};
      table.iVersion = 2;
      table.xWrite = [](sqlite3_file* self, const void* from, int count, sqlite3_int64 at) {
        return reinterpret_cast<LogFile*>(self)->write(from, count, at);
      };
      table.xTruncate = [](sqlite3_file* self, sqlite3_int64 size) {
        reinterpret_cast<LogFile*>(self)->writes.push_back("cut to " + std::to_string(size));
        reinterpret_cast<LogFile*>(self)->bytes.resize(static_cast<std::size_t>(size));
        return SQLITE_OK;
      };
      table.xFileSize = [](sqlite3_file* self, sqlite3_int64* size) {
        *size = static_cast<sqlite3_int64>(reinterpret_cast<LogFile*>(self)->bytes.size());
        return SQLITE_OK;
      };
      table.xSync = [](sqlite3_file* self, int) {
        reinterpret_cast<LogFile*>(self)->writes.push_back("flush");
        return reinterpret_cast<LogFile*>(self)->answer;
      };
      table.xRead = [](sqlite3_file* self, void* into, int count, sqlite3_int64 at) {
        const std::string& all = reinterpret_cast<LogFile*>(self)->bytes;
        if (all.size() < static_cast<std::size_t>(at + count)) return SQLITE_IOERR_SHORT_READ;
        std::memcpy(into, all.data() + at, static_cast<std::size_t>(count));
        return SQLITE_OK;
      };
      return table;
    }();
    file.pMethods = &methods;
  }

  int write(const void* from, int count, sqlite3_int64 at) {
    writes.push_back(std::to_string(count) + " at " + std::to_string(at));
    if (answer != SQLITE_OK) return answer;
    const auto end = static_cast<std::size_t>(at + count);
    if (bytes.size() < end) bytes.resize(end);
    std::memcpy(bytes.data() + at, from, static_cast<std::size_t>(count));
    return SQLITE_OK;
  }
};

using Writes = std::vector<std::string>;

class CheckedLogTest : public testing::Test {
protected:
  void writeFrame(sqlite3_int64 at, char fill) {
    const std::string header(frameHeader, fill), page(databasePageSize, fill);
    ASSERT_EQ(log_.write(header.data(), frameHeader, at), SQLITE_OK);
    ASSERT_EQ(log_.write(page.data(), databasePageSize, at + frameHeader), SQLITE_OK);
  }

  LogFile file_;
  CheckedLog log_{&file_.file};
  static constexpr sqlite3_int64 frame = frameHeader + databasePageSize;
};

TEST_F(CheckedLogTest, FramesInARowAreOneWrite) {
  for (int i = 0; i < 3; ++i) writeFrame(logHeader + i * frame, static_cast<char>('a' + i));
  EXPECT_EQ(file_.writes, Writes{});
  EXPECT_EQ(log_.writeGathered(), SQLITE_OK);
  EXPECT_EQ(file_.writes, Writes{std::to_string(3 * frame) + " at 32"});
  EXPECT_EQ(file_.bytes.substr(logHeader + frame, 2), "bb");
  EXPECT_EQ(log_.writeGathered(), SQLITE_OK);
  EXPECT_EQ(file_.writes.size(), 1u);
}

TEST_F(CheckedLogTest, AnotherPlaceBeginsAnotherWrite) {
  writeFrame(logHeader, 'a');
  writeFrame(logHeader + 5 * frame, 'b');
  EXPECT_EQ(file_.writes, Writes{std::to_string(frame) + " at 32"});
  EXPECT_EQ(log_.writeGathered(), SQLITE_OK);
  EXPECT_EQ(file_.writes.size(), 2u);
}

TEST_F(CheckedLogTest, LongTransactionIsWrittenInPieces) {
  for (int i = 0; i < 200; ++i) writeFrame(logHeader + i * frame, 'a');
  EXPECT_EQ(log_.writeGathered(), SQLITE_OK);
  EXPECT_GE(file_.writes.size(), 3u);
  EXPECT_EQ(file_.bytes.size(), static_cast<std::size_t>(logHeader + 200 * frame));
}

TEST_F(CheckedLogTest, ReadingSeesWhatWasWritten) {
  writeFrame(logHeader, 'a');
  char header[frameHeader] = {};
  EXPECT_EQ(log_.read(header, frameHeader, logHeader), SQLITE_OK);
  EXPECT_EQ(header[0], 'a');
  std::string page(databasePageSize, ' ');
  EXPECT_EQ(log_.read(page.data(), databasePageSize, logHeader + frameHeader), SQLITE_IOERR_DATA)
      << "the header has no checksum of its page";
}

// A transaction that failed must not turn up with the next one.
TEST_F(CheckedLogTest, WhatCannotBeWrittenIsDropped) {
  writeFrame(logHeader, 'a');
  file_.answer = SQLITE_FULL;
  EXPECT_EQ(log_.writeGathered(), SQLITE_FULL);
  file_.answer = SQLITE_OK;
  EXPECT_EQ(log_.writeGathered(), SQLITE_OK);
  EXPECT_EQ(file_.bytes, "");
  writeFrame(logHeader, 'b');
  EXPECT_EQ(log_.writeGathered(), SQLITE_OK);
  EXPECT_EQ(file_.bytes.substr(logHeader, 2), "bb");
}

TEST_F(CheckedLogTest, WithoutRoomACutLogIsAsShortAsItIsCut) {
  writeFrame(logHeader, 'a');
  EXPECT_EQ(log_.cut(0), SQLITE_OK);
  EXPECT_EQ(file_.bytes, "");
}

TEST_F(CheckedLogTest, WithRoomACutLogKeepsItAndHasNoHeader) {
  log_.setRoom(3 * frame);
  for (int i = 0; i < 5; ++i) writeFrame(logHeader + i * frame, 'a');
  EXPECT_EQ(log_.writeGathered(), SQLITE_OK);
  file_.writes.clear();
  EXPECT_EQ(log_.cut(0), SQLITE_OK);
  EXPECT_EQ(file_.writes, (Writes{"32 at 0", "flush", "cut to " + std::to_string(3 * frame)}))
      << "frames must not be lost behind a header that stands";
  EXPECT_EQ(file_.bytes.size(), static_cast<std::size_t>(3 * frame));
  EXPECT_EQ(file_.bytes.substr(0, logHeader), emptyLogMark);
  EXPECT_EQ(file_.bytes.substr(logHeader, 2), "aa");
}

TEST_F(CheckedLogTest, ShortLogIsNotMadeLongerByACut) {
  log_.setRoom(3 * frame);
  EXPECT_EQ(log_.cut(0), SQLITE_OK);
  EXPECT_EQ(file_.bytes, "");
  writeFrame(logHeader, 'a');
  EXPECT_EQ(log_.cut(0), SQLITE_OK);
  EXPECT_EQ(file_.bytes.size(), static_cast<std::size_t>(logHeader + frame));
}

TEST_F(CheckedLogTest, CutToALengthIsDoneWithRoomToo) {
  log_.setRoom(3 * frame);
  for (int i = 0; i < 5; ++i) writeFrame(logHeader + i * frame, 'a');
  EXPECT_EQ(log_.cut(2 * frame), SQLITE_OK);
  EXPECT_EQ(file_.bytes.size(), static_cast<std::size_t>(2 * frame));
}

TEST_F(CheckedLogTest, RoomIsMadeAndFlushed) {
  log_.setRoom(5'000'000);
  EXPECT_EQ(log_.makeRoom(), SQLITE_OK);
  EXPECT_EQ(file_.bytes.size(), 5'000'000u);
  EXPECT_EQ(file_.bytes.substr(0, logHeader), emptyLogMark);
  EXPECT_EQ(file_.bytes.find_first_not_of('\0', logHeader), std::string::npos);
  EXPECT_EQ(file_.writes.back(), "flush");
  file_.writes.clear();
  EXPECT_EQ(log_.makeRoom(), SQLITE_OK);
  EXPECT_EQ(file_.writes, Writes{}) << "it is there";
}

TEST_F(CheckedLogTest, RoomIsMadeBehindWhatTheLogHolds) {
  writeFrame(logHeader, 'a');
  EXPECT_EQ(log_.writeGathered(), SQLITE_OK);
  log_.setRoom(3 * frame);
  EXPECT_EQ(log_.makeRoom(), SQLITE_OK);
  EXPECT_EQ(file_.bytes.size(), static_cast<std::size_t>(3 * frame));
  EXPECT_EQ(file_.bytes.substr(logHeader, 2), "aa");
  EXPECT_EQ(file_.bytes[logHeader + frame - 1], 'a');
}

TEST_F(CheckedLogTest, FullDiskMakesNoRoom) {
  log_.setRoom(3 * frame);
  file_.answer = SQLITE_FULL;
  EXPECT_EQ(log_.makeRoom(), SQLITE_FULL);
  file_.answer = SQLITE_OK;
  EXPECT_EQ(log_.makeRoom(), SQLITE_OK);
  EXPECT_EQ(file_.bytes.substr(0, logHeader), emptyLogMark);
}

}  // namespace
}  // namespace fendrel::store
