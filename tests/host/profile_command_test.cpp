#include <gmock/gmock.h>
#include <windows.h>

#include "fendrel_run.h"
#include "profiles.h"

namespace fendrel::test {
namespace {

using testing::HasSubstr;

class ProfileCommand : public FendrelTest {};

TEST_F(ProfileCommand, ListOfNoneTellsHowToMakeOne) {
  const Outcome run = fendrel({"profile", "list"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("fendrel profile add"));
  EXPECT_EQ(fendrel({"profile", "list", "--json"}).json()["profiles"].size(), 0u);
}

TEST_F(ProfileCommand, AddedProfileIsListedWithItsUser) {
  const Outcome added = fendrel({"profile", "add", "jane", "--user",
                                 "Jane D\xC3\xB6"
                                 "e",
                                 "--default"});
  ASSERT_EQ(added.exitCode, 0) << added.err;
  EXPECT_EQ(added.out, "Profile 'jane' was made and is the default.\n");
  EXPECT_EQ(fendrel({"profile", "list"}).out,
            "jane  Jane D\xC3\xB6"
            "e  (default)\n");
  const auto profiles = fendrel({"profile", "list", "--json"}).json()["profiles"];
  ASSERT_EQ(profiles.size(), 1u);
  EXPECT_EQ(profiles[0]["name"], "jane");
  EXPECT_EQ(profiles[0]["user"],
            "Jane D\xC3\xB6"
            "e");
  EXPECT_EQ(profiles[0]["default"], true);
}

TEST_F(ProfileCommand, SecondProfileOfOneNameIsRefused) {
  addJane();
  const Outcome run = fendrel({"profile", "add", "jane"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("Profile 'jane' exists already"));
}

TEST_F(ProfileCommand, RemovedProfileIsGone) {
  addJane();
  const Outcome run = fendrel({"profile", "remove", "jane", "--json"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.json()["removed"], "jane");
  EXPECT_EQ(fendrel({"profile", "list", "--json"}).json()["profiles"].size(), 0u);
}

class ProfileWithMessages : public ProfileCommand {
 protected:
  ProfileWithMessages() {
    addJane();
    EXPECT_EQ(fendrel({"post", "--to", "Mailbox - Jane Doe@Reports", "--create", newFile(L"a.txt", "a"),
                       newFile(L"b.txt", "b")})
                  .exitCode,
              0);
  }

  int exitCodeOfList() const { return fendrel({"list", "Mailbox - Jane Doe@Reports"}).exitCode; }
};

TEST_F(ProfileWithMessages, RemovedProfileLeavesItsMessagesToTheNextOneOfItsUser) {
  const Outcome removed = fendrel({"profile", "remove", "jane"});
  EXPECT_EQ(removed.exitCode, 0) << removed.err;
  EXPECT_THAT(removed.out, HasSubstr("Its messages stay in the store"));
  ASSERT_EQ(fendrel({"profile", "add", "again", "--user", "Jane Doe"}).exitCode, 0);
  EXPECT_EQ(fendrel({"list", "Mailbox - Jane Doe@Reports", "--json"}).json()["messages"].size(), 2u);
}

TEST_F(ProfileWithMessages, RemovedWithItsMessagesSaysHowManyAndLeavesNone) {
  const Outcome removed = fendrel({"profile", "remove", "jane", "--with-messages"});
  EXPECT_EQ(removed.exitCode, 0) << removed.err;
  EXPECT_EQ(removed.out, "Profile 'jane' was removed, and 2 messages with it.\n");
  addJane();
  EXPECT_NE(exitCodeOfList(), 0);
  EXPECT_EQ(fendrel({"store", "info", "--json"}).json()["messages"], 0);
}

TEST_F(ProfileWithMessages, PasswordIsAskedForBeforeAnythingIsRemoved) {
  ASSERT_EQ(fendrel({"profile", "password", "jane", "--new-file", secret("sesame", L"new")}).exitCode, 0);
  for (const char* option : {"--json", "--with-messages"}) {
    EXPECT_EQ(fendrel({"profile", "remove", "jane", option}).exitCode, 4);
    EXPECT_EQ(fendrel({"profile", "remove", "jane", option, "--password-file", secret("wrong")}).exitCode, 4);
  }
  EXPECT_EQ(fendrel({"list", "Mailbox - Jane Doe@Reports", "--password-file", secret("sesame"), "--json"})
                .json()["messages"]
                .size(),
            2u);
  EXPECT_EQ(fendrel({"profile", "remove", "jane", "--password-file", secret("sesame")}).exitCode, 0);
  addJane();
  EXPECT_EQ(exitCodeOfList(), 0);
}

TEST_F(ProfileCommand, DefaultIsChangedByName) {
  addJane();
  ASSERT_EQ(fendrel({"profile", "add", "john", "--user", "John Roe", "--default"}).exitCode, 0);
  EXPECT_EQ(fendrel({"profile", "default", "jane"}).exitCode, 0);
  EXPECT_EQ(fendrel({"folders", "--json"}).json()["profile"], "jane");
  EXPECT_EQ(fendrel({"profile", "default", "nobody"}).exitCode, 4);
}

TEST_F(ProfileCommand, PasswordIsChangedAndTakenAwayWithTheOldOne) {
  addJane();
  EXPECT_EQ(fendrel({"profile", "password", "jane", "--new-file", secret("first", L"new")}).exitCode, 0);
  EXPECT_EQ(fendrel({"folders"}).exitCode, 4);
  EXPECT_EQ(fendrel({"profile", "password", "jane", "--new-file", secret("second", L"new")}).exitCode, 4);
  EXPECT_EQ(fendrel({"profile", "password", "jane", "--new-file", secret("second", L"new"), "--password-file",
                     secret("first")})
                .exitCode,
            0);
  EXPECT_EQ(fendrel({"folders", "--password-file", secret("second")}).exitCode, 0);
  EXPECT_EQ(fendrel({"profile", "password", "jane", "--password-file", secret("second")}).exitCode, 2);
  EXPECT_EQ(fendrel({"profile", "password", "jane", "--none", "--password-file", secret("second")}).exitCode, 0);
  EXPECT_EQ(fendrel({"folders"}).exitCode, 0);
}

TEST_F(ProfileCommand, RenamedProfileIsTheSameOne) {
  addJane();
  ASSERT_EQ(fendrel({"profile", "add", "john", "--user", "John Roe"}).exitCode, 0);
  EXPECT_EQ(fendrel({"profile", "rename", "jane", "john"}).exitCode, 1);
  EXPECT_EQ(fendrel({"profile", "rename", "jane", ""}).exitCode, 2);
  EXPECT_EQ(fendrel({"profile", "rename", "jane", "nightly"}).exitCode, 0);
  EXPECT_EQ(fendrel({"folders", "--profile", "nightly"}).exitCode, 0);
  EXPECT_EQ(fendrel({"folders", "--profile", "jane"}).exitCode, 4);
}

TEST_F(ProfileCommand, RemovingAnUnknownProfileNamesTheOthers) {
  addJane();
  const Outcome run = fendrel({"profile", "remove", "john"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(run.err, HasSubstr("There is no profile 'john'"));
  EXPECT_THAT(run.err, HasSubstr("'jane'"));
}

TEST_F(ProfileCommand, RemovingAnEmptyNameRemovesNothing) {
  addJane();
  EXPECT_EQ(fendrel({"profile", "remove", ""}).exitCode, 2);
  EXPECT_EQ(fendrel({"profile", "list", "--json"}).json()["profiles"].size(), 1u);
}

TEST_F(ProfileCommand, CommandWithoutAnyProfileTellsHowToMakeOne) {
  const Outcome run = fendrel({"folders"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(run.err, HasSubstr("fendrel profile add NAME"));
}

TEST(ProfileChoice, NamedProfileIsTakenWithoutRegardToCase) {
  EXPECT_EQ(host::chooseProfile({{L"jane"}, {L"john", true}}, L"Jane"), L"jane");
}

TEST(ProfileChoice, DefaultWinsThenTheOnlyOne) {
  EXPECT_EQ(host::chooseProfile({{L"jane"}, {L"john", true}}, L""), L"john");
  EXPECT_EQ(host::chooseProfile({{L"jane"}}, L""), L"jane");
}

TEST(ProfileChoice, SeveralWithoutADefaultAreNamed) {
  try {
    host::chooseProfile({{L"jane"}, {L"john"}}, L"");
    FAIL() << "one was chosen";
  } catch (const host::Failure& failure) {
    EXPECT_EQ(failure.exitCode(), host::ExitCode::mapiUnusable);
    EXPECT_THAT(failure.what(), HasSubstr("'jane', 'john'"));
    EXPECT_THAT(failure.what(), HasSubstr("--profile NAME"));
  }
}

TEST_F(ProfileCommand, DefaultProfileIsTakenWhereNoneIsNamed) {
  addJane();
  ASSERT_EQ(fendrel({"profile", "add", "john", "--user", "John Roe", "--default"}).exitCode, 0);
  EXPECT_EQ(fendrel({"folders", "--json"}).json()["profile"], "john");
}

TEST_F(ProfileCommand, UnknownProfileIsNotUsable) {
  addJane();
  const Outcome run = fendrel({"folders", "--profile", "nobody", "--json"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_EQ(run.json()["error"]["name"], "MAPI_E_NOT_FOUND");
  EXPECT_THAT(run.err, HasSubstr("'nobody'"));
}

TEST_F(ProfileCommand, PasswordIsNeededAndTakenFromOptionOrEnvironment) {
  ASSERT_EQ(
      fendrel({"profile", "add", "safe", "--user", "Jane Doe", "--password-file", secret("s\xC3\xA9same")}).exitCode,
      0);
  const Outcome without = fendrel({"folders"});
  EXPECT_EQ(without.exitCode, 4);
  EXPECT_THAT(without.err, HasSubstr("MAPI_E_LOGON_FAILED"));
  EXPECT_EQ(fendrel({"folders", "--password-file", secret("wrong")}).exitCode, 4);
  EXPECT_EQ(fendrel({"folders", "--password-file", secret("s\xC3\xA9same")}).exitCode, 0);
  SetEnvironmentVariableW(L"FENDREL_PASSWORD", L"s\u00E9same");
  EXPECT_EQ(fendrel({"folders"}).exitCode, 0);
}

TEST_F(ProfileCommand, PostNeedsAndUsesThePassword) {
  ASSERT_EQ(fendrel({"profile", "add", "safe", "--user", "Jane Doe", "--password-file", secret("sesame")}).exitCode, 0);
  const std::string file = newFile(L"a.txt", "a");
  EXPECT_EQ(fendrel({"post", "--to", "Public Folders@R", "--create", file}).exitCode, 4);
  const Outcome run =
      fendrel({"post", "--to", "Public Folders@R", "--create", "--password-file", secret("sesame"), file});
  EXPECT_EQ(run.exitCode, 0) << run.err;
}

}  // namespace
}  // namespace fendrel::test
