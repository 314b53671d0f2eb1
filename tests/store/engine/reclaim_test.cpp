// What a process that died leaves behind is gone after a later opening; what is in use is not touched.
#include <windows.h>

#include <fstream>

#include "connection.h"
#include "content_spool.h"
#include "engine_fixture.h"

namespace fendrel::store {
namespace {

class ReclaimTest : public EngineTest {
protected:
  std::wstring spool(const std::wstring& file) const { return contentFolder() + L"\\tmp\\" + file; }

  void put(const std::wstring& file, std::chrono::minutes age) {
    std::filesystem::create_directories(contentFolder() + L"\\tmp");
    std::ofstream(std::filesystem::path(file)) << "left over";
    std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() - age);
  }

  // As a process that died without a chance to remove its mark.
  void putMark() { put(spool(L"dead.open"), std::chrono::minutes(0)); }
};

TEST_F(ReclaimTest, OldTemporaryFileOfADeadProcessGoes) {
  put(spool(L"dead.tmp"), std::chrono::minutes(90));
  reopen();
  EXPECT_TRUE(spoolFiles().empty());
}

TEST_F(ReclaimTest, YoungTemporaryFileStays) {
  put(spool(L"young.tmp"), std::chrono::minutes(5));
  reopen();
  EXPECT_EQ(spoolFiles().size(), 1u);
}

TEST_F(ReclaimTest, FilesInUseStay) {
  const auto other = openAnother();
  for (int i = 0; i < 4; ++i) {
    MessageDraft draft = draftWith(top, u"several, so that files wait to be used");
    draft.contents = {{attachDataTag, writerWith(*other, pattern(contentBlockSize * 2))}};
    MessageInfo saved;
    ASSERT_EQ(saveMessage(*other, draft, saved), Status::Ok) << other->lastError();
  }
  auto writer = writerWith(*other, pattern(contentBlockSize * 2));
  other->connection().readyFiles().settle();
  const std::size_t held = heldFiles();
  ASSERT_GT(held, 1u);
  database.reset();
  putMark();
  reopen();
  EXPECT_EQ(heldFiles(), held);
  EXPECT_EQ(contentFiles().size(), 4u);
  MessageDraft draft;
  draft.folder = top;
  draft.contents = {{attachDataTag, writer}};
  MessageInfo saved;
  EXPECT_EQ(saveMessage(*other, draft, saved), Status::Ok) << other->lastError();
}

TEST_F(ReclaimTest, UnreferencedContentFileGoesAfterACrash) {
  const MessageInfo message = save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  ASSERT_EQ(contentFiles().size(), 1u);
  database.reset();
  put(contentFolder() + L"\\0123456789abcdef0123456789abcdef.content", std::chrono::minutes(0));
  putMark();
  reopen();
  EXPECT_EQ(contentFiles().size(), 1u);
  EXPECT_TRUE(filesIn(contentFolder() + L"\\tmp").empty()) << "the mark goes too";
  Bytes found;
  EXPECT_EQ(readAll(message.id, 0, attachDataTag, found), Status::Ok) << "a referenced file stays";
}

TEST_F(ReclaimTest, UnfinishedStoreOfADeadProcessGoesWhenTheStoreIsCreated) {
  const std::wstring unfinished = temp.file(L"other.db-0123456789abcdef0123456789abcdef.new");
  put(unfinished, std::chrono::minutes(0));
  std::unique_ptr<Database> opened;
  std::string error;
  ASSERT_EQ(Database::open(temp.file(L"other.db"), opened, error), Status::Ok) << error;
  EXPECT_FALSE(std::filesystem::exists(unfinished));
}

TEST_F(ReclaimTest, ForeignFilesStay) {
  save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  put(contentFolder() + L"\\notes.txt", std::chrono::minutes(900));
  putMark();
  reopen();
  EXPECT_EQ(contentFiles().size(), 2u);
}

TEST_F(ReclaimTest, OrdinaryEndLeavesNoMark) {
  save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  EXPECT_EQ(filesIn(contentFolder() + L"\\tmp").size(), 1u) << "the mark of the living";
  database.reset();
  EXPECT_TRUE(filesIn(contentFolder() + L"\\tmp").empty());
}

TEST_F(ReclaimTest, OrdinaryEndLeavesNoFilesThatWait) {
  for (int i = 0; i < 5; ++i) save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  database->connection().readyFiles().settle();
  EXPECT_GT(heldFiles(), 0u);
  database.reset();
  EXPECT_EQ(filesIn(contentFolder()).size(), 5u);
}

TEST_F(ReclaimTest, MarkOfTheLivingStays) {
  save(draftWithAttachment(top, pattern(contentBlockSize * 2)));
  const auto other = openAnother();
  EXPECT_EQ(filesIn(contentFolder() + L"\\tmp").size(), 1u);
}

}  // namespace
}  // namespace fendrel::store
