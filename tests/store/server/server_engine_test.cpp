// The engine of a mail server: few requests for rows although changes are seen, and whole texts.
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

class ServerEngineTest : public testing::Test {
 protected:
  ServerEngineTest() {
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

  // Adds many messages in each request, not through the proxy.
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

class ServerRowsTest : public ServerEngineTest {};

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

class ServerTextsTest : public ServerEngineTest {
 protected:
  // Delivers a text of this media type, as another program writes it.
  Id deliverText(const std::string& type, const std::string& text) {
    const std::string id = SampleMail::newMessageId();
    SampleMail sample("text", 0, id);
    sample.text = "From: a@fendrel.invalid\r\nSubject: text\r\nMessage-ID: " + id +
                  "\r\nMIME-Version: 1.0\r\nContent-Type: " + type + "; charset=utf-8\r\n\r\n" + text;
    return idOf("alice", jmap::deliver(account, sample.forMailbox(mailbox)));
  }
  std::string contentOf(const Id& message, PropertyTag tag) {
    std::shared_ptr<ContentReader> reader;
    EXPECT_EQ(engine->openContent(message, {}, tag, reader), Status::Ok) << engine->lastFailure().text;
    if (!reader) return {};
    std::string bytes(static_cast<std::size_t>(reader->size()), '\0');
    std::size_t count = 0;
    EXPECT_EQ(reader->read(0, std::as_writable_bytes(std::span(bytes)), count), Status::Ok);
    bytes.resize(count);
    return bytes;
  }
};

TEST_F(ServerTextsTest, MessageInHtmlAloneHasItsWordsAsTextAndItsHtml) {
  const Id message = deliverText("text/html", "<p>Sales of <b>May</b></p>\r\n");
  std::vector<Property> properties;
  const std::vector<PropertyTag> wanted = {tags::body, tags::html};
  ASSERT_EQ(engine->readMessageProperties(message, wanted, properties, defaultValueLimit), Status::Ok);
  ASSERT_EQ(properties.size(), 2u);
  EXPECT_EQ(properties[0].value, PropertyValue(std::u16string(u"Sales of May\r\n")));
  EXPECT_EQ(contentOf(message, tags::html), "<p>Sales of <b>May</b></p>\r\n");
}

TEST_F(ServerTextsTest, CopyHasAllOfATextThatIsReadInPieces) {
  std::string text;
  for (int line = 0; text.size() < 2'500'000; ++line) text += "line " + std::to_string(line) + " of a long text\r\n";
  const Id message = deliverText("text/plain", text);
  ASSERT_EQ(engine->copyMessage(message, reports(), {}), Status::Ok) << engine->lastFailure().text;
  const auto now = rows();
  ASSERT_EQ(now.size(), 2u);
  for (const MessageRow& row : now)
    EXPECT_EQ(contentOf(row.message.id, tags::body).size(), 2 * text.size())
        << (row.message.id == message ? "the original" : "the copy") << " of " << row.message.size << " bytes";
}

}  // namespace
}  // namespace fendrel::store
