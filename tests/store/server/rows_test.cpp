// Rows of a folder on a server: how few requests they cost, and that changes are seen all the same.
#include <gmock/gmock.h>

#include <algorithm>

#include "mail_fixture.h"
#include "mail_ids.h"
#include "mail_proxy.h"
#include "mail_tags.h"
#include "sample_mail.h"
#include "server_engine.h"
#include "temp_folder.h"

namespace fendrel::store {
namespace {

using namespace fendrel::test;
using testing::ElementsAre;
using testing::Pair;

std::u16string wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

class ServerRowsTest : public testing::Test {
 protected:
  ServerRowsTest() {
    static int number = 0;
    mailbox = account.createMailbox("", "Rows " + std::to_string(++number));
    std::unique_ptr<Database> opened;
    std::string error;
    EXPECT_EQ(Database::open(folder.file(L"store.db"), opened, error), Status::Ok) << error;
    Profile profile;
    profile.userName = u"Alice";
    profile.server.emplace();
    profile.server->url = wide(proxy.url());
    profile.server->user = u"alice";
    EXPECT_EQ(ServerEngine::open(std::move(opened), profile, wide(mailVariable("FENDREL_MAIL_PASSWORD")), engine),
              Status::Ok);
  }

  // Many in one request, not through the proxy.
  void fill(int count) {
    for (int done = 0; done < count;) {
      jmap::Json create = jmap::Json::object();
      for (int i = 0; i < 250 && done < count; ++i, ++done) {
        const std::string subject = "message " + std::to_string(done);
        create[std::to_string(done)] = {{"mailboxIds", {{mailbox, true}}},
                                        {"subject", subject},
                                        {"textBody", {{{"partId", "text"}, {"type", "text/plain"}}}},
                                        {"bodyValues", {{"text", {{"value", "Hello"}}}}}};
      }
      const jmap::Json result =
          server.call({"Email/set", {{"accountId", "alice"}, {"create", create}}}, jmap::Repeat::never);
      ASSERT_EQ(result["created"].size(), create.size()) << result.dump();
    }
  }

  Id reports() const { return idOf("alice", mailbox); }

  std::vector<MessageRow> rows() {
    const std::vector<PropertyTag> columns = {tags::subject, tags::messageFlags};
    std::vector<MessageRow> all;
    const Status status = engine->readMessageRows(reports(), MessageKind::Ordinary, columns, [&](MessageRow&& row) {
      all.push_back(std::move(row));
      return true;
    });
    EXPECT_EQ(status, Status::Ok) << engine->lastFailure().text;
    return all;
  }
  std::string idAt(std::size_t row) { return mailId(rows().at(row).message.id).object; }

  TempFolder folder;
  MailProxy proxy;
  jmap::MailServer server{mailSettings()};
  jmap::MailAccount account{server, "alice"};
  std::string mailbox;
  std::shared_ptr<Engine> engine;
};

TEST_F(ServerRowsTest, AFolderIsReadInPagesOfFiveHundredAndTheSecondTimeItsIdentifiersAlone) {
  fill(520);
  EXPECT_EQ(rows().size(), 520u);
  EXPECT_THAT(proxy.takeCounts(),
              ElementsAre(Pair("Email/get", 2), Pair("Email/query", 1), Pair("Mailbox/get", 1), Pair("session", 1)));
  EXPECT_EQ(rows().size(), 520u);
  EXPECT_THAT(proxy.takeCounts(), ElementsAre(Pair("Email/changes", 1), Pair("Email/query", 1)));
}

TEST_F(ServerRowsTest, WhatAnotherProgramHasChangedIsReadAgainAloneAndShown) {
  fill(40);
  const std::vector<std::string> seen = {idAt(0), idAt(20), idAt(39)}, gone = {idAt(1)};
  account.setKeywords(seen, {{"$seen", true}});
  account.destroy(gone);
  const SampleMail sample("another");
  jmap::deliver(account, sample.forMailbox(mailbox));
  proxy.takeCounts();
  const auto now = rows();
  EXPECT_THAT(proxy.takeCounts(), ElementsAre(Pair("Email/changes", 1), Pair("Email/get", 1), Pair("Email/query", 1)));
  EXPECT_EQ(now.size(), 40u);
  EXPECT_EQ(std::ranges::count_if(now, [](const MessageRow& row) { return row.message.isRead; }), 3);
}

TEST_F(ServerRowsTest, WhatTheSameEngineHasChangedIsShownWithoutListingAnew) {
  fill(3);
  const auto before = rows();
  std::vector<Id> messages;
  for (const MessageRow& row : before) messages.push_back(row.message.id);
  ASSERT_EQ(engine->setRead(messages[1], true, {}), Status::Ok);
  std::vector<bool> areRead;
  const std::vector<PropertyTag> columns = {tags::subject};
  const Status status = engine->readMessageRowsOf(reports(), messages, columns, [&](MessageRow&& row) {
    areRead.push_back(row.message.isRead);
    return true;
  });
  EXPECT_EQ(status, Status::Ok);
  EXPECT_THAT(areRead, ElementsAre(false, true, false));
}

TEST_F(ServerRowsTest, AllRowsAreReadAnewWhereTheServerDoesNotKnowWhatHasChanged) {
  fill(3);
  rows();
  proxy.answer("Email/changes",
               R"({"methodResponses": [["error", {"type": "cannotCalculateChanges"}, "0"]], "sessionState": "0"})");
  proxy.takeCounts();
  EXPECT_EQ(rows().size(), 3u);
  EXPECT_THAT(proxy.takeCounts(), ElementsAre(Pair("Email/changes", 1), Pair("Email/get", 1), Pair("Email/query", 1)));
}

TEST_F(ServerRowsTest, AnAttachmentIsDownloadedWhenItIsReadAndNotWhenItIsMeasured) {
  const std::string id = SampleMail::newMessageId(), bytes(200'000, 'r');
  std::string mail = "From: a@fendrel.invalid\r\nSubject: two parts\r\nMessage-ID: " + id +
                     "\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=part\r\n\r\n--part\r\n"
                     "Content-Type: text/plain\r\n\r\nHello\r\n--part\r\nContent-Type: application/octet-stream\r\n"
                     "Content-Disposition: attachment; filename=report.bin\r\n\r\n" +
                     bytes + "\r\n--part--\r\n";
  SampleMail sample("two parts", 0, id);
  sample.text = mail;
  const Id message = idOf("alice", jmap::deliver(account, sample.forMailbox(mailbox)));
  std::shared_ptr<ContentReader> reader;
  ASSERT_EQ(engine->openContent(message, 0, tags::attachData, reader), Status::Ok) << engine->lastFailure().text;
  EXPECT_EQ(reader->size(), bytes.size());
  EXPECT_EQ(proxy.takeCounts().count("download"), 0u);
  std::string read(bytes.size() + 1, '\0');
  std::size_t count = 0;
  engine.reset();  // the reader outlives it
  EXPECT_EQ(reader->read(0, std::as_writable_bytes(std::span(read)), count), Status::Ok);
  EXPECT_TRUE(read.substr(0, count) == bytes) << count;
  EXPECT_THAT(proxy.takeCounts(), ElementsAre(Pair("download", 1)));
}

}  // namespace
}  // namespace fendrel::store
