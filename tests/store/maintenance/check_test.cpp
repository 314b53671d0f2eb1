// Damage is found and reported, never a crash.
#include "maintenance_fixture.h"
#include "page_map.h"

namespace fendrel::store {
namespace {

using testing::Contains;
using testing::IsEmpty;

class CheckTest : public MaintenanceTest {};

TEST_F(CheckTest, WholeStoreHasNoFindings) {
  fill();
  const CheckResult result = checked();
  EXPECT_THAT(result.damage, IsEmpty());
  EXPECT_EQ(result.messages, 3u);
  EXPECT_EQ(result.attachments, 2u);
  EXPECT_EQ(result.contentBytes, 340'001u);
  EXPECT_EQ(result.folders, 5u);
  EXPECT_EQ(result.leftoverFiles, 0u);
}

TEST_F(CheckTest, ChangesNothing) {
  fill();
  close();
  const auto before = read(path());
  const auto files = filesIn(temp.path());
  checked();
  EXPECT_EQ(read(path()), before);
  EXPECT_THAT(filesIn(temp.path()), testing::UnorderedElementsAreArray(files));
}

TEST_F(CheckTest, MessagesOfTheLogAreRead) {
  fill();  // no checkpoint yet
  EXPECT_EQ(checked().messages, 3u);
  database.reset();
  EXPECT_EQ(checked().messages, 3u);
}

TEST_F(CheckTest, MissingContentFileIsNamedWithItsMessage) {
  fill();
  std::filesystem::remove(onlyContentFile());
  const CheckResult result = checked();
  ASSERT_EQ(result.damage.size(), 1u);
  EXPECT_THAT(result.damage[0], IsFinding("large", "large.pdf", "is missing"));
  EXPECT_EQ(result.damage[0].folder, "Public Folders@Reports");
}

TEST_F(CheckTest, ShortenedContentFileIsNamed) {
  fill();
  std::filesystem::resize_file(onlyContentFile(), 300'000);
  EXPECT_THAT(checked().damage,
              testing::ElementsAre(IsFinding("large", "large.pdf", "300000 bytes instead of 300001")));
}

TEST_F(CheckTest, FlippedBitOfAContentFileIsNamed) {
  fill();
  flip(onlyContentFile(), 200'000);
  EXPECT_THAT(checked().damage, testing::ElementsAre(IsFinding("large", "large.pdf", "from byte 131072 on")));
}

TEST_F(CheckTest, ChangedContentInTheDatabaseIsNamed) {
  fill();
  spoil("UPDATE content SET data = zeroblob(size) WHERE data IS NOT NULL");
  EXPECT_THAT(checked().damage, testing::ElementsAre(IsFinding("middle", "middle.pdf", "does not match its checksum")));
}

TEST_F(CheckTest, MissingContentRowIsNamed) {
  fill();
  spoil("DELETE FROM content WHERE data IS NOT NULL");
  EXPECT_THAT(checked().damage, Contains(IsFinding("middle", "middle.pdf", "missing in the database")));
}

TEST_F(CheckTest, LeftOverFileIsNoDamage) {
  fill();
  write(contentFolder() + L"\\0123.content", std::vector<std::byte>(77));
  const CheckResult result = checked();
  EXPECT_THAT(result.damage, IsEmpty());
  EXPECT_EQ(result.leftoverFiles, 1u);
  EXPECT_EQ(result.leftoverBytes, 77u);
}

TEST_F(CheckTest, WrongCountOfAFolderIsFound) {
  fill();
  spoil("UPDATE folder SET message_count = 9 WHERE name = 'Reports'");
  const CheckResult result = checked();
  ASSERT_EQ(result.damage.size(), 1u);
  EXPECT_EQ(result.damage[0].folder, "Public Folders@Reports");
  EXPECT_THAT(result.damage[0], Says("counts"));
}

TEST_F(CheckTest, WrongSizeOfAMessageIsFound) {
  fill();
  spoil("UPDATE message SET size = size + 1 WHERE id = 2");
  EXPECT_THAT(checked().damage, testing::ElementsAre(IsFinding("middle", "", "size")));
}

TEST_F(CheckTest, LostPropertyIsFoundByTheSize) {
  fill();
  spoil("DELETE FROM message_property WHERE message = 1 AND id = 26");
  EXPECT_THAT(checked().damage, testing::ElementsAre(IsFinding("small", "", "size")));
}

TEST_F(CheckTest, ValueThatDoesNotFitItsTypeIsFound) {
  fill();
  spoil("UPDATE message_property SET value = 'x' WHERE message = 1 AND id = 3592");
  EXPECT_THAT(checked().damage, testing::ElementsAre(IsFinding("small", "", "0x0E08")));
}

TEST_F(CheckTest, TextThatIsNoUtf8IsFound) {
  fill();
  spoil("UPDATE message_property SET value = CAST(x'C328' AS TEXT) WHERE message = 1 AND id = 26");
  EXPECT_THAT(checked().damage, Contains(IsFinding("small", "", "0x001A")));
}

TEST_F(CheckTest, AttachmentWithoutARowIsFound) {
  fill();
  spoil("DROP TRIGGER attachment_deleted; DELETE FROM attachment WHERE message = 2");
  EXPECT_THAT(checked().damage, Contains(IsFinding("middle", "middle.pdf", "no row in the table of attachments")));
}

TEST_F(CheckTest, MessageOfAMissingFolderIsFound) {
  fill();
  spoil("UPDATE message SET folder = 4711 WHERE id = 1");
  EXPECT_THAT(checked().damage, Contains(IsFinding("small", "", "folder is missing")));
}

TEST_F(CheckTest, CircleOfFoldersIsFound) {
  const Id outer = makeFolder(u"outer");
  makeFolder(outer, u"inner");
  spoil("UPDATE folder SET parent = (SELECT id FROM folder WHERE name = 'inner') WHERE name = 'outer'");
  EXPECT_THAT(checked().damage, Contains(Says("not connected to the root")));
}

TEST_F(CheckTest, SharedContentIsFound) {
  fill();
  spoil("UPDATE message_property SET content = (SELECT min(content) FROM message_property) WHERE content IS NOT NULL");
  EXPECT_THAT(checked().damage, Contains(Says("share one content")));
}

TEST_F(CheckTest, ContentOfNoMessageIsFound) {
  fill();
  spoil("INSERT INTO content (size, checksums, data) VALUES (0, x'', x'')");
  EXPECT_THAT(checked().damage, testing::ElementsAre(Says("belong to no message")));
}

TEST_F(CheckTest, SubjectsOfAProtectedMailboxAreNotShown) {
  fill();
  Profile profile;
  profile.name = profile.userName = u"jane";
  profile.password = {Bytes(16), 1, Bytes(32)};
  ASSERT_EQ(createProfile(*database, profile), Status::Ok);
  StoreInfo mailbox;
  ASSERT_EQ(findStore(*database, profile.mailbox, mailbox), Status::Ok);
  save(draftWith(mailbox.inbox, u"secret", 300'000));
  for (const auto& file : contentFiles()) std::filesystem::remove(contentFolder() + L"\\" + file);
  const CheckResult result = checked();
  EXPECT_THAT(result.damage, Contains(IsFinding("large", "large.pdf", "missing")));
  EXPECT_THAT(result.damage, Contains(IsFinding("message number 4", "one of its attachments", "missing")));
}

TEST_F(CheckTest, NoStoreIsNoStore) {
  write(temp.file(L"other"), std::vector<std::byte>(5000, std::byte{65}));
  EXPECT_THROW(checkStore(temp.file(L"other"), {}), StatusFailure);
  EXPECT_THROW(checkStore(temp.file(L"none"), {}), StatusFailure);
  write(temp.file(L"empty"), {});
  EXPECT_THROW(checkStore(temp.file(L"empty"), {}), StatusFailure);
}

TEST_F(CheckTest, NewerStoreIsRefused) {
  database->connection().execute("PRAGMA user_version = 999");
  try {
    checked();
    FAIL();
  } catch (const StatusFailure& failure) {
    EXPECT_EQ(failure.status(), Status::NewerVersion);
  }
}

TEST_F(CheckTest, WatchCancels) {
  fill();
  try {
    checkStore(path(), [](std::uint64_t, std::uint64_t) { return false; });
    FAIL();
  } catch (const StatusFailure& failure) {
    EXPECT_EQ(failure.status(), Status::Cancelled);
  }
}

TEST_F(CheckTest, ChangedValueIsFoundByTheChecksum) {
  fill();
  spoil("UPDATE message_property SET value = 'smell' WHERE message = 1 AND id = 55");
  EXPECT_THAT(checked().damage, testing::ElementsAre(IsFinding("smell", "", "does not match its checksum")));
}

TEST_F(CheckTest, MessageWithoutAChecksumIsNoDamage) {
  fill();
  spoil("UPDATE message SET checksum = NULL");
  EXPECT_THAT(checked().damage, IsEmpty());
}

// Another program reads, rebuilds, and checkpoints when it closes: pages written by others are normal.
TEST_F(CheckTest, StoreThatAnotherProgramWroteToIsWhole) {
  fill();
  for (const char* sql : {"SELECT count(*) FROM message", "PRAGMA wal_checkpoint(TRUNCATE)", "VACUUM"}) {
    save(draftWith(reports, u"more"));
    crash();
    sqlite3* stock = nullptr;
    ASSERT_EQ(sqlite3_open_v2(toUtf8(path()).c_str(), &stock, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(stock, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(stock);
    EXPECT_EQ(sqlite3_close(stock), SQLITE_OK);
    EXPECT_THAT(checked().damage, IsEmpty()) << sql;
    reopen();
    EXPECT_THAT(checked().damage, IsEmpty()) << sql;
  }
  EXPECT_EQ(subjectsIn(reports).size(), 6u);
}

// A flipped bit in the data of a message is found; elsewhere it changes no message.
TEST_F(CheckTest, FlippedBitOfAnyPageLeavesNoMessageSilentlyChanged) {
  fill();
  for (int i = 0; i < 60; ++i) save(draftWith(reports, u"many", 2000));
  const auto described = describeMessages(database->connection());
  close();
  const auto whole = read(path());
  const std::size_t pages = checked().pages;
  ASSERT_GT(pages, 15u);
  std::size_t found = 0, unchanged = 0;
  for (std::size_t page = 0; page < pages; ++page) {
    auto bytes = whole;
    bytes[page * 8192 + (page * 7919 + 150) % 8192] ^= std::byte{4};
    write(path(), bytes);
    try {
      if (!checked().damage.empty()) {
        ++found;
        continue;
      }
    } catch (const StatusFailure& failure) {
      EXPECT_EQ(failure.status(), Status::Corrupt) << failure.what();
      ++found;
      continue;
    }
    ++unchanged;
    EXPECT_EQ(describeMessages(path()), described) << "page " << page + 1;
  }
  std::printf("%zu of %zu found, %zu changed nothing\n", found, pages, unchanged);
  EXPECT_GT(found, 0u);
}

}  // namespace
}  // namespace fendrel::store
