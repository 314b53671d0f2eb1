// fendrel folders, list, show and save.
#include <gmock/gmock.h>

#include <filesystem>

#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class LookCommands : public FendrelTest {
 protected:
  void SetUp() override {
    addJane();
    for (std::size_t index = 0; index < content.size(); ++index) content[index] = static_cast<char>(index * 7 % 251);
    ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"sales.bin", content)}).exitCode, 0);
  }

  std::string content = std::string(300'001, '\0');  // more than a chunk, no round number
};

const nlohmann::json* propertyOf(const nlohmann::json& properties, const std::string& name) {
  for (const auto& property : properties)
    if (property["name"] == name) return &property;
  return nullptr;
}

TEST_F(LookCommands, FoldersIsATreeWithCounts) {
  const Outcome run = fendrel({"folders"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Mailbox - Jane Doe  (default store)\n"));
  EXPECT_THAT(run.out, HasSubstr("Public Folders\n  Reports  -\n    Daily  1 message\n"));
  EXPECT_THAT(run.out, HasSubstr("Inbox"));
}

TEST_F(LookCommands, FoldersAsJsonHasPaths) {
  const auto stores = fendrel({"folders", "--json"}).json()["stores"];
  ASSERT_EQ(stores.size(), 2u);
  for (const auto& store : stores) {
    if (store["name"] != "Public Folders") continue;
    EXPECT_EQ(store["default"], false);
    const auto found = store["folders"][0]["folders"][0];
    EXPECT_EQ(found["path"], daily);
    EXPECT_EQ(found["messages"], 1);
  }
}

TEST_F(LookCommands, ListShowsTheMessageWithItsAttachment) {
  const Outcome run = fendrel({"list", daily});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("sales.bin"));
  EXPECT_THAT(run.out, HasSubstr("IPM.DOCUMENT.*BIN"));
  EXPECT_THAT(run.out, HasSubstr("sales.bin (300,001 bytes)"));
}

TEST_F(LookCommands, ListOfAnEmptyFolderSaysSo) {
  const Outcome run = fendrel({"list", "Public Folders@Reports"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "Public Folders@Reports holds no messages.\n");
  const Outcome json = fendrel({"list", "Public Folders@Reports", "--json"});
  EXPECT_EQ(json.json()["count"], 0);
}

TEST_F(LookCommands, NewestShowsTheLastOnesWithTheirNumbers) {
  for (const wchar_t* name : {L"b.txt", L"c.txt"})
    ASSERT_EQ(fendrel({"post", "--to", daily, newFile(name, "x")}).exitCode, 0);
  const auto document = fendrel({"list", daily, "--newest", "2", "--brief", "--json"}).json();
  EXPECT_EQ(document["count"], 3);
  ASSERT_EQ(document["messages"].size(), 2u);
  const auto all = fendrel({"list", daily, "--brief", "--json"}).json()["messages"];
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(document["messages"][0], all[1]);
  EXPECT_EQ(document["messages"][1], all[2]);
  EXPECT_EQ(document["messages"][1]["number"], 3);
  EXPECT_EQ(document["messages"][1]["hasAttachments"], true);
}

TEST_F(LookCommands, ListOfAMissingFolderIsRefused) {
  const Outcome run = fendrel({"list", "Public Folders@Nothing", "--json"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_EQ(run.json()["error"]["name"], "MAPI_E_NOT_FOUND");
  EXPECT_EQ(run.json()["exitCode"], 5);
}

TEST_F(LookCommands, ShowNamesEveryProperty) {
  const Outcome run = fendrel({"show", daily, "1"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Message 1 of Public Folders@Reports@Daily"));
  EXPECT_THAT(run.out, testing::ContainsRegex("PR_SUBJECT +PT_UNICODE +sales.bin"));
  EXPECT_THAT(run.out, testing::ContainsRegex("PR_SENDER_NAME +PT_UNICODE +Jane Doe"));
  EXPECT_THAT(run.out, testing::ContainsRegex("PR_SENSITIVITY +PT_LONG +0"));
  EXPECT_THAT(run.out, HasSubstr("Attachment 1: sales.bin, 300,001 bytes"));
  EXPECT_THAT(run.out, testing::ContainsRegex("PR_ATTACH_LONG_FILENAME +PT_UNICODE +sales.bin"));
}

TEST_F(LookCommands, ShowAsJsonHasTagsTypesAndValues) {
  const auto document = fendrel({"show", daily, "1", "--json"}).json();
  EXPECT_EQ(document["subject"], "sales.bin");
  const nlohmann::json* topic = propertyOf(document["properties"], "PR_CONVERSATION_TOPIC");
  ASSERT_TRUE(topic);
  EXPECT_EQ((*topic)["tag"], "0x0070001F");
  EXPECT_EQ((*topic)["type"], "PT_UNICODE");
  EXPECT_EQ((*topic)["value"], "sales.bin");
  const nlohmann::json* method = propertyOf(document["attachments"][0]["properties"], "PR_ATTACH_METHOD");
  ASSERT_TRUE(method);
  EXPECT_EQ((*method)["value"], 1);
}

TEST_F(LookCommands, BriefShowLeavesThePropertiesOut) {
  const Outcome run = fendrel({"show", daily, "1", "--brief"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Sender     Jane Doe"));
  EXPECT_THAT(run.out, HasSubstr("Attached   sales.bin, 300,001 bytes"));
  EXPECT_THAT(run.out, Not(HasSubstr("PR_")));
}

TEST_F(LookCommands, MissingMessageNumberTellsHowManyThereAre) {
  const Outcome run = fendrel({"show", daily, "2"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("has no message 2: it holds 1 message."));
}

TEST_F(LookCommands, SavedFileHasTheSameBytes) {
  const Outcome run = fendrel({"save", daily, "1", "new\\out"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "sales.bin -> new\\out\\sales.bin, 300,001 bytes\n");
  EXPECT_EQ(readFile((folder.path() / L"new" / L"out" / L"sales.bin").wstring()), content);
  std::size_t entries = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder.path() / L"new" / L"out"))
    ++entries;
  EXPECT_EQ(entries, 1u) << "a temporary file was left";
}

TEST_F(LookCommands, SaveKeepsAFileThatIsThere) {
  newFile(L"out.txt", "");
  std::filesystem::create_directory(folder.path() / L"out");
  newFile(L"out\\sales.bin", "mine");
  const Outcome second = fendrel({"save", daily, "1", "out", "--json"});
  EXPECT_EQ(second.exitCode, 0) << second.err;
  EXPECT_EQ(second.json()["saved"][0]["file"], "out\\sales (2).bin");
  EXPECT_EQ(readFile((folder.path() / L"out" / L"sales.bin").wstring()), "mine");
  EXPECT_EQ(readFile((folder.path() / L"out" / L"sales (2).bin").wstring()), content);
  const Outcome third = fendrel({"save", daily, "1", "out"});
  EXPECT_THAT(third.out, HasSubstr("sales (3).bin"));
}

TEST_F(LookCommands, SaveWithForceReplacesTheFile) {
  std::filesystem::create_directory(folder.path() / L"out");
  newFile(L"out\\sales.bin", "mine");
  const Outcome run = fendrel({"save", daily, "1", "out", "--force"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(readFile((folder.path() / L"out" / L"sales.bin").wstring()), content);
}

TEST_F(LookCommands, SaveIntoAFileIsRefused) {
  newFile(L"plain", "x");
  const Outcome run = fendrel({"save", daily, "1", "plain"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("is not a directory"));
}

TEST_F(LookCommands, SaveIntoADirectoryOfAnyDepthWorks) {
  std::string deep;
  for (int level = 0; level < 6; ++level) deep += std::string(60, static_cast<char>('a' + level)) + "\\";
  const Outcome run = fendrel({"save", daily, "1", deep});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(readFile(LR"(\\?\)" + (folder.path() / deep / L"sales.bin").wstring()), content);
}

TEST_F(LookCommands, PersonalReportIsShownAndSaved) {
  ASSERT_EQ(fendrel({"post", "--personal", newFile(L"mine.txt", "own")}).exitCode, 0);
  EXPECT_EQ(fendrel({"show", "--personal", "1", "--json"}).json()["subject"], "mine.txt");
  const Outcome run = fendrel({"save", "--personal", "1", "out"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(readFile((folder.path() / L"out" / L"mine.txt").wstring()), "own");
}

TEST_F(LookCommands, HiddenMessagesAreListedApart) {
  EXPECT_EQ(fendrel({"list", daily, "--hidden", "--json"}).json()["count"], 0);
}

}  // namespace
}  // namespace fendrel::test
