#include <sqlite3.h>
#include <windows.h>

#include <aclapi.h>

#include <cstring>
#include <fstream>

#include "connection.h"
#include "database_on_disk.h"
#include "engine_fixture.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

using DatabaseTest = EngineTest;

std::int64_t pragmaOf(const std::wstring& path, const char* sql) {
  sqlite3* raw = nullptr;
  EXPECT_EQ(sqlite3_open_v2(toUtf8(path).c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
  sqlite3_stmt* statement = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(raw, sql, -1, &statement, nullptr), SQLITE_OK);
  EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
  const std::int64_t value = sqlite3_column_int64(statement, 0);
  sqlite3_finalize(statement);
  sqlite3_close(raw);
  return value;
}

TEST_F(DatabaseTest, NewFileHasItsPageSizeWalApplicationIdAndVersion) {
  database.reset();
  EXPECT_EQ(pragmaOf(path(), "PRAGMA page_size"), 8192);
  EXPECT_EQ(pragmaOf(path(), "PRAGMA application_id"), 0x466E646C);
  EXPECT_EQ(pragmaOf(path(), "PRAGMA user_version"), 5);
  EXPECT_EQ(pragmaOf(path(), "SELECT count(*) FROM pragma_journal_mode WHERE journal_mode = 'wal'"), 1);
}

TEST_F(DatabaseTest, MissingFoldersAreCreated) {
  std::unique_ptr<Database> deep;
  std::string error;
  EXPECT_EQ(Database::open(temp.file(L"a\\b\\c\\store.db"), deep, error), Status::Ok) << error;
}

TEST_F(DatabaseTest, NamesOutsideOfTheCodePageWork) {
  std::unique_ptr<Database> opened;
  std::string error;
  const std::wstring name = temp.file(L"\x5831\x544A \xD83D\xDCC1.db");
  EXPECT_EQ(Database::open(name, opened, error), Status::Ok) << error;
  EXPECT_TRUE(std::filesystem::exists(name));
}

TEST_F(DatabaseTest, PathsLongerThanTheOldLimitWork) {
  std::wstring folder = temp.path().wstring();
  for (int i = 0; i < 6; ++i) folder += L"\\" + std::wstring(60, L'x');
  std::unique_ptr<Database> opened;
  std::string error;
  ASSERT_EQ(Database::open(folder + L"\\store.db", opened, error), Status::Ok) << error;
  StoreInfo store;
  ASSERT_EQ(findPublicStore(*opened, store), Status::Ok);
  MessageDraft draft;
  draft.folder = store.ipmSubtree;
  draft.contents = {{bodyTag, writerWith(*opened, pattern(contentBlockSize * 2))}};
  MessageInfo saved;
  EXPECT_EQ(saveMessage(*opened, draft, saved), Status::Ok) << opened->lastError();
}

TEST_F(DatabaseTest, OpenExistingCreatesNothing) {
  std::unique_ptr<Database> opened;
  std::string error;
  const std::wstring missing = temp.file(L"missing.db");
  EXPECT_EQ(Database::openExisting(missing, opened, error), Status::NotFound);
  EXPECT_FALSE(opened);
  EXPECT_NE(error.find("missing.db"), std::string::npos) << error;
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(DatabaseTest, FileOfAnotherKindIsRefusedAndLeftAlone) {
  const std::wstring other = temp.file(L"letter.txt");
  const std::string text(5000, 'x');
  std::ofstream(std::filesystem::path(other)) << text;
  std::unique_ptr<Database> opened;
  std::string error;
  EXPECT_EQ(Database::open(other, opened, error), Status::Corrupt);
  EXPECT_EQ(std::filesystem::file_size(other), text.size());
}

TEST_F(DatabaseTest, DatabaseOfAnotherProgramIsRefusedAndLeftAlone) {
  const std::wstring other = temp.file(L"other.db");
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open_v2(toUtf8(other).c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr),
            SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(raw, "CREATE TABLE theirs (x)", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(raw);
  std::unique_ptr<Database> opened;
  std::string error;
  EXPECT_EQ(Database::open(other, opened, error), Status::Corrupt);
  EXPECT_NE(error.find("another program"), std::string::npos) << error;
  EXPECT_EQ(pragmaOf(other, "SELECT count(*) FROM sqlite_schema"), 1);
  EXPECT_EQ(pragmaOf(other, "SELECT count(*) FROM pragma_journal_mode WHERE journal_mode = 'wal'"), 0);
}

class DatabaseReadOnlyFile : public DatabaseTest {};

TEST_F(DatabaseReadOnlyFile, IsNoAccess) {
  database.reset();
  ASSERT_TRUE(SetFileAttributesW(path().c_str(), FILE_ATTRIBUTE_READONLY));
  std::unique_ptr<Database> opened;
  std::string error;
  const Status status = Database::open(path(), opened, error);
  SetFileAttributesW(path().c_str(), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(status, Status::NoAccess) << error;
}

TEST_F(DatabaseTest, FolderInPlaceOfTheFileIsRefused) {
  std::unique_ptr<Database> opened;
  std::string error;
  EXPECT_NE(Database::open(temp.path().wstring(), opened, error), Status::Ok);
  EXPECT_FALSE(opened);
  EXPECT_FALSE(error.empty());
}

TEST_F(DatabaseTest, FileInPlaceOfAFolderIsRefused) {
  std::unique_ptr<Database> opened;
  std::string error;
  EXPECT_NE(Database::open(path() + L"\\below.db", opened, error), Status::Ok);
  EXPECT_FALSE(error.empty());
}

// True if other users of the machine can neither read nor write the file. (Where the file system has modes instead of
// access lists, the owner's group may be let in.)
bool isClosedToOthers(const std::wstring& file) {
  PACL acl = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetNamedSecurityInfoW(file.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &acl, nullptr,
                            &descriptor) != ERROR_SUCCESS) {
    return false;
  }
  bool closed = acl != nullptr;
  for (DWORD i = 0; closed && i < acl->AceCount; ++i) {
    ACCESS_ALLOWED_ACE* entry = nullptr;
    GetAce(acl, i, reinterpret_cast<void**>(&entry));
    constexpr ACCESS_MASK readOrWrite = FILE_READ_DATA | FILE_WRITE_DATA;
    if (entry->Header.AceType != ACCESS_ALLOWED_ACE_TYPE || (entry->Mask & readOrWrite) == 0) continue;
    PSID who = &entry->SidStart;
    closed = !IsWellKnownSid(who, WinWorldSid) && !IsWellKnownSid(who, WinBuiltinUsersSid) &&
             !IsWellKnownSid(who, WinAuthenticatedUserSid);
  }
  LocalFree(descriptor);
  return closed;
}

TEST_F(DatabaseTest, NewStoreIsItsOwnersAlone) {
  save(draftWithAttachment(top, pattern(contentBlockSize + 1)));
  EXPECT_TRUE(isClosedToOthers(path()));
  EXPECT_TRUE(isClosedToOthers(path() + L"-wal"));
  EXPECT_TRUE(isClosedToOthers(path() + L"-shm"));
  EXPECT_TRUE(isClosedToOthers(contentFolder()));
  std::ofstream(std::filesystem::path(temp.file(L"open.txt"))) << "x";
  EXPECT_FALSE(isClosedToOthers(temp.file(L"open.txt"))) << "the check must be able to fail";
}

class RemoteDiskTest : public EngineTest {
 protected:
  ~RemoteDiskTest() override { SetEnvironmentVariableW(L"FENDREL_ALLOW_NETWORK_STORE", nullptr); }

  static Status open(const std::wstring& path, std::string& error) {
    std::unique_ptr<Database> opened;
    return Database::openExisting(path, opened, error);
  }
};

TEST_F(RemoteDiskTest, StoreOnANetworkDriveIsRefusedWithWordsUnlessItIsAllowed) {
  for (const wchar_t* path :
       {L"\\\\nowhere.invalid\\share\\store.db", L"\\\\?\\UNC\\nowhere.invalid\\share\\store.db"}) {
    std::string error;
    EXPECT_EQ(open(path, error), Status::OnNetwork) << error;
    EXPECT_NE(error.find("network drive"), std::string::npos) << error;
    EXPECT_NE(error.find("FENDREL_ALLOW_NETWORK_STORE=1"), std::string::npos) << error;
  }
  SetEnvironmentVariableW(L"FENDREL_ALLOW_NETWORK_STORE", L"1");
  std::string error;
  EXPECT_EQ(open(L"\\\\nowhere.invalid\\share\\store.db", error), Status::NotFound) << error;
}

TEST_F(DatabaseTest, ChangeCounterTellsOwnAndOthersChanges) {
  const auto other = openAnother();
  std::uint64_t first = 0, second = 0, third = 0, again = 0;
  ASSERT_EQ(database->changeCounter(first), Status::Ok);
  makeFolder(u"own");
  ASSERT_EQ(database->changeCounter(second), Status::Ok);
  FolderInfo folder;
  ASSERT_EQ(createFolder(*other, top, u"other", {}, IfExists::Refuse, folder), Status::Ok);
  ASSERT_EQ(database->changeCounter(third), Status::Ok);
  ASSERT_EQ(database->changeCounter(again), Status::Ok);
  EXPECT_LT(first, second);
  EXPECT_LT(second, third);
  EXPECT_EQ(third, again);
}

// SQLite does that at each use if the plan depends on a bound value, which takes longer than the statement itself.
TEST_F(DatabaseTest, StatementsAreNotPreparedAnewForOtherValues) {
  const Id folder = makeFolder(u"Reports");
  const auto useAll = [&] {
    const MessageInfo saved = save(draftWithAttachment(folder, pattern(1000)));
    MessageInfo found;
    EXPECT_EQ(findMessage(*database, saved.id, found), Status::Ok);
    folderNow(folder);
    propertiesOf(saved.id);
    EXPECT_EQ(readMessageRows(*database, folder, MessageKind::Ordinary, {}, [](MessageRow) { return true; }),
              Status::Ok);
  };
  sqlite3* sqlite = database->connection().handle();
  const auto forEach = [&](auto&& look) {
    for (sqlite3_stmt* each = sqlite3_next_stmt(sqlite, nullptr); each; each = sqlite3_next_stmt(sqlite, each))
      look(each);
  };
  useAll();
  forEach([](sqlite3_stmt* each) { sqlite3_stmt_status(each, SQLITE_STMTSTATUS_REPREPARE, true); });
  useAll();
  forEach([](sqlite3_stmt* each) {
    EXPECT_EQ(sqlite3_stmt_status(each, SQLITE_STMTSTATUS_REPREPARE, false), 0) << sqlite3_sql(each);
  });
}

TEST(Identifiers, AreDifferentAndGrow) {
  Guid last = newGuid();
  for (int i = 0; i < 1000; ++i) {
    const Guid next = newGuid();
    ASSERT_LE(std::memcmp(last.bytes, next.bytes, 8), 0) << "round " << i;
    ASSERT_NE(last, next);
    last = next;
  }
}

}  // namespace
}  // namespace fendrel::store
