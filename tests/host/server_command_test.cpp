// The commands of fendrel.exe on a profile of a mail server.
#include <filesystem>

#include "server_fixture.h"

namespace fendrel::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class ServerCommand : public ServerTest {};

TEST_F(ServerCommand, ProfileIsListedWithItsServerAndNeverItsPassword) {
  addProfile("alice");
  const Outcome listed = fendrel({"profile", "list"});
  EXPECT_EQ(listed.out, "alice  alice  " + url() + "  (default)\n");
  const Outcome document = fendrel({"profile", "list", "--json"});
  EXPECT_EQ(document.json()["profiles"][0]["server"], url());
  EXPECT_THAT(document.out, Not(HasSubstr(mailVariable("FENDREL_MAIL_PASSWORD"))));
}

TEST_F(ServerCommand, AccountsAreMessageStores) {
  addProfile("alice");
  const Outcome folders = fendrel({"folders"});
  EXPECT_EQ(folders.exitCode, 0) << folders.err;
  EXPECT_THAT(folders.out,
              AllOf(HasSubstr("Mailbox - alice  (default store)"), HasSubstr("Public Folders"), HasSubstr("Reports")));
}

TEST_F(ServerCommand, PostedReportIsListedAndComesBackByteByByte) {
  addProfile("alice");
  std::string bytes(300'000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31 + i / 256);
  const Outcome posted = fendrel({"post", "--to", ownFolder(), "--create", newFile(L"Umsatz \u65E5\u672C.pdf", bytes)});
  ASSERT_EQ(posted.exitCode, 0) << posted.err;
  const auto messages = messagesIn(ownFolder());
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0]["subject"], "Umsatz \xE6\x97\xA5\xE6\x9C\xAC.pdf");
  EXPECT_EQ(messages[0]["sender"], "alice");
  const Outcome saved = fendrel({"save", ownFolder(), "1", inFolder(L"out")});
  ASSERT_EQ(saved.exitCode, 0) << saved.err;
  EXPECT_TRUE(readFile(folder.file(L"out\\Umsatz \u65E5\u672C.pdf")) == bytes) << "other bytes than were posted";
}

TEST_F(ServerCommand, TwoPostsOfAFileAreTwoMessagesAndSkipExistingFindsThem) {
  addProfile("alice");
  const std::string file = newFile(L"twice.csv", "a;b\n");
  for (int i = 0; i < 2; ++i) ASSERT_EQ(fendrel({"post", "--to", ownFolder(), "--create", file}).exitCode, 0);
  EXPECT_EQ(messagesIn(ownFolder()).size(), 2u);
  const Outcome skipped = fendrel({"post", "--to", ownFolder(), "--skip-existing", file});
  EXPECT_EQ(skipped.exitCode, 0) << skipped.err;
  EXPECT_THAT(skipped.out, HasSubstr("is there already"));
  EXPECT_EQ(messagesIn(ownFolder()).size(), 2u);
}

TEST_F(ServerCommand, FoldersAreRenamedAndDeletedAndMessagesDeleted) {
  addProfile("alice");
  ASSERT_EQ(fendrel({"post", "--to", ownFolder(), "--create", newFile(L"a.txt", "a"), newFile(L"b.txt", "b")}).exitCode,
            0);
  const Outcome deleted = fendrel({"delete", ownFolder(), "1", "--yes"});
  EXPECT_EQ(deleted.exitCode, 0) << deleted.err;
  EXPECT_EQ(messagesIn(ownFolder()).size(), 1u);
  const Outcome renamed = fendrel({"folder", "rename", ownFolder(), "Renamed"});
  ASSERT_EQ(renamed.exitCode, 0) << renamed.err;
  EXPECT_EQ(messagesIn(std::string(shared) + "@Renamed").size(), 1u);
  const Outcome gone = fendrel({"folder", "delete", std::string(shared) + "@Renamed", "--recursive"});
  EXPECT_EQ(gone.exitCode, 0) << gone.err;
  EXPECT_THAT(fendrel({"folders"}).out, Not(HasSubstr("Renamed")));
}

TEST_F(ServerCommand, WhoMayOnlyReadIsRefused) {
  addProfile("bob");
  const Outcome posted = fendrel({"post", "--to", shared, newFile(L"a.txt", "a")});
  EXPECT_NE(posted.exitCode, 0);
  EXPECT_THAT(posted.err, HasSubstr("MAPI_E_NO_ACCESS"));
}

TEST_F(ServerCommand, WrongPasswordFailsTheLogonAndIsShownNowhere) {
  ASSERT_EQ(add("alice", "wr0ng-Secret").exitCode, 0);
  const Outcome folders = fendrel({"folders"});
  EXPECT_EQ(folders.exitCode, 4);
  EXPECT_THAT(folders.err, HasSubstr("MAPI_E_LOGON_FAILED"));
  EXPECT_THAT(folders.err + folders.out, Not(HasSubstr("wr0ng-Secret")));
}

TEST_F(ServerCommand, PasswordOfACallStandsInForTheKeptOne) {
  ASSERT_EQ(add("alice", "wr0ng-Secret").exitCode, 0);
  const Outcome folders = fendrel({"folders", "--password-file", secret(mailVariable("FENDREL_MAIL_PASSWORD"))});
  EXPECT_EQ(folders.exitCode, 0) << folders.err;
}

TEST_F(ServerCommand, UnreachableServerIsNamed) {
  ASSERT_EQ(add("alice", "any", "http://localhost:9").exitCode, 0);
  const Outcome folders = fendrel({"folders"});
  EXPECT_NE(folders.exitCode, 0);
  EXPECT_THAT(folders.err, HasSubstr("localhost:9"));
}

TEST_F(ServerCommand, AddressThatIsNoneIsRefusedWithWordsAndLeavesNoProfile) {
  const Outcome added = add("alice", "any", "http://mail.example");
  EXPECT_NE(added.exitCode, 0);
  EXPECT_THAT(added.err, HasSubstr("mail.example"));
  EXPECT_EQ(fendrel({"profile", "list", "--json"}).json()["profiles"].size(), 0u);
}

TEST_F(ServerCommand, PublicAccountThatIsNotThereIsNamed) {
  ASSERT_EQ(fendrel({"profile", "add", "alice", "--server", url(), "--user", "alice", "--public", "nobodys",
                     "--password-file", secret(mailVariable("FENDREL_MAIL_PASSWORD"))})
                .exitCode,
            0);
  EXPECT_THAT(fendrel({"folders"}).err, HasSubstr("nobodys"));
}

TEST_F(ServerCommand, MessagesOfARemovedProfileStayOnTheServer) {
  addProfile("alice");
  const Outcome refused = fendrel({"profile", "remove", "alice", "--with-messages"});
  EXPECT_EQ(refused.exitCode, 2) << refused.err;
  const Outcome removed = fendrel({"profile", "remove", "alice"});
  EXPECT_EQ(removed.exitCode, 0) << removed.err;
  EXPECT_THAT(removed.out, HasSubstr("stay on the server"));
}

TEST_F(ServerCommand, PersonalReportsAreInNoFolderThatIsShown) {
  addProfile("alice");
  const Outcome posted = fendrel({"post", "--personal", newFile(L"mine.csv", "a")});
  ASSERT_EQ(posted.exitCode, 0) << posted.err;
  const Outcome listed = fendrel({"list", "--personal", "--json"});
  ASSERT_EQ(listed.exitCode, 0) << listed.err;
  EXPECT_EQ(listed.json()["messages"].size(), 1u);
  EXPECT_THAT(fendrel({"folders"}).out, Not(HasSubstr("Personal Reports")))
      << "their mailbox is not a folder among others";
}

}  // namespace
}  // namespace fendrel::test
