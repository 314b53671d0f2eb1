// fendrel folder and fendrel delete.
#include <gmock/gmock.h>

#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::HasSubstr;

class ChangeCommands : public FendrelTest {
 protected:
  void SetUp() override {
    addJane();
    ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"a.txt", "a"), newFile(L"b.txt", "b"),
                       newFile(L"c.txt", "c")})
                  .exitCode,
              0);
  }

  // The folder's attachments, in the order of numbers.
  std::vector<std::string> attachments(const char* path = daily) const {
    std::vector<std::string> names;
    const nlohmann::json list = fendrel({"list", path, "--json"}).json();
    for (const auto& message : list["messages"]) names.push_back(message["attachments"][0]["name"].get<std::string>());
    return names;
  }
};

TEST_F(ChangeCommands, CreateMakesWhatIsMissing) {
  const Outcome run = fendrel({"folder", "create", "Public Folders@Reports@Weekly@Old"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out,
            "Folder 'Public Folders@Reports@Weekly' was made.\n"
            "Folder 'Public Folders@Reports@Weekly@Old' was made.\n");
  const Outcome again = fendrel({"folder", "create", "Public Folders@Reports@Weekly@Old", "--json"});
  EXPECT_EQ(again.exitCode, 0) << again.err;
  EXPECT_EQ(again.json()["created"].size(), 0u);
}

TEST_F(ChangeCommands, CreateThatStopsMidwaySaysWhatItMade) {
  const Outcome run = fendrel({"folder", "create", "Public Folders@New@" + std::string(80, 'n')});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("Folder 'Public Folders@New' was made before that."));
}

TEST_F(ChangeCommands, BlankNamesAndControlCharactersAreRefused) {
  for (const char* name : {" ", "a\tb", "\x1B[31mred", "\xC2\xA0"}) {
    EXPECT_EQ(fendrel({"folder", "create", std::string("Public Folders@") + name}).exitCode, 5);
    EXPECT_EQ(fendrel({"folder", "rename", daily, name}).exitCode, 2);
    EXPECT_EQ(fendrel({"profile", "add", name}).exitCode, 2);
    EXPECT_EQ(fendrel({"profile", "rename", "jane", name}).exitCode, 2);
  }
}

TEST_F(ChangeCommands, CreateMakesNoStore) { EXPECT_EQ(fendrel({"folder", "create", "Nowhere@Reports"}).exitCode, 5); }

TEST_F(ChangeCommands, RenamedFolderKeepsItsMessages) {
  const Outcome run = fendrel({"folder", "rename", daily, "Every day"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "Folder 'Public Folders@Reports@Daily' is now 'Public Folders@Reports@Every day'.\n");
  EXPECT_EQ(attachments("Public Folders@Reports@Every day").size(), 3u);
  EXPECT_EQ(fendrel({"list", daily}).exitCode, 5);
}

TEST_F(ChangeCommands, RenameRefusesATakenName) {
  ASSERT_EQ(fendrel({"folder", "create", "Public Folders@Reports@Weekly"}).exitCode, 0);
  const Outcome run = fendrel({"folder", "rename", daily, "Weekly"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("MAPI_E_COLLISION"));
}

TEST_F(ChangeCommands, RenameRefusesWhatIsNoFolderOfPeople) {
  EXPECT_EQ(fendrel({"folder", "rename", "Public Folders", "Other"}).exitCode, 5);
  EXPECT_EQ(fendrel({"folder", "rename", "Public Folders@None", "Other"}).exitCode, 5);
  EXPECT_EQ(fendrel({"folder", "rename", daily, "a@b"}).exitCode, 2);
  EXPECT_EQ(fendrel({"folder", "rename", daily, ""}).exitCode, 2);
  const Outcome run = fendrel({"folder", "rename", "Mailbox - Jane Doe@Inbox", "Mine"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("A store's own folders keep their names."));
}

TEST_F(ChangeCommands, EmptyFolderIsDeleted) {
  ASSERT_EQ(fendrel({"folder", "create", "Public Folders@Empty"}).exitCode, 0);
  const Outcome run = fendrel({"folder", "delete", "Public Folders@Empty"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "Folder 'Public Folders@Empty' was deleted.\n");
  EXPECT_EQ(fendrel({"list", "Public Folders@Empty"}).exitCode, 5);
}

TEST_F(ChangeCommands, FullFolderIsDeletedOnlyRecursively) {
  const Outcome refused = fendrel({"folder", "delete", "Public Folders@Reports"});
  EXPECT_EQ(refused.exitCode, 5);
  EXPECT_THAT(refused.err, HasSubstr("holds 3 messages and 1 folder and was not deleted. --recursive"));
  EXPECT_EQ(attachments().size(), 3u);
  const Outcome run = fendrel({"folder", "delete", "Public Folders@Reports", "--recursive"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "Folder 'Public Folders@Reports' was deleted with 3 messages and 1 folder.\n");
  EXPECT_EQ(fendrel({"list", "Public Folders@Reports"}).exitCode, 5);
}

TEST_F(ChangeCommands, StoreAndItsOwnFoldersAreNotDeleted) {
  EXPECT_EQ(fendrel({"folder", "delete", "Public Folders", "--recursive"}).exitCode, 5);
  const Outcome run = fendrel({"folder", "delete", "Mailbox - Jane Doe@Inbox", "--recursive"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("A store's own folders stay."));
}

TEST_F(ChangeCommands, NumbersAreLookedUpBeforeTheFirstMessageGoes) {
  const auto before = attachments();
  ASSERT_EQ(before.size(), 3u);
  const Outcome run = fendrel({"delete", daily, "1", "3", "1"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Message 1, "));
  EXPECT_THAT(run.out, HasSubstr("Message 3, "));
  EXPECT_EQ(attachments(), std::vector<std::string>{before[1]});
}

TEST_F(ChangeCommands, NoMessageGoesWhereOneNumberIsWrong) {
  const Outcome run = fendrel({"delete", daily, "1", "4"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.err, HasSubstr("has no message 4: it holds 3 messages"));
  EXPECT_EQ(fendrel({"delete", daily, "1", "x"}).exitCode, 2);
  EXPECT_EQ(fendrel({"delete", daily}).exitCode, 2);
  EXPECT_EQ(fendrel({"delete"}).exitCode, 2);
  EXPECT_EQ(attachments().size(), 3u);
}

TEST_F(ChangeCommands, PersonalReportsAreDeletedByNumber) {
  ASSERT_EQ(fendrel({"post", "--personal", newFile(L"p.txt", "p"), newFile(L"q.txt", "q")}).exitCode, 0);
  const auto list = [&] { return fendrel({"list", "--personal", "--json"}).json()["count"].get<int>(); };
  const bool isHidden = list() == 0;
  if (isHidden) {
    EXPECT_EQ(fendrel({"delete", "--personal", "--hidden", "1", "2"}).exitCode, 0);
    EXPECT_EQ(fendrel({"list", "--personal", "--hidden", "--json"}).json()["count"], 0);
  } else {
    EXPECT_EQ(fendrel({"delete", "--personal", "1", "2"}).exitCode, 0);
    EXPECT_EQ(list(), 0);
  }
}

}  // namespace
}  // namespace fendrel::test
