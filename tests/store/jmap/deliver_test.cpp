// A message is delivered once, whichever answer is lost.
#include "deliver.h"

#include <gmock/gmock.h>

#include "mail_fixture.h"
#include "mail_proxy.h"
#include "sample_mail.h"

namespace fendrel::jmap {
namespace {

using namespace fendrel::test;
using testing::ElementsAre;

class DeliverTest : public testing::Test {
 protected:
  DeliverTest() {
    static int number = 0;
    mailbox = direct.createMailbox("", "Deliver " + std::to_string(++number));
  }

  std::uint64_t messageCount() { return direct.mailbox(mailbox).messageCount; }

  MailServer server{mailSettings()};
  MailAccount direct{server, "alice"};
  std::string mailbox;
};

class DeliverWithLostAnswerTest : public DeliverTest, public testing::WithParamInterface<LostAnswer> {};

TEST_P(DeliverWithLostAnswerTest, TheMessageIsThereOnce) {
  MailProxy proxy({{GetParam().kind, 1}}, GetParam().cut);
  MailServer through(proxy.settings());
  MailAccount account(through, "alice");
  const SampleMail sample("once", 100'000);
  const std::string id = deliver(account, sample.forMailbox(mailbox));
  EXPECT_EQ(proxy.cutCount(), 1) << "The test has cut nothing.";
  EXPECT_EQ(messageCount(), 1u);
  EXPECT_THAT(direct.findByMessageId(mailbox, sample.messageId), ElementsAre(id));
}

INSTANTIATE_TEST_SUITE_P(Requests, DeliverWithLostAnswerTest,
                         testing::Values(LostAnswer{"session", Cut::BeforeTheServer, "SessionBefore"},
                                         LostAnswer{"session", Cut::AfterTheServer, "SessionAfter"},
                                         LostAnswer{"session", Cut::InTheAnswer, "SessionWithin"},
                                         LostAnswer{"upload", Cut::BeforeTheServer, "UploadBefore"},
                                         LostAnswer{"upload", Cut::AfterTheServer, "UploadAfter"},
                                         LostAnswer{"upload", Cut::InTheAnswer, "UploadWithin"},
                                         LostAnswer{"Email/import", Cut::BeforeTheServer, "ImportBefore"},
                                         LostAnswer{"Email/import", Cut::AfterTheServer, "ImportAfter"},
                                         LostAnswer{"Email/import", Cut::InTheAnswer, "ImportWithin"}),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(DeliverTest, TheQuestionAfterALostAnswerMayLoseItsOwn) {
  MailProxy proxy({{"Email/import", 1}, {"Email/query", 1}}, Cut::AfterTheServer);
  MailServer through(proxy.settings());
  MailAccount account(through, "alice");
  const SampleMail sample("both");
  const std::string id = deliver(account, sample.forMailbox(mailbox));
  EXPECT_EQ(proxy.cutCount(), 2);
  EXPECT_EQ(messageCount(), 1u);
  EXPECT_THAT(direct.findByMessageId(mailbox, sample.messageId), ElementsAre(id));
}

TEST_F(DeliverTest, AServerThatAlwaysLosesTheAnswerIsGivenUpAndTheMessageCanBeDeliveredAgain) {
  MailProxy proxy({{"Email/import", 100}}, Cut::BeforeTheServer);
  MailServer through(proxy.settings());
  MailAccount account(through, "alice");
  const SampleMail sample("again");
  NewMessage message = sample.forMailbox(mailbox);
  const ServerFailure failure = failureOf([&] { deliver(account, message, 2); });
  EXPECT_EQ(failure.kind, FailureKind::lost);
  EXPECT_TRUE(failure.passes);
  EXPECT_EQ(messageCount(), 0u);
  message.mayBeThere = true;
  const std::string id = deliver(direct, message);
  EXPECT_EQ(deliver(direct, message), id);
  EXPECT_EQ(messageCount(), 1u);
}

TEST_F(DeliverTest, TheSameBytesAreTheSameMessageEvenWhereNobodyLooked) {
  const SampleMail sample("same");
  const std::string id = deliver(direct, sample.forMailbox(mailbox));
  EXPECT_EQ(deliver(direct, sample.forMailbox(mailbox)), id);
  EXPECT_EQ(messageCount(), 1u);
  const SampleMail other("same");
  EXPECT_NE(deliver(direct, other.forMailbox(mailbox)), id);
  EXPECT_EQ(messageCount(), 2u);
}

TEST_F(DeliverTest, AMessageHasItsTimeAndKeywordsFromTheStart) {
  const SampleMail sample("flags");
  NewMessage message = sample.forMailbox(mailbox);
  message.keywords = {"$seen"};
  const std::vector<std::string> ids{deliver(direct, message)};
  EmailSelection selection;
  selection.properties = {"keywords", "receivedAt"};
  const Json email = direct.emails(ids, selection).emails.at(0);
  EXPECT_EQ(email["keywords"], Json({{"$seen", true}}));
  EXPECT_EQ(email["receivedAt"], "2031-04-05T14:00:00Z");
}

TEST_F(DeliverTest, WhatTheContentThrowsLeavesAndNothingArrives) {
  const SampleMail sample("broken", 200'000);
  NewMessage message = sample.forMailbox(mailbox);
  message.content.write = [&](const ByteSink& to) {
    to(std::as_bytes(std::span(sample.text)).first(100'000));
    throw std::range_error("the file ended early");
  };
  EXPECT_THROW(deliver(direct, message), std::range_error);
  EXPECT_EQ(messageCount(), 0u);
}

class LostAnswerTest : public DeliverTest {};

TEST_F(LostAnswerTest, AMailboxIsMadeOnce) {
  for (const Cut cut : {Cut::BeforeTheServer, Cut::AfterTheServer, Cut::InTheAnswer}) {
    MailProxy proxy({{"Mailbox/set", 1}}, cut);
    MailServer through(proxy.settings());
    MailAccount account(through, "alice");
    const std::string name = "made " + std::to_string(static_cast<int>(cut));
    const std::string made = account.createMailbox(mailbox, name);
    EXPECT_EQ(proxy.cutCount(), 1);
    EXPECT_EQ(direct.findMailbox(mailbox, name), made);
  }
}

TEST_F(LostAnswerTest, AMailboxIsRenamedAndDeletedOnce) {
  for (const Cut cut : {Cut::BeforeTheServer, Cut::AfterTheServer, Cut::InTheAnswer}) {
    // Unique names: Cyrus keeps deleted mailboxes under their name and the second.
    const std::string name = "old " + std::to_string(static_cast<int>(cut)), newName = "new " + name;
    const std::string made = direct.createMailbox(mailbox, name);
    MailProxy renaming({{"Mailbox/set", 1}}, cut), deleting({{"Mailbox/set", 1}}, cut);
    MailServer first(renaming.settings()), second(deleting.settings());
    MailAccount(first, "alice").renameMailbox(made, newName);
    EXPECT_EQ(direct.mailbox(made).name, newName);
    MailAccount(second, "alice").deleteMailbox(made, true);
    EXPECT_EQ(direct.findMailbox(mailbox, newName), std::nullopt);
    EXPECT_EQ(renaming.cutCount() + deleting.cutCount(), 2);
  }
}

TEST_F(LostAnswerTest, MessagesAreMarkedAndDeletedOnce) {
  for (const Cut cut : {Cut::BeforeTheServer, Cut::AfterTheServer, Cut::InTheAnswer}) {
    const SampleMail sample("changed");
    const std::vector<std::string> ids{deliver(direct, sample.forMailbox(mailbox))};
    MailProxy marking({{"Email/set", 1}}, cut), deleting({{"Email/set", 1}}, cut);
    MailServer first(marking.settings()), second(deleting.settings());
    EXPECT_THAT(MailAccount(first, "alice").setKeywords(ids, {{"$seen", true}}), testing::IsEmpty());
    EXPECT_EQ(direct.mailbox(mailbox).unreadCount, 0u);
    EXPECT_THAT(MailAccount(second, "alice").destroy(ids), testing::IsEmpty());
    EXPECT_EQ(messageCount(), 0u);
    EXPECT_EQ(marking.cutCount() + deleting.cutCount(), 2);
  }
}

TEST_F(LostAnswerTest, ADownloadGoesOnWhereItEnded) {
  const SampleMail sample("download", 400'000);
  const std::string blob = server.upload("alice", sample.body());
  for (const Cut cut : {Cut::BeforeTheServer, Cut::AfterTheServer, Cut::InTheAnswer}) {
    MailProxy proxy({{"download", 2}}, cut);
    MailServer through(proxy.settings());
    std::string read;
    through.download("alice", blob, [&](std::span<const std::byte> bytes) {
      read.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    });
    EXPECT_EQ(proxy.cutCount(), 2);
    EXPECT_TRUE(read == sample.text) << read.size();
  }
}

}  // namespace
}  // namespace fendrel::jmap
