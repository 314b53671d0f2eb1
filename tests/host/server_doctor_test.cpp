// fendrel doctor on a profile of a mail server: every failing check (cross).
#include "listener.h"
#include "server_fixture.h"

namespace fendrel::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* cross = "\xE2\x9C\x97";

class ServerDoctor : public ServerTest {
 protected:
  // Expects this exit code and these words in the first line with a cross.
  void expectCross(const std::vector<std::string>& arguments, int exitCode, const char* step,
                   const std::vector<std::string>& words) const {
    const Outcome run = fendrel(arguments);
    EXPECT_EQ(run.exitCode, exitCode) << run.out << run.err;
    const std::size_t at = run.out.find(cross);
    ASSERT_NE(at, std::string::npos) << run.out << run.err;
    const std::string line = run.out.substr(at, run.out.find('\n', at) - at);
    EXPECT_THAT(line, HasSubstr(step));
    for (const std::string& word : words) EXPECT_THAT(line, HasSubstr(word));
    EXPECT_THAT(run.out + run.err, Not(HasSubstr(mailVariable("FENDREL_MAIL_PASSWORD"))));
  }
};

TEST_F(ServerDoctor, EverythingThatIsInOrderHasATickAndOneLine) {
  addProfile("alice", secureUrl(), {"--public", "public", "--tls-ca", utf8(certificateFile())});
  const Outcome run = fendrel({"doctor", "--to", shared});
  EXPECT_EQ(run.exitCode, 0) << run.out;
  EXPECT_THAT(run.out, Not(HasSubstr(cross)));
  const std::vector<std::string> inOrder = {
      "Server name    localhost is 127.0.0.1", "Connection     port ", "Certificate    is for localhost",
      "Session        signed in as 'alice'",   "Capabilities   ",      "Accounts       'alice' as 'Mailbox - alice'",
      "'public' as 'Public Folders'",          "Logon          ",      "Target folder  '" + std::string(shared),
      "Right to post  messages can be made",   "Quota          ",      "Upload limit   512.0 MiB"};
  std::size_t at = 0;
  for (const std::string& words : inOrder) {
    const std::size_t found = run.out.find(words, at);
    EXPECT_NE(found, std::string::npos) << "'" << words << "' is not there, or not in order:\n" << run.out;
    if (found != std::string::npos) at = found;
  }
}

TEST_F(ServerDoctor, ProfileOfTheLocalStoreHasNothingToSayOfServers) {
  addJane();
  EXPECT_THAT(fendrel({"doctor"}).out, AllOf(Not(HasSubstr("Server name")), Not(HasSubstr("Quota"))));
}

TEST_F(ServerDoctor, UnknownNameIsACross) {
  addProfile("alice", "https://nowhere.invalid");
  expectCross({"doctor"}, 4, "Server name", {"nowhere.invalid", "MAPI_E_NETWORK_ERROR", "Check the name"});
}

TEST_F(ServerDoctor, ServerThatDoesNotRunIsACross) {
  addProfile("alice", "http://localhost:9");
  expectCross({"doctor"}, 4, "Connection", {"localhost:9", "Is the server running"});
}

TEST_F(ServerDoctor, UnknownIssuerIsACross) {
  addProfile("alice", secureUrl());
  expectCross({"doctor"}, 4, "Certificate", {"not trusted", "--tls-ca FILE"});
}

TEST_F(ServerDoctor, CertificateOfAnotherNameIsACross) {
  addProfile("alice", secureUrl("127.0.0.1"), {"--tls-ca", utf8(certificateFile())});
  expectCross({"doctor"}, 4, "Certificate", {"another machine's", "Use the name that stands in it"});
}

TEST_F(ServerDoctor, FileOfIssuersThatHoldsNoneIsACross) {
  addProfile("alice", secureUrl(), {"--tls-ca", newFile(L"ca.pem", "no certificate")});
  expectCross({"doctor"}, 4, "Certificate", {"ca.pem", "holds no certificate"});
}

TEST_F(ServerDoctor, WrongPasswordIsACross) {
  ASSERT_EQ(add("alice", "wr0ng-Secret").exitCode, 0);
  expectCross({"doctor"}, 4, "Session", {"does not take that name and password", "MAPI_E_LOGON_FAILED"});
  EXPECT_EQ(fendrel({"doctor", "--password-file", secret(mailVariable("FENDREL_MAIL_PASSWORD"))}).exitCode, 0);
}

TEST_F(ServerDoctor, WebServerWithoutJmapIsACross) {
  const Listener web([](ListenerConnection& connection) {
    connection.readRequest();
    connection.write(answerWith(200, "Content-Type: text/html\r\n", "<p>Welcome"));
  });
  addProfile("alice", web.url());
  expectCross({"doctor"}, 4, "Session", {"not with JMAP mail", "docs/server.md"});
}

TEST_F(ServerDoctor, JmapWithoutMailIsACross) {
  const Listener calendars([](ListenerConnection& connection) {
    connection.readRequest();
    connection.write(answerWith(200, "Content-Type: application/json\r\n",
                                R"({"capabilities": {"urn:ietf:params:jmap:core": {}}, "apiUrl": "/api",
                                    "accounts": {"a": {"name": "a", "accountCapabilities":
                                                       {"urn:ietf:params:jmap:mail": {}}}}})"));
  });
  addProfile("alice", calendars.url());
  expectCross({"doctor"}, 4, "Capabilities", {"not for mail"});
}

TEST_F(ServerDoctor, PublicAccountThatIsNotThereIsACrossWithThoseThatAre) {
  addProfile("alice", url(), {"--public", "nobodys"});
  expectCross({"doctor"}, 4, "Accounts", {"no account 'nobodys'", "'public' as 'public'", "MAPI_E_NOT_FOUND"});
}

TEST_F(ServerDoctor, FolderThatIsNotThereIsACross) {
  addProfile("alice");
  expectCross({"doctor", "--to", "Public Folders@Nowhere"}, 5, "Target folder", {"Nowhere", "MAPI_E_NOT_FOUND"});
}

TEST_F(ServerDoctor, MissingRightIsACross) {
  addProfile("bob");
  expectCross({"doctor", "--to", shared}, 5, "Right to post", {"MAPI_E_NO_ACCESS"});
}

TEST_F(ServerDoctor, FullAccountIsACross) {
  addProfile("carol");
  const std::string inbox = "Mailbox - carol@Inbox";
  EXPECT_THAT(fendrel({"doctor"}).out, HasSubstr("of 64.0 KiB are used"));
  ASSERT_EQ(fendrel({"post", "--to", inbox, newFile(L"large.bin", std::string(40'000, 'x'))}).exitCode, 0);
  std::vector<std::string> words = {"post", "--to", inbox};
  for (int number = 0; number < 12; ++number)
    words.push_back(newFile(L"small" + std::to_wstring(number) + L".txt", "x"));
  EXPECT_EQ(fendrel(words).exitCode, 3) << "the account is not full";
  expectCross({"doctor", "--to", inbox}, 1, "Quota", {"account is full", "of 64.0 KiB", "MAPI_E_NOT_ENOUGH_DISK"});
}

}  // namespace
}  // namespace fendrel::test
