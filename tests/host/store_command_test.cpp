// fendrel store: info, check, salvage, compact and backup.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class StoreCommand : public FendrelTest {
 protected:
  void SetUp() override {
    addJane();
    ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"large.bin", std::string(300'001, 'x')),
                       newFile(L"small.txt", "small")})
                  .exitCode,
              0);
  }

  std::filesystem::path contentFile() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / L"store.db.files"))
      if (entry.is_regular_file()) return entry.path();
    ADD_FAILURE() << "no content file";
    return {};
  }
};

TEST_F(StoreCommand, InfoShowsWhatIsInTheStoreInUse) {
  const Outcome run = fendrel({"store", "info"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("store.db\n"));
  EXPECT_THAT(run.out, HasSubstr("Messages        2, "));
  EXPECT_THAT(run.out, HasSubstr("Content files   1 file, 300,001 bytes"));
  const auto facts = fendrel({"store", "info", inFolder(L"store.db"), "--json"}).json();
  EXPECT_EQ(facts["messages"], 2);
  EXPECT_EQ(facts["attachments"], 2);
  EXPECT_EQ(facts["contentFiles"], 1);
  EXPECT_EQ(facts["contentFileBytes"], 300'001);
  EXPECT_EQ(facts["profiles"], 1);
  EXPECT_EQ(facts["stores"], 2);
  EXPECT_EQ(facts["leftoverFiles"], 0);
}

TEST_F(StoreCommand, InfoOfNoStoreNamesTheFile) {
  const Outcome run = fendrel({"store", "info", inFolder(L"none.db"), "--json"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("There is no store"));
  EXPECT_THAT(run.err, HasSubstr("none.db"));
  EXPECT_EQ(run.json()["error"]["name"], "MAPI_E_NOT_FOUND");
  EXPECT_FALSE(std::filesystem::exists(folder.path() / L"none.db"));
}

TEST_F(StoreCommand, CheckOfAWholeStoreSaysSo) {
  const Outcome run = fendrel({"store", "check"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("No damage was found."));
  EXPECT_EQ(fendrel({"store", "check", "--json"}).json()["whole"], true);
}

TEST_F(StoreCommand, CheckNamesFolderMessageAndAttachmentOfDamage) {
  std::filesystem::remove(contentFile());
  const Outcome run = fendrel({"store", "check"});
  EXPECT_EQ(run.exitCode, 6);
  EXPECT_THAT(run.out, HasSubstr("Folder 'Public Folders@Reports@Daily', message 'large.bin', attachment "
                                 "'large.bin': The content file"));
  EXPECT_THAT(run.out, HasSubstr("fendrel store salvage"));
  const Outcome json = fendrel({"store", "check", "--json"});
  EXPECT_EQ(json.exitCode, 6);
  const auto damage = json.json()["damage"];
  ASSERT_EQ(damage.size(), 1u);
  EXPECT_EQ(damage[0]["folder"], daily);
  EXPECT_EQ(damage[0]["attachment"], "large.bin");
}

TEST_F(StoreCommand, CheckOfAnotherFileIsDamage) {
  const Outcome run = fendrel({"store", "check", newFile(L"other.db", std::string(40'000, 'x'))});
  EXPECT_EQ(run.exitCode, 6);
  EXPECT_THAT(run.err, Not(HasSubstr("unexpected")));
}

TEST_F(StoreCommand, SalvageCarriesOverWhatIsWhole) {
  std::filesystem::remove(contentFile());
  const Outcome run = fendrel({"store", "salvage", inFolder(L"store.db"), inFolder(L"new.db")});
  EXPECT_EQ(run.exitCode, 6);
  EXPECT_THAT(run.out, HasSubstr("1 message,"));
  EXPECT_THAT(run.out, HasSubstr("Left out:\n"));
  EXPECT_THAT(run.out, HasSubstr("'large.bin': The content file"));
  EXPECT_EQ(fendrel({"store", "check", inFolder(L"new.db")}).exitCode, 0);
  const auto messages = fendrel({"--store", inFolder(L"new.db"), "list", daily, "--json"}).json()["messages"];
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0]["attachments"][0]["name"], "small.txt");
  const Outcome again = fendrel({"store", "salvage", inFolder(L"store.db"), inFolder(L"new.db")});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_THAT(again.err, HasSubstr("exists already"));
}

TEST_F(StoreCommand, BackupIsAStoreLikeAnyOther) {
  const Outcome run = fendrel({"store", "backup", inFolder(L"copy.db")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("2 messages"));
  EXPECT_EQ(fendrel({"store", "check", inFolder(L"copy.db")}).exitCode, 0);
  EXPECT_EQ(fendrel({"--store", inFolder(L"copy.db"), "save", daily, "1", inFolder(L"out")}).exitCode, 0);
  EXPECT_EQ(readFile((folder.path() / L"out" / L"large.bin").wstring()), std::string(300'001, 'x'));
  const Outcome again = fendrel({"store", "backup", inFolder(L"copy.db"), "--json"});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_EQ(again.json()["error"]["name"], "MAPI_E_COLLISION");
}

TEST_F(StoreCommand, CompactShrinksTheStore) {
  for (const char* name : {"a", "b", "c"})
    ASSERT_EQ(fendrel({"post", "--to", "Public Folders@Old", "--create",
                       newFile(std::wstring(1, static_cast<wchar_t>(name[0])), std::string(120'000, name[0]))})
                  .exitCode,
              0);
  ASSERT_EQ(fendrel({"folder", "delete", "Public Folders@Old", "--recursive"}).exitCode, 0);
  const auto result = fendrel({"store", "compact", "--json"}).json();
  EXPECT_LT(result["bytesAfter"].get<unsigned>(), result["bytesBefore"].get<unsigned>());
  EXPECT_EQ(fendrel({"store", "info", "--json"}).json()["freePages"], 0);
  EXPECT_EQ(fendrel({"store", "check"}).exitCode, 0);
}

// Deleting a store's database deletes its messages, although the log beside it still holds them.
TEST_F(StoreCommand, DeletedStoreDoesNotComeBackOutOfItsLog) {
  ASSERT_GT(std::filesystem::file_size(folder.path() / L"store.db-wal"), 0u);
  ASSERT_TRUE(std::filesystem::remove(folder.path() / L"store.db"));
  EXPECT_EQ(fendrel({"profile", "list", "--json"}).json()["profiles"].size(), 0u);
  addJane();
  EXPECT_EQ(fendrel({"folders", "--json"}).exitCode, 0);
  EXPECT_EQ(fendrel({"store", "info", "--json"}).json()["messages"], 0);
  EXPECT_EQ(fendrel({"store", "check"}).exitCode, 0);
}

TEST_F(StoreCommand, LeftoverThatMayNotBeDeletedStopsNoCommand) {
  const auto leftover = folder.path() / L"store.db.files" / L"tmp" / L"0123456789abcdef0123456789abcdef.tmp";
  std::ofstream(leftover) << "left over";
  std::filesystem::last_write_time(leftover, std::filesystem::file_time_type::clock::now() - std::chrono::hours(2));
  ASSERT_TRUE(SetFileAttributesW(leftover.c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(fendrel({"list", daily}).exitCode, 0);
  EXPECT_EQ(fendrel({"store", "compact"}).exitCode, 0);
  ASSERT_TRUE(SetFileAttributesW(leftover.c_str(), FILE_ATTRIBUTE_NORMAL));
  EXPECT_EQ(fendrel({"list", daily}).exitCode, 0);
  EXPECT_FALSE(std::filesystem::exists(leftover));
}

TEST_F(StoreCommand, WordsThatAreMissingAreWrongUsage) {
  EXPECT_EQ(fendrel({"store"}).exitCode, 2);
  EXPECT_EQ(fendrel({"store", "backup"}).exitCode, 2);
  EXPECT_EQ(fendrel({"store", "salvage", "one"}).exitCode, 2);
}

}  // namespace
}  // namespace fendrel::test
