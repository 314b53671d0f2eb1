// Mailboxes and messages on a real server.
#include <gmock/gmock.h>

#include "listener.h"
#include "mail_account.h"
#include "mail_fixture.h"
#include "sample_mail.h"

namespace fendrel::jmap {
namespace {

using namespace fendrel::test;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

class AccountTest : public testing::Test {
 protected:
  // The test's own mailbox in alice's account.
  std::string newMailbox(const std::string& name = testing::UnitTest::GetInstance()->current_test_info()->name()) {
    return account.createMailbox("", name);
  }

  std::string post(const std::string& mailbox, const std::string& subject) {
    const SampleMail sample(subject);
    return deliver(account, sample.forMailbox(mailbox));
  }

  std::vector<std::string> subjectsIn(const std::string& mailbox) {
    EmailQuery all;
    all.mailbox = mailbox;
    all.sortBy = "subject";
    EmailSelection selection;
    selection.properties = {"id", "subject"};
    std::vector<std::string> subjects;
    for (const Json& email : account.page(all, 0, 100, selection).emails) subjects.push_back(email["subject"]);
    return subjects;
  }

  MailServer server{mailSettings()};
  MailAccount account{server, "alice"};
};

TEST_F(AccountTest, ASessionNamesThePersonsOwnAccountFirst) {
  const MailSession& session = server.session();
  EXPECT_EQ(session.userName, "alice");
  EXPECT_EQ(session.primaryAccount, "alice");
  ASSERT_EQ(session.accounts.size(), 2u);
  EXPECT_EQ(session.accounts[0].name, "alice");
  EXPECT_TRUE(session.accounts[0].isPersonal);
  EXPECT_EQ(session.accounts[1].name, "public");
  EXPECT_FALSE(session.accounts[1].isPersonal);
  EXPECT_EQ(session.limits.maxSizeUpload, 512u << 20);
}

TEST_F(AccountTest, MailboxesHaveNamesRightsAndCounts) {
  const std::string parent = newMailbox();
  const std::string child = account.createMailbox(parent, "\xE5\xA3\xB2\xE4\xB8\x8A & co");
  post(child, "one");
  const Mailbox found = account.mailbox(child);
  EXPECT_EQ(found.name, "\xE5\xA3\xB2\xE4\xB8\x8A & co");
  EXPECT_EQ(found.parentId, parent);
  EXPECT_EQ(found.messageCount, 1u);
  EXPECT_EQ(found.unreadCount, 1u);
  EXPECT_TRUE(found.rights.mayRead && found.rights.mayAdd && found.rights.mayRemove && found.rights.mayDelete);
  EXPECT_EQ(account.findMailbox(parent, found.name), child);
  EXPECT_EQ(account.findMailbox("", found.name), std::nullopt);
  const std::string inbox = account.findMailbox("", "Inbox").value_or("");
  EXPECT_EQ(account.mailbox(inbox).role, "inbox");
}

TEST_F(AccountTest, ANameIsTakenOnceAmongSiblings) {
  const std::string one = newMailbox();
  const ServerFailure failure = failureOf([&] { newMailbox(); });
  EXPECT_EQ(failure.kind, FailureKind::nameTaken);
  EXPECT_THAT(failure.text, HasSubstr(server.name()));
  const std::string other = account.createMailbox(one, "other");
  EXPECT_EQ(kindOf([&] { account.createMailbox(one, "other"); }), "nameTaken");
  const std::string third = account.createMailbox(one, "third");
  EXPECT_EQ(kindOf([&] { account.renameMailbox(third, "other"); }), "nameTaken");
  account.renameMailbox(third, "fourth");
  EXPECT_EQ(account.mailbox(third).name, "fourth");
  account.moveMailbox(third, other);
  EXPECT_EQ(account.mailbox(third).parentId, other);
}

TEST_F(AccountTest, AMailboxIsDeletedOnlyWhenItIsEmptyUnlessItsMessagesAreToGo) {
  const std::string parent = newMailbox();
  const std::string child = account.createMailbox(parent, "child");
  EXPECT_EQ(kindOf([&] { account.deleteMailbox(parent, true); }), "hasMailboxes");
  post(child, "one");
  EXPECT_EQ(kindOf([&] { account.deleteMailbox(child, false); }), "hasMessages");
  account.deleteMailbox(child, true);
  EXPECT_EQ(kindOf([&] { account.mailbox(child); }), "notFound");
  account.deleteMailbox(parent, false);
  EXPECT_EQ(kindOf([&] { account.deleteMailbox(parent, false); }), "notFound");
}

TEST_F(AccountTest, WhoMayOnlyReadMayNotChange) {
  MailServer asBob(mailSettings("bob"));
  MailAccount shared(asBob, "public");
  const std::string reports = shared.findMailbox("", "Reports").value_or("");
  ASSERT_NE(reports, "");
  EXPECT_TRUE(shared.mailbox(reports).rights.mayRead);
  EXPECT_FALSE(shared.mailbox(reports).rights.mayAdd);
  const SampleMail sample("refused");
  EXPECT_EQ(kindOf([&] { deliver(shared, sample.forMailbox(reports)); }), "noAccess");
  EXPECT_EQ(kindOf([&] { shared.createMailbox(reports, "refused"); }), "noAccess");
  EXPECT_EQ(kindOf([&] { shared.renameMailbox(reports, "refused"); }), "noAccess");
  EXPECT_EQ(kindOf([&] { shared.deleteMailbox(reports, false); }), "noAccess");

  MailAccount asAlice(server, "public");
  const std::string id = deliver(asAlice, sample.forMailbox(reports));
  const std::vector<std::string> ids{id};
  EmailSelection selection;
  selection.properties = {"id"};
  EXPECT_EQ(shared.emails(ids, selection).emails.size(), 1u);
  EXPECT_THAT(shared.destroy(ids), testing::SizeIs(1));
  EXPECT_THAT(asAlice.destroy(ids), IsEmpty());
}

TEST_F(AccountTest, AnAccountOrMailboxThatIsNotThereIsNotFound) {
  MailAccount other(server, "nobody");
  EXPECT_EQ(kindOf([&] { other.mailboxes(); }), "notFound");
  EXPECT_EQ(kindOf([&] { account.mailbox("no-such-mailbox"); }), "notFound");
  const SampleMail sample("nowhere");
  EXPECT_EQ(kindOf([&] { deliver(account, sample.forMailbox("no-such-mailbox")); }), "notFound");
  EmailImport import;
  import.blob = "G0123456789012345678901234567890123456789";
  import.mailbox = newMailbox();
  EXPECT_EQ(kindOf([&] { account.import(import); }), "notFound");
}

TEST_F(AccountTest, PagesComeInOrderAndInFewRequests) {
  const std::string mailbox = newMailbox();
  std::vector<std::string> wanted;
  for (int number = 0; number < 25; ++number) {
    wanted.push_back("report " + std::to_string(100 + number));
    const SampleMail sample(wanted.back());
    NewMessage message = sample.forMailbox(mailbox);
    message.receivedAt += std::chrono::minutes((number * 7) % 25);
    deliver(account, message);
  }
  EmailQuery byTime;
  byTime.mailbox = mailbox;
  EmailSelection selection;
  selection.properties = {"id", "subject", "receivedAt"};
  const std::uint64_t before = server.requestCount();
  std::vector<std::string> subjects, times;
  EmailPage found;
  for (std::uint64_t position = 0; position < 25; position += 10)
    for (const Json& email : account.page(byTime, position, 10, selection, &found).emails) {
      subjects.push_back(email["subject"]);
      times.push_back(email["receivedAt"]);
    }
  EXPECT_EQ(server.requestCount() - before, 3u);
  EXPECT_EQ(found.total, 25u);
  EXPECT_EQ(found.position, 20u);
  EXPECT_TRUE(std::ranges::is_sorted(times));
  EXPECT_EQ(times.front(), "2031-04-05T14:00:00Z");
  std::ranges::sort(subjects);
  EXPECT_THAT(subjects, ElementsAreArray(wanted));

  const std::vector<std::string> ids = account.query(byTime, 0, 100).ids;
  const EmailList list = account.emails(ids, selection, 10);
  ASSERT_EQ(list.emails.size(), 25u);
  for (std::size_t place = 0; place < ids.size(); ++place) EXPECT_EQ(list.emails[place]["id"], ids[place]);
}

TEST_F(AccountTest, ConditionsAreKeywordsAndHeaders) {
  const std::string mailbox = newMailbox();
  const std::vector<std::string> one{post(mailbox, "one")}, two{post(mailbox, "two")};
  EXPECT_THAT(account.setKeywords(one, {{"$seen", true}, {"$flagged", true}}), IsEmpty());
  EXPECT_THAT(account.setKeywords(one, {{"$flagged", false}}), IsEmpty());
  EmailQuery query;
  query.mailbox = mailbox;
  query.withKeywords = {"$seen"};
  EXPECT_THAT(account.query(query, 0, 10).ids, ElementsAreArray(one));
  query.withKeywords = {"$flagged"};
  EXPECT_THAT(account.query(query, 0, 10).ids, IsEmpty());
  query.withKeywords = {};
  query.withoutKeywords = {"$seen"};
  EXPECT_THAT(account.query(query, 0, 10).ids, ElementsAreArray(two));
  query.withoutKeywords = {};
  query.headerName = "Subject";
  query.headerValue = "two";
  EXPECT_THAT(account.query(query, 0, 10).ids, ElementsAreArray(two));
}

TEST_F(AccountTest, AMessageIsFoundByItsWholeIdentifierAlone) {
  const std::string mailbox = newMailbox();
  const SampleMail sample("found");
  const std::string id = deliver(account, sample.forMailbox(mailbox));
  EXPECT_THAT(account.findByMessageId(mailbox, sample.messageId), ElementsAre(id));
  std::string half = sample.messageId;
  half.erase(1, 3);
  EXPECT_THAT(account.findByMessageId(mailbox, half), IsEmpty());
  EXPECT_THAT(account.findByMessageId(newMailbox("another"), sample.messageId), IsEmpty());
}

TEST_F(AccountTest, MessagesMoveAndGo) {
  const std::string mailbox = newMailbox();
  const std::string other = account.createMailbox(mailbox, "other");
  const std::vector<std::string> ids{post(mailbox, "a"), post(mailbox, "b")}, target{other};
  EXPECT_THAT(account.setMailboxes(ids, target), IsEmpty());
  EXPECT_THAT(subjectsIn(mailbox), IsEmpty());
  EXPECT_THAT(subjectsIn(other), ElementsAre("a", "b"));
  const std::vector<std::string> one{ids[0], "Mdoesnotexist0000000000000"};
  EXPECT_THAT(account.destroy(one), IsEmpty()) << "What is gone is gone.";
  EXPECT_THAT(subjectsIn(other), ElementsAre("b"));
  const MailAccount::Failures failures = account.setMailboxes(one, target);
  ASSERT_EQ(failures.size(), 2u);
  EXPECT_EQ(failures.begin()->second.kind, FailureKind::notFound);
}

TEST_F(AccountTest, StatesTellWhatHasChanged) {
  const std::string mailbox = newMailbox();
  const std::vector<std::string> old{post(mailbox, "old")};
  EmailSelection selection;
  selection.properties = {"id"};
  const std::string state = account.emails(old, selection).state;
  const std::string mailboxState = account.mailboxes().state;
  const std::string made = post(mailbox, "new");
  account.destroy(old);
  const Changes changes = account.emailChanges(state);
  EXPECT_THAT(changes.created, ElementsAre(made));
  EXPECT_THAT(changes.destroyed, ElementsAreArray(old));
  EXPECT_FALSE(changes.hasMore);
  EXPECT_THAT(account.emailChanges(changes.state).created, IsEmpty());
  EXPECT_THAT(account.mailboxChanges(mailboxState).updated, ElementsAre(mailbox));
  EXPECT_EQ(kindOf([&] { account.emailChanges("1"); }), "stateTooOld");
}

TEST_F(AccountTest, ABlobComesWholeOrInPart) {
  const SampleMail sample("blob", 300'000);
  const std::string blob = server.upload("alice", sample.body());
  std::string whole, part, end;
  const auto into = [](std::string& text) {
    return [&text](std::span<const std::byte> bytes) {
      text.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    };
  };
  server.download("alice", blob, into(whole));
  EXPECT_TRUE(whole == sample.text) << whole.size();
  server.download("alice", blob, into(part), 100'000, 70'000);
  EXPECT_TRUE(part == sample.text.substr(100'000, 70'000)) << part.size();
  server.download("alice", blob, into(end), 299'000);
  EXPECT_TRUE(end == sample.text.substr(299'000)) << end.size();
  EXPECT_EQ(kindOf([&] { server.download("alice", "Gnothing", into(end)); }), "notFound");
}

TEST_F(AccountTest, AFullAccountIsOverQuota) {
  MailServer asCarol(mailSettings("carol"));
  MailAccount small(asCarol, "carol");
  const std::string inbox = small.findMailbox("", "Inbox").value_or("");
  const std::vector<Quota> before = small.quotas();
  ASSERT_EQ(before.size(), 1u);
  EXPECT_EQ(before[0].limit, 64u << 10);
  const SampleMail sample("large", 100'000);
  const ServerFailure failure = failureOf([&] { deliver(small, sample.forMailbox(inbox)); });
  EXPECT_EQ(failure.kind, FailureKind::overQuota);
  EXPECT_FALSE(failure.passes);
  EXPECT_THAT(account.quotas(), IsEmpty());
}

TEST_F(AccountTest, WhatIsTooLargeIsKnownBeforeAByteIsSent) {
  server.session();
  const std::uint64_t before = server.requestCount();
  const RequestBody body{"message/rfc822", (512ull << 20) + 1, [](const ByteSink&) { FAIL() << "It was read."; }};
  const ServerFailure failure = failureOf([&] { server.upload("alice", body); });
  EXPECT_EQ(failure.kind, FailureKind::tooLarge);
  EXPECT_THAT(failure.text, HasSubstr("536870913 bytes"));
  EXPECT_EQ(server.requestCount(), before);
}

TEST_F(AccountTest, AMessageThatTheServerDoesNotTakeIsABadOne) {
  SampleMail sample("bare");
  sample.text += "a bare\nline end\r\n";
  EXPECT_EQ(kindOf([&] { deliver(account, sample.forMailbox(newMailbox())); }), "badMessage");
}

TEST(MailServerTest, AWrongPasswordIsUnauthorizedAndNotRepeated) {
  Settings settings = mailSettings();
  settings.secret = "not the right one";
  MailServer server(settings);
  const ServerFailure failure = failureOf([&] { server.session(); });
  EXPECT_EQ(failure.kind, FailureKind::unauthorized);
  EXPECT_THAT(failure.text, Not(HasSubstr("not the right one")));
  EXPECT_EQ(server.requestCount(), 2u) << "The address, and the session once.";
}

TEST(MailServerTest, AServerWithoutMailIsToldApart) {
  std::string answer;
  Listener listener([&](ListenerConnection& connection) {
    connection.readRequest();
    connection.write(answer);
  });
  Settings settings = mailSettings();
  settings.url = listener.url();
  for (const std::string& one :
       {answerWith(404, "", "not here"), answerWith(200, "Content-Type: text/html\r\n", "<p>Hi</p>"),
        answerWith(200, "", R"({"capabilities": {}, "apiUrl": "/x", "accounts": {}})")}) {
    SCOPED_TRACE(one);
    answer = one;
    EXPECT_EQ(kindOf([&] { MailServer(settings).session(); }), "noMail");
  }
}

TEST(MailServerTest, AnotherServerIsNotToldThePassword) {
  std::atomic<int> asked{0};
  Listener other([&](ListenerConnection& connection) {
    ++asked;
    connection.readRequest();
  });
  Listener listener([&](ListenerConnection& connection) {
    connection.readRequest();
    connection.write(answerWith(301, "Location: " + other.url() + "/jmap/\r\n", ""));
  });
  Settings settings = mailSettings();
  settings.url = listener.url();
  const ServerFailure failure = failureOf([&] { MailServer(settings).session(); });
  EXPECT_EQ(failure.kind, FailureKind::redirected);
  EXPECT_THAT(failure.text, HasSubstr(other.url()));
  EXPECT_EQ(asked, 0);
}

TEST(MailServerTest, PlainHttpElsewhereIsNotFollowed) {
  Listener listener([&](ListenerConnection& connection) {
    connection.readRequest();
    connection.write(answerWith(302, "Location: http://mail.example/jmap/\r\n", ""));
  });
  Settings settings = mailSettings();
  settings.url = listener.url();
  EXPECT_EQ(kindOf([&] { MailServer(settings).session(); }), "redirected");
}

TEST(MailServerTest, ABusyServerIsAskedAgainWhenItWantsToBe) {
  std::atomic<int> asked{0};
  int status = 503;
  Listener listener([&](ListenerConnection& connection) {
    const std::string request = connection.readRequest();
    if (asked++ == 0)
      connection.write(answerWith(status, "Retry-After: 1\r\n", ""));
    else
      connection.write(answerOf(mailPort(), request));
  });
  for (const int one : {503, 429}) {
    status = one;
    asked = 0;
    Settings settings = mailSettings();
    settings.url = listener.url() + "/jmap/";
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(MailServer(settings).session().userName, "alice");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 950ms);
    EXPECT_EQ(asked, 2);
  }
}

TEST(MailServerTest, AServerThatStaysBusyIsNotWaitedForLong) {
  Listener listener([&](ListenerConnection& connection) {
    connection.readRequest();
    connection.write(answerWith(429, "Retry-After: 3600\r\n", R"({"type": "about:blank", "detail": "too many"})"));
  });
  Settings settings = mailSettings();
  settings.url = listener.url();
  const auto begin = std::chrono::steady_clock::now();
  const ServerFailure failure = failureOf([&] { MailServer(settings).session(); });
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
  EXPECT_EQ(failure.kind, FailureKind::busy);
  EXPECT_TRUE(failure.passes);
  EXPECT_EQ(failure.retryAfter, 3600s);
  EXPECT_THAT(failure.text, HasSubstr("too many"));
}

TEST(MailServerTest, WaitingForABusyServerEndsWithTheWishToCancel) {
  Listener listener([&](ListenerConnection& connection) {
    connection.readRequest();
    connection.write(answerWith(503, "Retry-After: 30\r\n", ""));
  });
  Settings settings = mailSettings();
  settings.url = listener.url();
  const auto begin = std::chrono::steady_clock::now();
  settings.isCancelled = [&] { return std::chrono::steady_clock::now() > begin + 400ms; };
  EXPECT_EQ(kindOf([&] { MailServer(settings).session(); }), "cancelled");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2400ms);
}

TEST(MailServerTest, AllOfItGoesOverTls) {
  MailServer server(secureMailSettings());
  MailAccount account(server, "alice");
  const SampleMail sample("over TLS", 200'000);
  const std::string mailbox = account.createMailbox("", "AllOfItGoesOverTls");
  const std::string id = deliver(account, sample.forMailbox(mailbox));
  EXPECT_THAT(account.findByMessageId(mailbox, sample.messageId), ElementsAre(id));
}

}  // namespace
}  // namespace fendrel::jmap
