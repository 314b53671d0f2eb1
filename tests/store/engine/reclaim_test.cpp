// A later open deletes files of killed processes and of deleted contents; files in use or with readers stay, and files
// that cannot be deleted block nothing.
#include "reclaim.h"

#include <windows.h>

#include <fstream>

#include "connection.h"
#include "content_table.h"
#include "engine_fixture.h"

namespace fendrel::store {
namespace {

constexpr std::chrono::minutes young{5}, old{90};

class ReclaimTest : public EngineTest {
 protected:
  std::wstring spool(const std::wstring& file) const { return contentFolder() + L"\\tmp\\" + file; }

  static void age(const std::wstring& file, std::chrono::minutes by) {
    std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() - by);
  }

  void put(const std::wstring& file, std::chrono::minutes by) {
    std::filesystem::create_directories(contentFolder() + L"\\tmp");
    std::ofstream(std::filesystem::path(file)) << "left over";
    age(file, by);
  }

  // Saves a message with a content file and deletes it.
  std::wstring dropAFile() {
    const MessageInfo message = save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
    const std::wstring file = contentFolder() + L"\\" + filesIn(contentFolder()).at(0);
    EXPECT_EQ(deleteMessage(*database, message.id), Status::Ok);
    return file;
  }

  Reclaimed compactNow() { return reclaimEverything(database->connection()); }
};

TEST_F(ReclaimTest, OldTemporaryFileOfADeadProcessGoes) {
  put(spool(L"dead.tmp"), old);
  put(spool(L"dead.open"), old);  // left by earlier programs
  reopen();
  EXPECT_TRUE(filesIn(contentFolder() + L"\\tmp").empty());
}

TEST_F(ReclaimTest, YoungTemporaryFileStays) {
  put(spool(L"young.tmp"), young);
  reopen();
  EXPECT_EQ(spoolFiles().size(), 1u);
}

TEST_F(ReclaimTest, ContentThatIsBeingWrittenStaysHoweverOld) {
  const auto other = openAnother();
  const auto writer = writerWith(*other, pattern(contentBlockSize * 2));
  reopen();
  ASSERT_EQ(spoolFiles().size(), 1u);
  put(spool(L"dead.tmp"), old);
  const HANDLE handle =
      CreateFileW(spool(spoolFiles()[0]).c_str(), FILE_WRITE_ATTRIBUTES,
                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
  const FILETIME longAgo{};
  SetFileTime(handle, nullptr, nullptr, &longAgo);
  CloseHandle(handle);
  reopen();
  MessageDraft draft = draftWith(top, u"m");
  draft.contents = {{attachDataTag, writer}};
  MessageInfo saved;
  EXPECT_EQ(saveMessage(*other, draft, saved), Status::Ok) << other->lastError();
}

TEST_F(ReclaimTest, FileOfADeletedMessageGoesAfterTheGraceTime) {
  const std::wstring file = dropAFile();
  reopen();
  EXPECT_TRUE(std::filesystem::exists(file)) << "it went at once";
  letGraceTimePass();
  reopen();
  EXPECT_FALSE(std::filesystem::exists(file));
  letGraceTimePass();
  reopen();
}

TEST_F(ReclaimTest, FileThatAReaderMayStillSeeStays) {
  const MessageInfo message = save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  const auto reader = openAnother();
  reader->connection().execute("BEGIN; SELECT count(*) FROM message");
  ASSERT_EQ(deleteMessage(*database, message.id), Status::Ok);
  letGraceTimePass();
  reopen();
  compactNow();
  Query named(reader->connection().statement("SELECT id FROM content"));
  ASSERT_TRUE(named.step());
  EXPECT_NO_THROW(openContentRow(reader->connection(), named->integer(0)));
  named.run();
  reader->connection().execute("ROLLBACK");
  reopen();
  EXPECT_TRUE(filesIn(contentFolder()).empty());
}

// A reader that uses only the database file, without a mark in the log.
TEST_F(ReclaimTest, FileThatAReaderOfAnEmptyLogMayStillSeeStays) {
  const MessageInfo message = save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  ASSERT_TRUE(isLogDone(database->connection().handle()));
  const auto reader = openAnother();
  reader->connection().execute("BEGIN; SELECT count(*) FROM message");
  ASSERT_EQ(deleteMessage(*database, message.id), Status::Ok);
  letGraceTimePass();
  reopen();
  compactNow();
  EXPECT_EQ(filesIn(contentFolder()).size(), 1u);
  reader->connection().execute("ROLLBACK");
  EXPECT_EQ(compactNow().files, 1u);
}

TEST_F(ReclaimTest, ReadOnlyLeftoversStopNobodyAndAreLeftForLater) {
  const std::wstring file = dropAFile();
  put(spool(L"dead.tmp"), old);
  for (const std::wstring& name : {file, spool(L"dead.tmp")}) SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_READONLY);
  letGraceTimePass();
  reopen();
  ASSERT_TRUE(database);
  for (const std::wstring& name : {file, spool(L"dead.tmp")}) SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
  reopen();
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_TRUE(spoolFiles().empty());
}

TEST_F(ReclaimTest, LeftoverThatIsOnlyWaitingToBeDeletedStopsNobody) {
  const std::wstring file = dropAFile();
  const HANDLE held = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  ASSERT_TRUE(DeleteFileW(file.c_str()));
  letGraceTimePass();
  reopen();
  EXPECT_TRUE(database);
  CloseHandle(held);
  reopen();
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(ReclaimTest, LockedStoreIsOpenedWithoutWaitingForIt) {
  dropAFile();
  letGraceTimePass();
  const auto other = openAnother();
  database.reset();
  other->connection().execute("UPDATE dropped_file SET time = 0; BEGIN IMMEDIATE");
  const auto start = GetTickCount64();
  reopen();
  EXPECT_LT(GetTickCount64() - start, static_cast<ULONGLONG>(busyTimeout));
  other->connection().execute("ROLLBACK");
}

TEST_F(ReclaimTest, CompactingDeletesFilesThatNoRowEverNamed) {
  const MessageInfo message = save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  const std::wstring orphan = contentFolder() + L"\\0123456789abcdef0123456789abcdef.content";
  put(orphan, young);
  EXPECT_EQ(compactNow().files, 0u) << "someone may be about to name it";
  age(orphan, old);
  EXPECT_EQ(compactNow().files, 1u);
  EXPECT_FALSE(std::filesystem::exists(orphan));
  Bytes found;
  EXPECT_EQ(readAll(message.id, 0, attachDataTag, found), Status::Ok) << "a named file stays";
}

TEST_F(ReclaimTest, CompactingDeletesFilesOfDeletedMessagesAtOnce) {
  const std::wstring file = dropAFile();
  EXPECT_EQ(compactNow().files, 1u);
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(ReclaimTest, ForeignFilesStay) {
  save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  put(contentFolder() + L"\\notes.txt", old);
  put(contentFolder() + L"\\my notes.content", old);
  put(spool(L"notes.txt"), old);
  reopen();
  compactNow();
  EXPECT_EQ(filesIn(contentFolder()).size(), 3u);
  EXPECT_EQ(filesIn(contentFolder() + L"\\tmp").size(), 1u);
}

TEST_F(ReclaimTest, OrdinaryEndLeavesNothingButMessages) {
  save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  database.reset();
  EXPECT_TRUE(filesIn(contentFolder() + L"\\tmp").empty());
  EXPECT_EQ(filesIn(contentFolder()).size(), 1u);
}

}  // namespace
}  // namespace fendrel::store
