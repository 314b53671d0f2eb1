#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>

#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class PostCommand : public FendrelTest {
 protected:
  void SetUp() override { addJane(); }

  nlohmann::json listed(const std::string& path) const { return fendrel({"list", path, "--json"}).json()["messages"]; }
};

TEST_F(PostCommand, FileBecomesAMessageAndItsLineSaysSo) {
  const Outcome run = fendrel({"post", "--to", daily, "--create", newFile(L"sales.pdf", std::string(48213, 's'))});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out,
            "Made folder Public Folders@Reports\n"
            "Made folder Public Folders@Reports@Daily\n"
            "sales.pdf -> Public Folders@Reports@Daily, 48,213 bytes\n");
  EXPECT_EQ(run.err, "");
  const auto messages = listed(daily);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0]["subject"], "sales.pdf");
  EXPECT_EQ(messages[0]["class"], "IPM.DOCUMENT.*PDF");
  EXPECT_EQ(messages[0]["sender"], "Jane Doe");
  EXPECT_EQ(messages[0]["attachments"][0]["name"], "sales.pdf");
  EXPECT_EQ(messages[0]["attachments"][0]["size"], 48213);
}

TEST_F(PostCommand, EachFileHasAClassOfItsOwnExtension) {
  const Outcome run = fendrel({"post", "--to", daily, "--create", newFile(L"a.csv", "1"), newFile(L"b.pdf", "2")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  const auto messages = listed(daily);
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(withSubject(messages, "a.csv")["class"], "IPM.DOCUMENT.*CSV");
  EXPECT_EQ(withSubject(messages, "b.pdf")["class"], "IPM.DOCUMENT.*PDF");
}

TEST_F(PostCommand, FilesTogetherGoThroughOneExport) {
  const Outcome run = fendrel(
      {"post", "--to", daily, "--create", "--together", newFile(L"a.csv", "1"), newFile(L"b.pdf", "22"), "--json"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.json()["posted"], 2);
  const auto messages = listed(daily);
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(withSubject(messages, "b.pdf")["class"], "IPM.DOCUMENT.*CSVPDF");
}

TEST_F(PostCommand, FilesTogetherArePostedAllOrNotAtAll) {
  const Outcome run =
      fendrel({"post", "--to", daily, "--create", "--together", newFile(L"a.csv", "1"), inFolder(L"missing.pdf")});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("missing.pdf"));
  EXPECT_THAT(run.err, HasSubstr("Nothing was posted"));
  EXPECT_EQ(fendrel({"list", daily}).exitCode, 5);
}

TEST_F(PostCommand, JsonTellsEveryFile) {
  const Outcome run = fendrel({"post", "--to", daily, "--create", "--json", newFile(L"a.csv", "12345")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  const auto document = run.json();
  EXPECT_EQ(document["folder"], daily);
  EXPECT_EQ(document["profile"], "jane");
  EXPECT_EQ(document["created"].size(), 2u);
  EXPECT_EQ(document["exitCode"], 0);
  const auto file = document["files"][0];
  EXPECT_EQ(file["name"], "a.csv");
  EXPECT_EQ(file["size"], 5);
  EXPECT_EQ(file["posted"], true);
  EXPECT_EQ(file["class"], "IPM.DOCUMENT.*CSV");
}

TEST_F(PostCommand, MissingFileIsNamedAndTheOthersArePosted) {
  const Outcome run = fendrel(
      {"post", "--to", daily, "--create", newFile(L"a.csv", "1"), inFolder(L"missing.pdf"), newFile(L"c.csv", "3")});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("missing.pdf"));
  EXPECT_THAT(run.err, HasSubstr("ERROR_FILE_NOT_FOUND, 0x80070002"));
  EXPECT_THAT(run.out, HasSubstr("a.csv ->"));
  EXPECT_THAT(run.out, HasSubstr("c.csv ->"));
  EXPECT_EQ(listed(daily).size(), 2u);
}

TEST_F(PostCommand, OnlyMissingFilesMakeNoFolder) {
  const Outcome run = fendrel({"post", "--to", daily, "--create", inFolder(L"missing.pdf")});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(fendrel({"list", daily}).exitCode, 5);
}

TEST_F(PostCommand, DirectoryIsNoFile) {
  const Outcome run = fendrel({"post", "--to", daily, "--create", utf8(folder.path().wstring())});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("is a directory"));
}

TEST_F(PostCommand, FileThatAnotherProgramWritesIsRefused) {
  const std::string name = newFile(L"busy.csv", "1");
  const HANDLE writer = CreateFileW((folder.path() / L"busy.csv").c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(writer, INVALID_HANDLE_VALUE);
  const Outcome run = fendrel({"post", "--to", daily, "--create", name});
  CloseHandle(writer);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("another program is using it (ERROR_SHARING_VIOLATION, 0x80070020)"));
}

TEST_F(PostCommand, MissingFolderIsRefusedWithWhatThereIs) {
  ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"a.csv", "1")}).exitCode, 0);
  const Outcome run = fendrel({"post", "--to", "Public Folders@Reports@Weekly", newFile(L"b.csv", "1")});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("Folder 'Weekly' was not found in 'Public Folders@Reports' (MAPI_E_NOT_FOUND, "
                                 "0x8004010F). There is 'Daily'."));
}

TEST_F(PostCommand, FolderInAnotherCaseIsNotTaken) {
  ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"a.csv", "1")}).exitCode, 0);
  const Outcome run = fendrel({"post", "--to", "Public Folders@Reports@daily", newFile(L"b.csv", "1")});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("There is 'Daily': upper and lower case count."));
}

TEST_F(PostCommand, StoreIsNeverMade) {
  const Outcome run = fendrel({"post", "--to", "Other Store@Reports", "--create", newFile(L"a.csv", "1")});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("Message store 'Other Store' was not found"));
  EXPECT_THAT(run.err, HasSubstr("'Public Folders'"));
}

TEST_F(PostCommand, FolderNameThatThePluginWouldCutIsNotMade) {
  const std::string name(80, 'n');
  const Outcome run = fendrel({"post", "--to", "Public Folders@" + name, "--create", newFile(L"a.csv", "1")});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("at most 79"));
  const Outcome longest =
      fendrel({"post", "--to", "Public Folders@" + name.substr(1), "--create", newFile(L"a.csv", "1")});
  EXPECT_EQ(longest.exitCode, 0) << longest.err;
}

TEST_F(PostCommand, PersonalReportsGoToTheDefaultStore) {
  const Outcome run = fendrel({"post", "--personal", newFile(L"mine.pdf", "abc")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "mine.pdf -> Personal reports of Mailbox - Jane Doe, 3 bytes\n");
  const auto messages = fendrel({"list", "--personal", "--json"}).json()["messages"];
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0]["subject"], "mine.pdf");
}

TEST_F(PostCommand, FolderTypePostsTheSameWay) {
  const Outcome run = fendrel({"post", "--to", daily, "--create", "--type", "folder", newFile(L"a.csv", "1")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(listed(daily).size(), 1u);
}

TEST_F(PostCommand, MailboxNamedByItsAddressIsFound) {
  ASSERT_EQ(fendrel({"profile", "add", "office", "--user", "jane@example.org", "--default"}).exitCode, 0);
  const std::string inbox = "Mailbox - jane@example.org@Inbox";
  const Outcome run = fendrel({"post", "--to", inbox, newFile(L"a.csv", "1")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "a.csv -> " + inbox + ", 1 byte\n");
}

TEST_F(PostCommand, NamesInEveryScriptArriveWhole) {
  const std::wstring name = L"\u58F2\u4E0A \u00DCbersicht \u0394\U0001F4C8.pdf";
  const std::string path = utf8(L"Public Folders@\u5831\u544A@T\u00E4glich");
  const Outcome run = fendrel({"post", "--to", path, "--create", newFile(name, "abc")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr(utf8(name) + " -> " + path + ", 3 bytes"));
  const auto messages = listed(path);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0]["subject"], utf8(name));
  EXPECT_EQ(messages[0]["attachments"][0]["name"], utf8(name));
}

TEST_F(PostCommand, PathsBeyondTheOldLimitWork) {
  std::filesystem::path deep = LR"(\\?\)" + folder.path().wstring();
  for (int level = 0; level < 6; ++level) deep /= std::wstring(60, static_cast<wchar_t>(L'a' + level));
  std::filesystem::create_directories(deep);
  const std::filesystem::path file = deep / L"deep.csv";
  const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  DWORD written = 0;
  WriteFile(handle, "deep", 4, &written, nullptr);
  CloseHandle(handle);
  const std::string given = utf8(file.wstring().substr(4));
  ASSERT_GT(given.size(), 400u);
  const Outcome run = fendrel({"post", "--to", daily, "--create", given});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("deep.csv -> Public Folders@Reports@Daily, 4 bytes"));
}

TEST_F(PostCommand, LongFileNameArrivesWhole) {
  const std::wstring name = std::wstring(240, L'n') + L".pdf";
  const Outcome run = fendrel({"post", "--to", daily, "--create", newFile(name, "abc")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(listed(daily)[0]["subject"], utf8(name));
}

TEST_F(PostCommand, EmptyFileIsPosted) {
  const Outcome run = fendrel({"post", "--to", daily, "--create", newFile(L"empty.txt", "")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("empty.txt -> Public Folders@Reports@Daily, 0 bytes"));
}

TEST_F(PostCommand, FileWithoutExtensionHasTheBareClass) {
  ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"README", "x")}).exitCode, 0);
  EXPECT_EQ(listed(daily)[0]["class"], "IPM.DOCUMENT.*");
}

TEST_F(PostCommand, FilesOfOneNameAreEachFound) {
  std::filesystem::create_directory(folder.path() / L"one");
  std::filesystem::create_directory(folder.path() / L"two");
  const Outcome run = fendrel({"post", "--to", daily, "--create", newFile(L"one\\same.csv", "1"),
                               newFile(L"two\\same.csv", "22"), newFile(L"same.csv", "22")});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(listed(daily).size(), 3u);
}

TEST_F(PostCommand, PatternNamesTheFilesInOrder) {
  newFile(L"b.csv", "1");
  newFile(L"a.csv", "1");
  newFile(L"c.txt", "1");
  const Outcome run = fendrel({"post", "--to", daily, "--create", "*.csv"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("a.csv -> Public Folders@Reports@Daily, 1 byte\nb.csv -> "));
  EXPECT_THAT(run.out, Not(HasSubstr("c.txt")));
}

TEST_F(PostCommand, StoreOptionWinsOverTheEnvironment) {
  const std::string other = inFolder(L"other.db");
  ASSERT_EQ(fendrel({"profile", "add", "john", "--user", "John Roe", "--store", other}).exitCode, 0);
  EXPECT_EQ(fendrel({"folders", "--store", other, "--json"}).json()["profile"], "john");
  EXPECT_EQ(fendrel({"folders", "--json"}).json()["profile"], "jane");
  EXPECT_TRUE(std::filesystem::exists(folder.path() / L"other.db"));
}

TEST_F(PostCommand, RelativeStoreIsFoundFromTheWorkingDirectory) {
  ASSERT_EQ(fendrel({"profile", "add", "john", "--user", "John Roe", "--store", "relative.db"}).exitCode, 0);
  EXPECT_TRUE(std::filesystem::exists(folder.path() / L"relative.db"));
}

TEST_F(PostCommand, ManyFilesAreAllFound) {
  for (int number = 0; number < 30; ++number) newFile(L"file" + std::to_wstring(number) + L".csv", "x");
  const Outcome run = fendrel({"post", "--to", daily, "--create", "--json", "file*.csv"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.json()["posted"], 30);
  EXPECT_EQ(run.err, "");  // no progress without a terminal
}

}  // namespace
}  // namespace fendrel::test
