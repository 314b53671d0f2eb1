// A snapshot, whatever others do meanwhile.
#include <atomic>
#include <thread>

#include "maintenance_fixture.h"

namespace fendrel::store {
namespace {

using testing::IsEmpty;

class BackupTest : public MaintenanceTest {
 protected:
  std::wstring copy() const { return temp.file(L"copy.db"); }

  Status statusOfBackup(const Watch& watch = {}) const {
    try {
      backupStore(path(), copy(), watch);
    } catch (const StatusFailure& failure) {
      return failure.status();
    }
    ADD_FAILURE() << "the backup succeeded";
    return Status::Failed;
  }

  std::vector<std::wstring> filesOfCopy() const {
    std::vector<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(temp.path())) {
      const std::wstring name = entry.path().filename().wstring();
      if (name.starts_with(L"copy.db")) names.push_back(name);
    }
    std::ranges::sort(names);
    return names;
  }

  void expectNothing() const { EXPECT_THAT(filesOfCopy(), IsEmpty()); }
};

TEST_F(BackupTest, CopyIsWholeAndOpens) {
  fill();
  const BackupResult result = backupStore(path(), copy(), {});
  EXPECT_EQ(result.messages, 3u);
  EXPECT_EQ(result.contentFiles, 1u);
  EXPECT_EQ(result.contentFileBytes, 300'001u);
  EXPECT_EQ(filesOfCopy(), (std::vector<std::wstring>{L"copy.db", L"copy.db.files"}));
  const CheckResult check = checkStore(copy(), {});
  EXPECT_THAT(check.damage, IsEmpty());
  EXPECT_EQ(check.messages, 3u);
  std::unique_ptr<Database> opened;
  std::string error;
  ASSERT_EQ(Database::openExisting(copy(), opened, error), Status::Ok) << error;
  MessageInfo saved;
  EXPECT_EQ(saveMessage(*opened, draftWith(reports, u"into the copy"), saved), Status::Ok);
}

TEST_F(BackupTest, ExistingFileOrFolderIsNotTouched) {
  fill();
  write(copy(), std::vector<std::byte>(3));
  EXPECT_EQ(statusOfBackup(), Status::AlreadyExists);
  EXPECT_EQ(read(copy()).size(), 3u);
  std::filesystem::remove(copy());
  std::filesystem::create_directory(copy() + L".files");
  write(copy() + L".files\\mine", std::vector<std::byte>(3));
  EXPECT_EQ(statusOfBackup(), Status::AlreadyExists);
  EXPECT_TRUE(std::filesystem::exists(copy() + L".files\\mine"));
}

TEST_F(BackupTest, DamagedStoreIsNotCopied) {
  fill();
  flip(onlyContentFile(), 10);
  EXPECT_EQ(statusOfBackup(), Status::Corrupt);
  expectNothing();
}

TEST_F(BackupTest, MissingContentFileIsNotCopied) {
  fill();
  std::filesystem::remove(onlyContentFile());
  EXPECT_EQ(statusOfBackup(), Status::Corrupt);
  expectNothing();
}

TEST_F(BackupTest, DamagedMessageIsNotCopied) {
  fill();
  spoil("UPDATE message_property SET value = 'smell' WHERE message = 1 AND id = 55");
  EXPECT_EQ(statusOfBackup(), Status::Corrupt);
  expectNothing();
}

TEST_F(BackupTest, DamagedPageIsNotCopied) {
  fill();
  const auto page = rootPage("message_property");
  close();
  flip(path(), (page - 1) * 8192);  // its kind
  EXPECT_EQ(statusOfBackup(), Status::Corrupt);
  expectNothing();
}

TEST_F(BackupTest, CancelledLeavesNothing) {
  fill();
  int asked = 0;
  EXPECT_EQ(statusOfBackup([&](std::uint64_t, std::uint64_t) { return ++asked < 3; }), Status::Cancelled);
  EXPECT_GE(asked, 3);
  expectNothing();
}

TEST_F(BackupTest, MissingFolderOfTheCopyIsAnError) {
  fill();
  EXPECT_THROW(backupStore(path(), temp.file(L"none\\copy.db"), {}), StatusFailure);
}

// Messages deleted between the passes are not in the copy, messages posted then are.
TEST_F(BackupTest, ChangesBetweenThePassesAreFollowed) {
  fill();
  const auto other = openAnother();
  std::vector<Id> ids;
  EXPECT_EQ(readMessageRows(*database, reports, MessageKind::Ordinary, {},
                            [&](MessageRow&& row) {
                              ids.push_back(row.message.id);
                              return true;
                            }),
            Status::Ok);
  bool isDone = false;
  const Watch meddle = [&](std::uint64_t, std::uint64_t) {
    if (isDone) return true;
    isDone = true;
    EXPECT_EQ(deleteMessage(*other, ids.back()), Status::Ok);
    MessageDraft draft = draftWith(reports, u"newer");
    auto& attachment = draft.attachments.emplace_back();
    attachment.contents = {{attachDataTag, writerWith(*other, pattern(200'000))}};
    MessageInfo saved;
    EXPECT_EQ(saveMessage(*other, draft, saved), Status::Ok);
    return true;
  };
  const BackupResult result = backupStore(path(), copy(), meddle);
  EXPECT_TRUE(isDone);
  EXPECT_EQ(result.messages, 3u);
  EXPECT_EQ(result.contentFiles, 1u);
  EXPECT_EQ(filesIn(copy() + L".files").size(), 1u);
  EXPECT_THAT(checkStore(copy(), {}).damage, IsEmpty());
}

// One connection posts, one deletes, like separate processes; copies are made meanwhile.
TEST_F(BackupTest, PostingAndDeletingMeanwhileHarmNoCopy) {
  reports = makeFolder(u"Reports");
  std::atomic<bool> stop{false};
  std::atomic<int> failures{0}, posted{0}, deleted{0};
  std::thread poster([&, own = openAnother()] {
    while (!stop) {
      MessageDraft draft = draftWith(reports, u"m");
      auto& attachment = draft.attachments.emplace_back();
      attachment.contents = {{attachDataTag, writerWith(*own, pattern(posted % 2 ? 150'000 : 3000))}};
      MessageInfo saved;
      saveMessage(*own, draft, saved) == Status::Ok ? ++posted : ++failures;
    }
  });
  std::thread deleter([&, own = openAnother()] {
    while (!stop) {
      std::vector<Id> ids;
      readMessageRows(*own, reports, MessageKind::Ordinary, {}, [&](MessageRow&& row) {
        ids.push_back(row.message.id);
        return ids.size() < 3;
      });
      if (ids.size() < 3) continue;
      deleteMessages(*own, ids) == Status::Ok ? ++deleted : ++failures;
    }
  });
  for (int round = 0; round < 5; ++round) {
    const std::wstring file = temp.file(L"copy" + std::to_wstring(round) + L".db");
    const BackupResult result = backupStore(path(), file, {});
    const CheckResult check = checkStore(file, {});
    EXPECT_THAT(check.damage, IsEmpty()) << "round " << round;
    EXPECT_EQ(check.messages, result.messages);
    EXPECT_EQ(check.leftoverFiles, 0u);
  }
  stop = true;
  poster.join();
  deleter.join();
  EXPECT_EQ(failures, 0);
  EXPECT_GT(posted, 0);
  std::printf("%d messages posted, %d deletions while five copies were made\n", posted.load(), deleted.load());
}

}  // namespace
}  // namespace fendrel::store
