// Several users of one file. Two Database objects are like two processes: each has its own connection, locks and file
// handles.
#include <windows.h>

#include <atomic>
#include <thread>

#include "connection.h"
#include "engine_fixture.h"

namespace fendrel::store {
namespace {

using ProcessesTest = EngineTest;

TEST_F(ProcessesTest, PostingAtOnceLosesNothing) {
  constexpr int writers = 4, messages = 40;
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int writer = 0; writer < writers; ++writer) {
    threads.emplace_back([&] {
      std::unique_ptr<Database> own;
      std::string error;
      if (Database::open(path(), own, error) != Status::Ok) {
        ++failures;
        return;
      }
      for (int i = 0; i < messages; ++i) {
        MessageDraft draft = draftWith(top, u"m");
        auto& attachment = draft.attachments.emplace_back();
        auto content = createContent(*own);
        // Every tenth one with a content file.
        const Status wrote = content->write(0, pattern(i % 10 == 0 ? contentBlockSize * 2 : 500));
        attachment.contents = {{attachDataTag, content}};
        MessageInfo saved;
        if (wrote != Status::Ok || saveMessage(*own, draft, saved) != Status::Ok) ++failures;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(folderNow(top).messageCount, static_cast<unsigned>(writers * messages));
  EXPECT_EQ(subjectsIn(top).size(), static_cast<std::size_t>(writers * messages));
  EXPECT_EQ(contentFiles().size(), static_cast<std::size_t>(writers * messages / 10));
  Query check(database->connection().statement("PRAGMA integrity_check"));
  ASSERT_TRUE(check.step());
  EXPECT_EQ(check->text(0), "ok");
}

TEST_F(ProcessesTest, OneObjectServesManyThreads) {
  constexpr int count = 4, messages = 30;
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int n = 0; n < count; ++n) {
    threads.emplace_back([&] {
      for (int i = 0; i < messages; ++i) {
        MessageInfo saved;
        std::vector<Property> properties;
        if (saveMessage(*database, draftWith(top, u"m"), saved) != Status::Ok) ++failures;
        if (readMessageProperties(*database, saved.id, {}, properties) != Status::Ok) ++failures;
        if (properties.size() != 1) ++failures;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(folderNow(top).messageCount, static_cast<unsigned>(count * messages));
}

TEST_F(ProcessesTest, CreatingTheFileAtOnceMakesOneStore) {
  for (int round = 0; round < 5; ++round) {
    const std::wstring file = temp.file(L"at-once-" + std::to_wstring(round) + L".db");
    std::vector<std::thread> threads;
    std::vector<Id> stores(6);
    std::atomic<int> failures{0};
    for (auto& id : stores) {
      threads.emplace_back([&] {
        std::unique_ptr<Database> own;
        std::string error;
        StoreInfo info;
        if (Database::open(file, own, error) != Status::Ok || findPublicStore(*own, info) != Status::Ok) {
          ADD_FAILURE() << error;
          ++failures;
        }
        id = info.id;
      });
    }
    for (auto& thread : threads) thread.join();
    ASSERT_EQ(failures, 0);
    for (const Id& id : stores) EXPECT_EQ(id, stores[0]);
  }
}

TEST_F(ProcessesTest, WriterWaitsForAnother) {
  const auto other = openAnother();
  other->connection().execute("BEGIN IMMEDIATE");
  std::atomic<bool> isEnding{false};
  std::thread holder([&] {
    Sleep(300);
    isEnding = true;
    other->connection().execute("COMMIT");
  });
  makeFolder(u"after waiting");
  EXPECT_TRUE(isEnding) << "it did not wait";
  holder.join();
}

TEST_F(ProcessesTest, ReadersDoNotWaitForAWriter) {
  const auto other = openAnother();
  other->connection().execute("BEGIN IMMEDIATE");
  const auto start = GetTickCount64();
  EXPECT_TRUE(subjectsIn(top).empty());
  EXPECT_LT(GetTickCount64() - start, static_cast<ULONGLONG>(busyTimeout));
  other->connection().execute("COMMIT");
}

TEST_F(ProcessesTest, StreamingBlocksNobody) {
  const auto other = openAnother();
  const auto writer = writerWith(*other, pattern(contentBlockSize * 20));
  const auto start = GetTickCount64();
  save(draftWith(top, u"meanwhile"));
  EXPECT_LT(GetTickCount64() - start, static_cast<ULONGLONG>(busyTimeout));
  EXPECT_FALSE(writer->saved());
}

TEST_F(ProcessesTest, ForeverLockedStoreIsBusyAfterTheTimeout) {
  const auto other = openAnother();
  other->connection().execute("BEGIN IMMEDIATE");
  MessageInfo saved;
  const auto start = GetTickCount64();
  EXPECT_EQ(saveMessage(*database, draftWith(top, u"m"), saved), Status::Busy);
  const auto waited = GetTickCount64() - start;
  EXPECT_GE(waited, static_cast<ULONGLONG>(busyTimeout));
  EXPECT_LT(waited, static_cast<ULONGLONG>(busyTimeout) * 2);
  other->connection().execute("ROLLBACK");
  EXPECT_EQ(saveMessage(*database, draftWith(top, u"m"), saved), Status::Ok) << "the save can be repeated";
}

}  // namespace
}  // namespace fendrel::store
