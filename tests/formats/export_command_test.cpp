// fendrel save --as, and fendrel export.
#include <gmock/gmock.h>

#include <filesystem>
#include <set>
#include <string>

#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

class ExportCommand : public FendrelTest {
 protected:
  void SetUp() override {
    addJane();
    ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"sales.csv", "1;2"), newFile(L"stock.csv", "3;4")})
                  .exitCode,
              0);
  }

  // Paths below a directory of the test, of files and directories, without the keys in file names.
  std::set<std::string> below(std::wstring_view directory, bool withKeys = false) const {
    std::set<std::string> found;
    const std::filesystem::path top = folder.path() / directory;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
      std::string name = utf8(std::filesystem::relative(entry.path(), top).generic_wstring());
      for (std::size_t key = 0; !withKeys && (key = name.find(" [")) != std::string::npos;)
        name.erase(key, name.find(']', key) + 1 - key);
      found.insert(name);
    }
    return found;
  }

  std::string textOfFirst(std::wstring_view directory) const {
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / directory))
      return readFile(entry.path().wstring());
    return {};
  }

  std::wstring onlyFile(std::wstring_view directory, std::wstring_view end) const {
    std::wstring found;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / directory))
      if (entry.path().wstring().ends_with(end)) found = entry.path().wstring();
    EXPECT_FALSE(found.empty());
    return found;
  }
};

TEST_F(ExportCommand, PartsOfAMailHaveTheTypesOfTheirExtensions) {
  ASSERT_EQ(fendrel({"export", daily, inFolder(L"out"), "--as", "eml", "--subject", "sales.csv"}).exitCode, 0);
  EXPECT_THAT(textOfFirst(L"out"), HasSubstr("\r\nContent-Type: text/csv;"));
  ASSERT_EQ(fendrel({"post", "--to", daily, newFile(L"a.unheard-of", "x"), newFile(L"b.PDF", "x")}).exitCode, 0);
  ASSERT_EQ(fendrel({"export", daily, inFolder(L"other"), "--as", "eml", "--subject", "a.*"}).exitCode, 0);
  EXPECT_THAT(textOfFirst(L"other"), HasSubstr("Content-Type: application/octet-stream;"));
  ASSERT_EQ(fendrel({"export", daily, inFolder(L"pdf"), "--as", "eml", "--subject", "b.*"}).exitCode, 0);
  EXPECT_THAT(textOfFirst(L"pdf"), HasSubstr("Content-Type: application/pdf;"));
}

TEST_F(ExportCommand, SaveAsEmlMakesOneFileNamedByTheSubject) {
  const auto message = withSubject(fendrel({"list", daily, "--json"}).json()["messages"], "sales.csv");
  const std::string number = std::to_string(message["number"].get<int>());
  const Outcome run = fendrel({"save", daily, number, "--as", "eml", "out"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "sales.csv -> out\\sales.csv.eml\n");
  EXPECT_THAT(readFile(folder.file(L"out\\sales.csv.eml")), HasSubstr("\r\nSubject: sales.csv\r\n"));
  EXPECT_THAT(below(L"out"), ElementsAre("sales.csv.eml"));
}

TEST_F(ExportCommand, SaveAsMsgToANameKeepsTheFileThatIsThere) {
  newFile(L"one.MSG", "mine");
  EXPECT_EQ(fendrel({"save", daily, "1", "--as", "msg", "one.MSG"}).exitCode, 0);
  EXPECT_EQ(readFile(folder.file(L"one.MSG")), "mine");
  EXPECT_THAT(readFile(folder.file(L"one (2).MSG")), StartsWith("\xD0\xCF\x11\xE0"));
  const Outcome forced = fendrel({"save", daily, "1", "--as", "msg", "one.MSG", "--force", "--json"});
  EXPECT_EQ(forced.json()["saved"][0]["file"], "one.MSG");
  EXPECT_THAT(readFile(folder.file(L"one.MSG")), StartsWith("\xD0\xCF\x11\xE0"));
}

TEST_F(ExportCommand, SaveAsWithoutATargetTakesTheCurrentDirectory) {
  EXPECT_EQ(fendrel({"save", daily, "1", "--as", "eml"}).exitCode, 0);
  EXPECT_FALSE(onlyFile(L".", L".csv.eml").empty());
  EXPECT_EQ(fendrel({"save", daily, "1"}).exitCode, 2);
}

TEST_F(ExportCommand, AnotherFormIsWrongUsage) {
  EXPECT_EQ(fendrel({"save", daily, "1", "--as", "pst", "out"}).exitCode, 2);
  EXPECT_EQ(fendrel({"export", daily, "out", "--as", "pst"}).exitCode, 2);
}

TEST_F(ExportCommand, ExportWithoutADirectoryIsWrongUsage) {
  const Outcome run = fendrel({"export", daily});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("Give the folder's PATH and the directory DIR"));
}

TEST_F(ExportCommand, FilesOfAFolderHaveTheirNamesAndBytes) {
  const Outcome run = fendrel({"export", daily, "out"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "Public Folders@Reports@Daily -> out, 2 messages\n");
  EXPECT_THAT(below(L"out"), ElementsAre("sales.csv", "stock.csv"));
  for (const std::string& name : below(L"out", true))
    EXPECT_THAT(name, SizeIs(std::string_view("sales [0123456789abcdef].csv").size()));
}

TEST_F(ExportCommand, ASecondRunWritesNothingAgain) {
  ASSERT_EQ(fendrel({"export", daily, "out", "--as", "eml"}).exitCode, 0);
  const std::wstring first = onlyFile(L"out", L".eml");
  newFile(std::filesystem::relative(first, folder.path()).wstring(), "changed by hand");
  ASSERT_EQ(fendrel({"post", "--to", daily, newFile(L"third.csv", "5")}).exitCode, 0);
  const Outcome run = fendrel({"export", daily, "out", "--as", "eml"});
  EXPECT_EQ(run.out, "Public Folders@Reports@Daily -> out, 1 message, 2 there already\n");
  EXPECT_EQ(readFile(first), "changed by hand");
}

TEST_F(ExportCommand, AnInterruptedRunIsTakenUpAndItsLeftoversGo) {
  ASSERT_EQ(fendrel({"export", daily, "out", "--as", "msg"}).exitCode, 0);
  std::filesystem::remove(onlyFile(L"out", L".msg"));
  newFile(L"out\\fendrel-4711-1.part", "half a file");
  const Outcome run = fendrel({"export", daily, "out", "--as", "msg", "--json"});
  EXPECT_EQ(run.json()["folders"][0]["exported"], 1);
  EXPECT_EQ(run.json()["folders"][0]["present"], 1);
  EXPECT_THAT(below(L"out"), ElementsAre("sales.csv.msg", "stock.csv.msg"));
}

TEST_F(ExportCommand, AStoreBecomesATreeOfDirectories) {
  for (const char* path : {"Public Folders@a/b", "Public Folders@CON", "Public Folders@Reports@daily"})
    ASSERT_EQ(fendrel({"post", "--to", path, "--create", newFile(L"x.csv", "x")}).exitCode, 0) << path;
  const Outcome run = fendrel({"export", "Public Folders", "out"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(below(L"out"),
              ElementsAre("%43ON", "%43ON/x.csv", "Reports", "Reports/Daily", "Reports/Daily/sales.csv",
                          "Reports/Daily/stock.csv", "Reports/daily", "Reports/daily/x.csv", "a%2Fb", "a%2Fb/x.csv"));
}

TEST_F(ExportCommand, OnlyTheFolderLeavesOutThoseBelow) {
  EXPECT_EQ(fendrel({"export", "Public Folders@Reports", "out", "--only-folder"}).exitCode, 0);
  EXPECT_THAT(below(L"out"), ElementsAre());
}

TEST_F(ExportCommand, AMessageThatCannotBeWrittenIsNamedAndTheOthersGoOn) {
  ASSERT_EQ(fendrel({"export", daily, "out", "--as", "eml"}).exitCode, 0);
  const std::wstring name = onlyFile(L"out", L".eml");
  std::filesystem::remove(name);
  std::filesystem::create_directory(name);
  const Outcome run = fendrel({"export", daily, "out", "--as", "eml"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr(".csv' of 'Public Folders@Reports@Daily' was not exported."));
  EXPECT_THAT(run.out, HasSubstr("0 messages, 1 there already, 1 failed"));
}

TEST_F(ExportCommand, PersonalReportsAreExported) {
  ASSERT_EQ(fendrel({"post", "--personal", newFile(L"mine.txt", "own")}).exitCode, 0);
  EXPECT_EQ(fendrel({"export", "--personal", "out"}).exitCode, 0);
  EXPECT_THAT(below(L"out"), ElementsAre("mine.txt"));
}

TEST_F(ExportCommand, AMissingFolderIsRefusedAndNothingIsMade) {
  EXPECT_EQ(fendrel({"export", "Public Folders@Nothing", "out"}).exitCode, 5);
  EXPECT_FALSE(std::filesystem::exists(folder.path() / L"out"));
}

TEST_F(ExportCommand, AFileInThePlaceOfTheDirectoryIsRefused) {
  newFile(L"out", "x");
  const Outcome run = fendrel({"export", daily, "out"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("is not a directory"));
}

}  // namespace
}  // namespace fendrel::test
