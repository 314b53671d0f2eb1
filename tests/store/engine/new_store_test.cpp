// Creating a store: existing files neither get into it nor are harmed.
#include <fstream>

#include "connection.h"
#include "engine_fixture.h"

namespace fendrel::store {
namespace {

class NewStoreTest : public EngineTest {
 protected:
  static std::string read(const std::wstring& file) {
    std::ifstream stream(std::filesystem::path(file), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  static void write(const std::wstring& file, const std::string& bytes) {
    std::ofstream(std::filesystem::path(file), std::ios::binary) << bytes;
  }
};

// Left by a killed program, after someone deleted the store but not the files beside it.
TEST_F(NewStoreTest, LogOfADeletedStoreIsNotReadIntoIt) {
  save(draftWith(top, u"of the old store"));
  const std::string log = read(path() + L"-wal");
  ASSERT_GT(log.size(), 8192u);
  database.reset();
  std::filesystem::remove(path());
  write(path() + L"-wal", log);
  reopen();
  EXPECT_TRUE(subjectsIn(top).empty());
  save(draftWith(top, u"of the new one"));
  reopen();
  EXPECT_EQ(subjectsIn(top), std::vector<std::u16string>{u"of the new one"});
  Query check(database->connection().statement("PRAGMA integrity_check"));
  ASSERT_TRUE(check.step());
  EXPECT_EQ(check->text(0), "ok");
}

TEST_F(NewStoreTest, FilesOfAnotherShapeStay) {
  for (const wchar_t* name : {L"other.db-mine.new", L"other.db-0123456789abcdef0123456789abcdef.new",
                              L"other.db-notes.creating", L"other.db-0123456789abcdef0123456789abcdeg.creating"}) {
    write(temp.file(name), "mine");
    std::filesystem::last_write_time(temp.file(name), std::filesystem::file_time_type::min());
  }
  std::unique_ptr<Database> opened;
  std::string error;
  ASSERT_EQ(Database::open(temp.file(L"other.db"), opened, error), Status::Ok) << error;
  EXPECT_EQ(read(temp.file(L"other.db-mine.new")), "mine");
  EXPECT_EQ(read(temp.file(L"other.db-0123456789abcdef0123456789abcdef.new")), "mine");
  EXPECT_EQ(read(temp.file(L"other.db-notes.creating")), "mine");
  EXPECT_EQ(read(temp.file(L"other.db-0123456789abcdef0123456789abcdeg.creating")), "mine");
}

TEST_F(NewStoreTest, UnfinishedOnesOfDeadProgramsGoWhenTheyAreOld) {
  const std::wstring stale = temp.file(L"other.db-0123456789abcdef0123456789abcdef.creating");
  const std::wstring fresh = temp.file(L"other.db-fedcba9876543210fedcba9876543210.creating");
  for (const auto& file : {stale, stale + L"-wal", fresh}) write(file, "half a store");
  for (const auto& file : {stale, stale + L"-wal"}) {
    std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() - std::chrono::hours(2));
  }
  std::unique_ptr<Database> opened;
  std::string error;
  ASSERT_EQ(Database::open(temp.file(L"other.db"), opened, error), Status::Ok) << error;
  EXPECT_FALSE(std::filesystem::exists(stale));
  EXPECT_FALSE(std::filesystem::exists(stale + L"-wal"));
  EXPECT_TRUE(std::filesystem::exists(fresh)) << "another program may be making it";
}

TEST_F(NewStoreTest, NothingIsLeftBesideIt) {
  std::vector<std::wstring> beside;
  for (const auto& name : filesIn(temp.path().wstring())) beside.push_back(name);
  EXPECT_EQ(std::ranges::count_if(beside, [](const auto& name) { return name.starts_with(L"store.db"); }), 3)
      << "the store, its log and the log's index";
}

TEST_F(NewStoreTest, LogThatSomeoneElseHoldsIsBusy) {
  const std::wstring log = temp.file(L"other.db-wal");
  const auto held = windowsDisk().create(log);
  std::unique_ptr<Database> opened;
  std::string error;
  EXPECT_EQ(Database::open(temp.file(L"other.db"), opened, error), Status::Busy) << error;
  EXPECT_FALSE(std::filesystem::exists(temp.file(L"other.db")));
}

}  // namespace
}  // namespace fendrel::store
