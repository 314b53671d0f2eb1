// Each page of the database carries a checksum: what does not match it is never handed out.
#include "page_checksums.h"

#include <algorithm>
#include <fstream>

#include "connection.h"
#include "engine_fixture.h"
#include "migrations.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

class PageChecksumsTest : public EngineTest {
protected:
  // The bytes of a file that programs have open.
  static Bytes bytesOf(const std::wstring& file) {
    std::ifstream in(std::filesystem::path(file), std::ios::binary);
    Bytes bytes(static_cast<std::size_t>(std::filesystem::file_size(file)));
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
  }

  static void flip(const std::wstring& file, std::uint64_t at) {
    std::fstream stream(std::filesystem::path(file), std::ios::binary | std::ios::in | std::ios::out);
    stream.seekg(static_cast<std::streamoff>(at));
    const char changed = static_cast<char>(stream.get() ^ 0x40);
    stream.seekp(static_cast<std::streamoff>(at));
    stream.put(changed);
    ASSERT_TRUE(stream.good());
  }

  // Where these bytes are in the file.
  static std::uint64_t placeOf(const std::wstring& file, std::span<const std::byte> bytes) {
    const Bytes all = bytesOf(file);
    const auto found = std::ranges::search(all, bytes);
    EXPECT_FALSE(found.empty());
    return static_cast<std::uint64_t>(found.begin() - all.begin());
  }

  std::string integrity() {
    Query check(database->connection().statement("PRAGMA integrity_check"));
    EXPECT_TRUE(check.step());
    return std::string(check->text(0));
  }

  void checkpoint() { database->connection().execute("PRAGMA wal_checkpoint(TRUNCATE)"); }

  Status readSubject(const Guid& message, std::u16string& subject) {
    std::vector<Property> properties;
    const Status status = readMessageProperties(*database, message, {}, properties);
    if (status == Status::Ok) subject = std::get<std::u16string>(properties.at(0).value);
    return status;
  }

  // A store as programs before version 2 made it: without reserved bytes.
  void makeOldStore() {
    database.reset();
    for (const wchar_t* ending : {L"", L"-wal", L"-shm"}) std::filesystem::remove(path() + ending);
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open_v2(toUtf8(path()).c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr),
              SQLITE_OK);
    const std::string sql = "PRAGMA page_size = 16384; PRAGMA journal_mode = WAL; BEGIN;" +
                            std::string(schemaMigrations()[0].sql) +
                            "PRAGMA application_id = " + std::to_string(applicationId) +
                            "; PRAGMA user_version = 1; COMMIT;";
    EXPECT_EQ(sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(raw);
    sqlite3_close(raw);
  }
};

constexpr const char16_t* marker = u"a subject that is easily found";
std::span<const std::byte> markerBytes() {
  static constexpr char text[] = "a subject that is easily found";
  return std::as_bytes(std::span(text, sizeof text - 1));
}

TEST_F(PageChecksumsTest, EveryPageOfANewStoreHasOne) {
  for (int i = 0; i < 50; ++i) save(draftWithAttachment(top, pattern(20'000)));
  const PageReport report = readEveryPage(database->connection());
  EXPECT_TRUE(report.hasChecksums);
  EXPECT_GT(report.pages, 60u);
  EXPECT_TRUE(report.damaged.empty());
}

TEST_F(PageChecksumsTest, ChangedByteInAValueIsDamageAndTheReportNamesThePage) {
  const MessageInfo message = save(draftWith(top, marker));
  checkpoint();
  database.reset();
  const std::uint64_t place = placeOf(path(), markerBytes());
  flip(path(), place);
  reopen();
  std::u16string subject;
  EXPECT_EQ(readSubject(message.id, subject), Status::Corrupt);
  EXPECT_EQ(database->lastError(), "The store is damaged: a page does not match its checksum.");
  const PageReport report = readEveryPage(database->connection());
  EXPECT_EQ(report.damaged, std::vector<std::uint32_t>{static_cast<std::uint32_t>(place / databasePageSize + 1)});
}

TEST_F(PageChecksumsTest, PageInAnothersPlaceIsDamage) {
  for (int i = 0; i < 20; ++i) save(draftWithAttachment(top, pattern(60'000)));
  checkpoint();
  database.reset();
  const Bytes all = bytesOf(path());
  std::fstream stream(std::filesystem::path(path()), std::ios::binary | std::ios::in | std::ios::out);
  stream.seekp(40 * databasePageSize);
  stream.write(reinterpret_cast<const char*>(all.data()) + 41 * databasePageSize, databasePageSize);
  stream.close();
  reopen();
  EXPECT_EQ(readEveryPage(database->connection()).damaged, std::vector<std::uint32_t>{41});
}

// Page size, reserved bytes, tag, checksum: none of them switches the comparison off.
TEST_F(PageChecksumsTest, DamagedHeaderIsRefused) {
  save(draftWith(top, marker));
  checkpoint();
  database.reset();
  for (const std::uint64_t at : {16, 20, 21, 28, 60, 68, databasePageSize - 16, databasePageSize - 1}) {
    flip(path(), at);
    std::unique_ptr<Database> opened;
    std::string error;
    EXPECT_EQ(Database::open(path(), opened, error), Status::Corrupt) << "byte " << at << ": " << error;
    flip(path(), at);
  }
  reopen();
  EXPECT_EQ(subjectsIn(top).size(), 1u);
}

// SQLite itself compares the log's checksums only after a crash.
TEST_F(PageChecksumsTest, ChangedByteInTheLogIsDamage) {
  const MessageInfo message = save(draftWith(top, marker));
  const auto other = openAnother();
  flip(path() + L"-wal", placeOf(path() + L"-wal", markerBytes()));
  database.reset();
  database = openAnother();
  std::u16string subject;
  EXPECT_EQ(readSubject(message.id, subject), Status::Corrupt);
}

TEST_F(PageChecksumsTest, DamageInTheLogDoesNotGetIntoTheDatabase) {
  save(draftWith(top, marker));
  flip(path() + L"-wal", placeOf(path() + L"-wal", markerBytes()));
  EXPECT_EQ(sqlite3_wal_checkpoint_v2(database->connection().handle(), "main", SQLITE_CHECKPOINT_FULL, nullptr,
                                      nullptr),
            SQLITE_IOERR_DATA);
}

// More pages than the cache holds: they go to the log before the commit, some of them twice.
TEST_F(PageChecksumsTest, TransactionLongerThanTheCacheReadsItsOwnPages) {
  Connection& connection = database->connection();
  connection.execute("PRAGMA cache_size = 10");
  connection.execute("PRAGMA cache_spill = 10");
  MessageDraft draft = draftWith(top, u"many");
  for (std::uint32_t number = 0; number < 40; ++number) {
    auto& attachment = draft.attachments.emplace_back();
    attachment.number = number;
    attachment.contents = {{attachDataTag, writerWith(pattern(50'000, number))}};
  }
  const MessageInfo message = save(draft);
  Bytes found;
  for (std::uint32_t number = 0; number < 40; ++number) {
    ASSERT_EQ(readAll(message.id, number, attachDataTag, found), Status::Ok);
    EXPECT_TRUE(found == pattern(50'000, number));
  }
  EXPECT_EQ(integrity(), "ok");
  reopen();
  EXPECT_EQ(integrity(), "ok");
  EXPECT_TRUE(readEveryPage(database->connection()).damaged.empty());
}

TEST_F(PageChecksumsTest, DeletedAndReusedPagesMatch) {
  for (int round = 0; round < 3; ++round) {
    std::vector<Guid> messages;
    for (int i = 0; i < 20; ++i) messages.push_back(save(draftWithAttachment(top, pattern(70'000))).id);
    messages.resize(15);
    for (const Guid& message : messages) ASSERT_EQ(deleteMessage(*database, message), Status::Ok);
  }
  EXPECT_EQ(integrity(), "ok");
  const PageReport report = readEveryPage(database->connection());
  EXPECT_TRUE(report.damaged.empty());
  EXPECT_GT(report.pages, 50u);
}

TEST_F(PageChecksumsTest, RebuiltStoreAndItsCopyMatch) {
  for (int i = 0; i < 60; ++i) save(draftWithAttachment(top, pattern(70'000)));
  Connection& connection = database->connection();
  connection.execute("PRAGMA cache_size = 10");
  connection.execute("VACUUM");
  EXPECT_TRUE(readEveryPage(connection).damaged.empty());
  const std::wstring copy = temp.file(L"copy.db");
  connection.execute("VACUUM INTO '" + toUtf8(copy) + "'");
  Connection opened(copy, windowsDisk(), false);
  const PageReport report = readEveryPage(opened);
  EXPECT_TRUE(report.hasChecksums);
  EXPECT_GT(report.pages, 100u);
  EXPECT_TRUE(report.damaged.empty());
}

TEST_F(PageChecksumsTest, OldStoreOpensWithoutThemAndARebuildAddsThem) {
  makeOldStore();
  reopen();
  for (int i = 0; i < 20; ++i) save(draftWithAttachment(top, pattern(20'000)));
  EXPECT_FALSE(readEveryPage(database->connection()).hasChecksums);
  database->connection().execute("VACUUM");
  const PageReport report = readEveryPage(database->connection());
  EXPECT_TRUE(report.hasChecksums);
  EXPECT_TRUE(report.damaged.empty());
  reopen();
  EXPECT_EQ(subjectsIn(top).size(), 20u);
}

}  // namespace
}  // namespace fendrel::store
