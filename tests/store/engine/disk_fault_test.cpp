// Disk failures in the middle of a save.
#include <algorithm>
#include <functional>

#include "connection.h"
#include "database_on_disk.h"
#include "engine_error.h"
#include "engine_fixture.h"

namespace fendrel::store {
namespace {

// The machine's disk, with the nth call of a kind failing.
class FaultyDisk final : public Disk {
 public:
  enum Call { None, Create, Write, Flush, Rename, FlushFolder };

  void failNext(Call call, Status status, int after = 0) {
    call_ = call;
    status_ = status;
    countdown_ = after;
  }

  void reach(Call call) {
    calls.push_back(call);
    if (onCall) onCall(call);
    if (call == call_ && countdown_-- == 0) fail(status_, "The test's disk refuses.");
  }

  std::unique_ptr<DiskFile> create(const std::wstring& path) override {
    reach(Create);
    return std::make_unique<File>(*this, windowsDisk().create(path));
  }
  std::unique_ptr<DiskFile> openAlone(const std::wstring& path) override { return windowsDisk().openAlone(path); }
  std::unique_ptr<DiskFile> open(const std::wstring& path) override { return windowsDisk().open(path); }
  bool remove(const std::wstring& path) override { return windowsDisk().remove(path); }
  bool exists(const std::wstring& path) override { return windowsDisk().exists(path); }
  bool isAbandoned(const std::wstring& path) override { return windowsDisk().isAbandoned(path); }
  void createPrivateFile(const std::wstring& path) override { windowsDisk().createPrivateFile(path); }
  void createFolder(const std::wstring& path, bool isPrivate) override { windowsDisk().createFolder(path, isPrivate); }
  void removeFolder(const std::wstring& path) override { windowsDisk().removeFolder(path); }
  std::vector<Entry> list(const std::wstring& folder) override { return windowsDisk().list(folder); }
  void flushFolder(const std::wstring& folder) override {
    reach(FlushFolder);
    windowsDisk().flushFolder(folder);
  }
  const char* sqliteLayer() override { return windowsDisk().sqliteLayer(); }

  std::vector<Call> calls;
  std::function<void(Call)> onCall;

 private:
  class File final : public DiskFile {
   public:
    File(FaultyDisk& disk, std::unique_ptr<DiskFile> file) : disk_(disk), file_(std::move(file)) {}
    void write(std::uint64_t position, std::span<const std::byte> bytes) override {
      disk_.reach(Write);
      file_->write(position, bytes);
    }
    std::size_t read(std::uint64_t position, std::span<std::byte> into) override { return file_->read(position, into); }
    std::uint64_t size() override { return file_->size(); }
    void resize(std::uint64_t size) override { file_->resize(size); }
    void flush() override {
      disk_.reach(Flush);
      file_->flush();
    }
    void rename(const std::wstring& path) override {
      disk_.reach(Rename);
      file_->rename(path);
    }

   private:
    FaultyDisk& disk_;
    std::unique_ptr<DiskFile> file_;
  };

  Call call_ = None;
  Status status_ = Status::Ok;
  int countdown_ = 0;
};

class DiskFaultTest : public EngineTest {
 protected:
  DiskFaultTest() {
    database.reset();
    std::string error;
    EXPECT_EQ(openOnDisk(path(), disk, true, database, error), Status::Ok) << error;
  }
  ~DiskFaultTest() override { database.reset(); }
  FaultyDisk disk;
};

struct FaultCase {
  const char* name;
  FaultyDisk::Call call;
  Status status;
  int after;
};

class EachFaultTest : public DiskFaultTest, public testing::WithParamInterface<FaultCase> {};

TEST_P(EachFaultTest, SaveFailsLeavesNothingAndCanBeRepeated) {
  const Bytes bytes = pattern(contentBlockSize * 4);
  MessageDraft draft = draftWithAttachment(top, bytes);
  auto& second = draft.attachments.emplace_back();
  second.number = 1;
  second.contents = {{attachDataTag, writerWith(pattern(contentBlockSize * 2))}};
  disk.failNext(GetParam().call, GetParam().status, GetParam().after);
  MessageInfo saved;
  EXPECT_EQ(saveMessage(*database, draft, saved), GetParam().status);
  EXPECT_EQ(database->lastError(), "The test's disk refuses.");
  EXPECT_EQ(folderNow(top).messageCount, 0u);

  saved = save(draft);
  Bytes found;
  ASSERT_EQ(readAll(saved.id, 0, attachDataTag, found), Status::Ok);
  EXPECT_TRUE(found == bytes);
  EXPECT_EQ(contentFiles().size(), 2u);
  EXPECT_TRUE(spoolFiles().empty());
}

TEST_P(EachFaultTest, DroppedDraftOfAFailedSaveLeavesNoFile) {
  {
    const MessageDraft draft = draftWithAttachment(top, pattern(contentBlockSize * 2));
    disk.failNext(GetParam().call, GetParam().status);
    MessageInfo saved;
    EXPECT_EQ(saveMessage(*database, draft, saved), GetParam().status);
  }
  EXPECT_TRUE(filesIn(contentFolder()).empty());
  EXPECT_TRUE(spoolFiles().empty());
}

INSTANTIATE_TEST_SUITE_P(Faults, EachFaultTest,
                         testing::Values(FaultCase{"LastWriteDiskFull", FaultyDisk::Write, Status::NotEnoughDisk, 0},
                                         FaultCase{"FirstFlush", FaultyDisk::Flush, Status::Failed, 0},
                                         FaultCase{"SecondFlush", FaultyDisk::Flush, Status::NotEnoughDisk, 1},
                                         FaultCase{"FirstName", FaultyDisk::Rename, Status::Failed, 0},
                                         FaultCase{"SecondName", FaultyDisk::Rename, Status::NotEnoughDisk, 1},
                                         FaultCase{"FlushOfTheNames", FaultyDisk::FlushFolder, Status::Failed, 0}),
                         [](const auto& test) { return test.param.name; });

TEST_F(DiskFaultTest, FullDiskWhileStreamingKeepsWhatWasWritten) {
  const Bytes bytes = pattern(contentBlockSize * 2);
  auto writer = writerWith(bytes);
  disk.failNext(FaultyDisk::Write, Status::NotEnoughDisk);
  EXPECT_EQ(writer->write(bytes.size(), bytes), Status::NotEnoughDisk);
  EXPECT_EQ(writer->size(), bytes.size());
  Bytes found(bytes.size());
  std::size_t count = 0;
  ASSERT_EQ(writer->read(0, found, count), Status::Ok);
  EXPECT_TRUE(found == bytes);
}

TEST_F(DiskFaultTest, RefusedFileFailsTheWriteAndLeavesTheContentUsable) {
  auto writer = writerWith(pattern(contentBlockSize));
  disk.failNext(FaultyDisk::Create, Status::NoAccess);
  const Bytes byte(1);
  EXPECT_EQ(writer->write(contentBlockSize, byte), Status::NoAccess);
  EXPECT_EQ(writer->size(), contentBlockSize);
  EXPECT_EQ(writer->write(contentBlockSize, byte), Status::Ok);
}

// SQLite is told that its file may not grow, which it reports as a full disk.
TEST_F(DiskFaultTest, FullDiskUnderTheDatabaseLeavesNothingAndCanBeRepeated) {
  Connection& connection = database->connection();
  connection.execute("PRAGMA max_page_count = 1");  // becomes the file's current size
  MessageDraft draft = draftWithAttachment(top, pattern(contentBlockSize * 2));
  for (std::uint32_t number = 1; number <= 5; ++number) {
    auto& attachment = draft.attachments.emplace_back();
    attachment.number = number;
    attachment.contents = {{attachDataTag, writerWith(pattern(contentBlockSize, number))}};
  }
  MessageInfo saved;
  ASSERT_EQ(saveMessage(*database, draft, saved), Status::NotEnoughDisk) << database->lastError();
  EXPECT_EQ(folderNow(top).messageCount, 0u);

  connection.execute("PRAGMA max_page_count = 1000000");
  saved = save(draft);
  Bytes found;
  ASSERT_EQ(readAll(saved.id, 0, attachDataTag, found), Status::Ok);
  EXPECT_TRUE(found == pattern(contentBlockSize * 2));
  ASSERT_EQ(readAll(saved.id, 5, attachDataTag, found), Status::Ok);
  EXPECT_TRUE(found == pattern(contentBlockSize, 5));
}

// Flush, name, commit: before its bytes are on the disk a file has no name, and before its name is, there is no message.
TEST_F(DiskFaultTest, FileIsFlushedAndNamedBeforeTheMessageAppears) {
  const MessageDraft draft = draftWithAttachment(top, pattern(contentBlockSize * 2));
  disk.calls.clear();
  const auto other = openAnother();
  std::vector<FaultyDisk::Call> looked;
  disk.onCall = [&](FaultyDisk::Call call) {
    looked.push_back(call);
    FolderInfo info;
    ASSERT_EQ(findFolder(*other, top, info), Status::Ok);
    EXPECT_EQ(info.messageCount, 0u);
    EXPECT_EQ(spoolFiles().size(), call == FaultyDisk::FlushFolder ? 0u : 1u);
    EXPECT_EQ(filesIn(contentFolder()).size(), call == FaultyDisk::FlushFolder ? 1u : 0u);
  };
  save(draft);
  EXPECT_EQ(looked, (std::vector{FaultyDisk::Write, FaultyDisk::Flush, FaultyDisk::Rename, FaultyDisk::FlushFolder}));
  EXPECT_EQ(contentFiles().size(), 1u);
}

TEST_F(DiskFaultTest, EveryByteOfALargeContentIsWrittenOnce) {
  auto writer = createContent(*database);
  disk.calls.clear();
  const Bytes piece = pattern(4096);
  constexpr int blocks = 8;
  for (std::size_t done = 0; done < contentBlockSize * blocks; done += piece.size()) {
    ASSERT_EQ(writer->write(done, piece), Status::Ok);
  }
  MessageDraft draft = draftWith(top, u"s");
  draft.contents = {{attachDataTag, writer}};
  save(draft);
  EXPECT_EQ(std::ranges::count(disk.calls, FaultyDisk::Write), blocks);
}

}  // namespace
}  // namespace fendrel::store
