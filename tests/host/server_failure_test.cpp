// Failures of a mail server while fendrel.exe posts through the plug-in.
#include "mail_proxy.h"
#include "server_fixture.h"

namespace fendrel::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class ServerFailure : public ServerTest {};

class ServerLostAnswer : public ServerTest, public testing::WithParamInterface<LostAnswer> {};

TEST_P(ServerLostAnswer, ThePostSucceedsAndItsMessageIsThereOnce) {
  MailProxy proxy({{GetParam().kind, 1}}, GetParam().cut);
  const std::string target = std::string(shared) + "@Lost " + GetParam().name;
  addProfile("alice");
  ASSERT_EQ(fendrel({"folder", "create", target}).exitCode, 0);
  ASSERT_EQ(fendrel({"profile", "add", "through", "--server", proxy.url(), "--user", "alice", "--public", "public",
                     "--password-file", secret(mailVariable("FENDREL_MAIL_PASSWORD"))})
                .exitCode,
            0);
  const Outcome posted = fendrel({"post", "--profile", "through", "--to", target, newFile(L"once.csv", "a;b\n")});
  EXPECT_EQ(posted.exitCode, 0) << posted.out << posted.err;
  EXPECT_EQ(proxy.cutCount(), 1) << "The test has cut nothing.";
  EXPECT_EQ(fendrel({"list", target, "--brief", "--json", "--profile", "alice"}).json()["count"], 1);
}

INSTANTIATE_TEST_SUITE_P(Requests, ServerLostAnswer,
                         testing::Values(LostAnswer{"session", Cut::AfterTheServer, "SessionAfter"},
                                         LostAnswer{"session", Cut::InTheAnswer, "SessionWithin"},
                                         LostAnswer{"Mailbox/get", Cut::AfterTheServer, "FoldersAfter"},
                                         LostAnswer{"Mailbox/get", Cut::InTheAnswer, "FoldersWithin"},
                                         LostAnswer{"Email/query", Cut::AfterTheServer, "ListingAfter"},
                                         LostAnswer{"Email/query", Cut::InTheAnswer, "ListingWithin"},
                                         LostAnswer{"upload", Cut::BeforeTheServer, "UploadBefore"},
                                         LostAnswer{"upload", Cut::AfterTheServer, "UploadAfter"},
                                         LostAnswer{"upload", Cut::InTheAnswer, "UploadWithin"},
                                         LostAnswer{"Email/import", Cut::BeforeTheServer, "ImportBefore"},
                                         LostAnswer{"Email/import", Cut::AfterTheServer, "ImportAfter"},
                                         LostAnswer{"Email/import", Cut::InTheAnswer, "ImportWithin"},
                                         LostAnswer{"Email/get", Cut::AfterTheServer, "ReadingAfter"},
                                         LostAnswer{"Email/get", Cut::InTheAnswer, "ReadingWithin"}),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(ServerFailure, FullAccountIsNotEnoughDiskAndKeepsNothing) {
  addProfile("carol");
  const std::string inbox = "Mailbox - carol@Inbox";
  const nlohmann::json before = messagesIn(inbox);
  const Outcome posted = fendrel({"post", "--to", inbox, "--json", newFile(L"large.bin", std::string(90'000, 'x'))});
  EXPECT_EQ(posted.exitCode, 1) << posted.err;
  // The plug-in returns code 3.
  EXPECT_EQ(posted.json()["files"][0]["error"]["name"], "MAPI_E_NOT_ENOUGH_DISK") << posted.out;
  EXPECT_EQ(messagesIn(inbox), before);
}

TEST_F(ServerFailure, MessageTooLargeForTheServerIsRefusedBeforeAByteIsSent) {
  MailProxy proxy;
  jmap::HttpClient client(mailSettings());
  jmap::HttpRequest request;
  request.address = jmap::parseAddress(url() + "/jmap/");
  std::string document;
  client.send(request, [&](const jmap::HttpAnswer&, std::span<const std::byte> bytes) {
    document.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  });
  nlohmann::json session = nlohmann::json::parse(document);
  session["capabilities"]["urn:ietf:params:jmap:core"]["maxSizeUpload"] = 50'000;
  proxy.answer("session", session.dump());
  addProfile("alice", proxy.url(), {"--public", "public"});
  ASSERT_EQ(fendrel({"folder", "create", ownFolder()}).exitCode, 0);
  proxy.takeCounts();
  const Outcome posted = fendrel(
      {"post", "--to", ownFolder(), newFile(L"large.bin", std::string(60'000, 'x')), newFile(L"small.txt", "x")});
  EXPECT_EQ(posted.exitCode, 3) << posted.out << posted.err;
  EXPECT_THAT(posted.err, AllOf(HasSubstr("large.bin"), HasSubstr("MAPI_E_TOO_BIG")));
  EXPECT_EQ(proxy.takeCounts()["upload"], 1) << "of small.txt alone";
  EXPECT_EQ(messagesIn(ownFolder()).size(), 1u);
}

TEST_F(ServerFailure, CertificateFromTheFileOfIssuersIsTrusted) {
  addProfile("alice", secureUrl(), {"--public", "public", "--tls-ca", utf8(certificateFile())});
  const Outcome posted = fendrel({"post", "--to", ownFolder(), "--create", newFile(L"a.txt", "a")});
  EXPECT_EQ(posted.exitCode, 0) << posted.err;
  EXPECT_EQ(messagesIn(ownFolder()).size(), 1u);
}

TEST_F(ServerFailure, CertificateOfAnUnknownIssuerIsRefusedWithWords) {
  addProfile("alice", secureUrl());
  const Outcome posted = fendrel({"post", "--to", shared, newFile(L"a.txt", "a")});
  EXPECT_EQ(posted.exitCode, 4) << posted.err;
  EXPECT_THAT(posted.err, AllOf(HasSubstr("not trusted"), HasSubstr("--tls-ca"), HasSubstr("MAPI_E_NETWORK_ERROR")));
}

TEST_F(ServerFailure, CertificateOfAnotherNameIsRefusedWithWords) {
  addProfile("alice", secureUrl("127.0.0.1"), {"--public", "public", "--tls-ca", utf8(certificateFile())});
  const Outcome posted = fendrel({"post", "--to", shared, newFile(L"a.txt", "a")});
  EXPECT_EQ(posted.exitCode, 4) << posted.err;
  EXPECT_THAT(posted.err, HasSubstr("another machine's"));
}

TEST_F(ServerFailure, KeptSecretIsInNoFileAndNoOutput) {
  const std::string password = mailVariable("FENDREL_MAIL_PASSWORD");
  addProfile("bob");
  const std::string log = inFolder(L"log.txt");
  const Outcome refused =
      fendrel({"post", "--to", shared, "-v", "--json-lines", "--log-file", log, newFile(L"a.txt", "a")});
  EXPECT_EQ(refused.exitCode, 5) << refused.err;
  for (const std::string& text : {refused.out, refused.err, readFile(folder.file(L"log.txt")),
                                  readFile(folder.file(L"store.db")), readFile(folder.file(L"store.db-wal"))}) {
    EXPECT_THAT(text, Not(HasSubstr(password)));
    std::string wide;
    for (const char c : password) wide += {c, '\0'};
    EXPECT_THAT(text, Not(HasSubstr(wide)));
  }
}

}  // namespace
}  // namespace fendrel::test
