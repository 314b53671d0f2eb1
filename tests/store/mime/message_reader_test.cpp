// A server's descriptions of messages, right or wrong.
#include "message_reader.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "mail_headers.h"

namespace fendrel::mime {
namespace {

using Json = nlohmann::json;
using namespace std::chrono;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(MessageReaderTest, EverythingIsReadFromWhereItStands) {
  const ReadMail mail = readMail(Json::parse(R"({
    "id": "M1", "blobId": "G1", "mailboxIds": {"a": true, "b": false}, "keywords": {"$seen": true}, "size": 700,
    "receivedAt": "2031-04-05T14:00:00Z", "sentAt": "2031-04-05T16:07:08+02:00", "subject": "Sales",
    "from": [{"name": "Jane", "email": "jane@mail.example"}, {"name": "Joe", "email": ""}], "messageId": ["x@y", "z"],
    "hasAttachment": true, "header:Importance:asText": "High", "header:Sensitivity:asText": "company-confidential",
    "header:X-Message-Class:asText": "IPM.Note.X", "header:Delivery-Date:asDate": "2031-04-05T14:07:09.5Z",
    "textBody": [{"partId": "1", "blobId": "G2", "type": "text/plain", "size": 4},
                 {"partId": "2", "blobId": "G3", "type": "TEXT/PLAIN", "size": 4},
                 {"partId": "3", "blobId": "G4", "type": "image/png", "size": 4}],
    "htmlBody": [{"partId": "5", "blobId": "G5", "type": "text/html", "size": 4}],
    "bodyValues": {"1": {"value": "one\n"}, "2": {"value": "two", "isTruncated": true}, "5": {"value": "<p>"}},
    "attachments": [{"partId": "6", "blobId": "G6", "type": "application/pdf", "name": "a.pdf", "size": 10},
                    {"partId": null, "blobId": "G7", "type": "message/rfc822", "name": null, "size": 11},
                    {"partId": "8", "blobId": "G8", "type": "application/pdf", "name": "", "size": 12},
                    {"partId": "9", "blobId": "G9", "type": "application/x-y", "size": 13},
                    {"partId": "10", "type": "multipart/mixed"}]})"));
  EXPECT_EQ(mail.id, "M1");
  EXPECT_THAT(mail.mailboxes, ElementsAre("a"));
  EXPECT_THAT(mail.keywords, ElementsAre("$seen"));
  EXPECT_EQ(mail.size, 700u);
  EXPECT_EQ(mail.received, sys_days(2031y / 4 / 5) + 14h);
  EXPECT_EQ(mail.date, sys_days(2031y / 4 / 5) + 14h + 7min + 8s);
  EXPECT_EQ(mail.delivered, sys_days(2031y / 4 / 5) + 14h + 7min + 9s);
  EXPECT_EQ(mail.senderName, "Jane");
  EXPECT_EQ(mail.senderAddress, "jane@mail.example");
  EXPECT_EQ(mail.messageId, "<x@y>");
  EXPECT_EQ(mail.importance, 2);
  EXPECT_EQ(mail.sensitivity, 3);
  EXPECT_EQ(mail.ownHeaders.at(MailHeader::messageClass), "IPM.Note.X");
  EXPECT_EQ(mail.text, "one\r\n\r\ntwo");
  EXPECT_TRUE(mail.isTextCut);
  EXPECT_EQ(mail.html, "<p>");
  EXPECT_EQ(mail.textParts.size(), 2u);
  ASSERT_EQ(mail.attachments.size(), 4u);
  EXPECT_EQ(mail.attachments[0].name, "a.pdf");
  EXPECT_EQ(mail.attachments[1].name, "part 2.eml");
  EXPECT_EQ(mail.attachments[2].name, "part 3.pdf");
  EXPECT_EQ(mail.attachments[3].name, "part 4.bin");
  EXPECT_FALSE(mail.propertyPart);
}

TEST(MessageReaderTest, WhatIsMissingOrOfAnotherTypeIsEmpty) {
  for (const char* text : {"null", "[]", "{}", "5",
                           R"({"id": 5, "subject": null, "from": null, "messageId": null, "size": -1, "keywords": [],
                               "mailboxIds": null, "receivedAt": "yesterday", "sentAt": 7, "hasAttachment": "yes",
                               "textBody": null, "attachments": {}, "bodyValues": []})",
                           R"({"from": [], "messageId": [], "textBody": [5], "attachments": [5, null]})",
                           R"({"from": [null], "messageId": [5], "sentAt": "2031-13-05T14:00:00Z"})"}) {
    SCOPED_TRACE(text);
    const ReadMail mail = readMail(Json::parse(text));
    EXPECT_EQ(mail.id + mail.subject + mail.senderName + mail.messageId + mail.text, "");
    EXPECT_EQ(mail.size, 0u);
    EXPECT_FALSE(mail.date);
    EXPECT_FALSE(mail.hasAttachments);
    EXPECT_THAT(mail.attachments, IsEmpty());
  }
}

TEST(MessageReaderTest, ThePropertyPartIsNoAttachment) {
  const ReadMail mail = readMail(Json::parse(R"({
    "attachments": [{"partId": "1", "blobId": "G1", "type": "text/x-fendrel-properties", "size": 3},
                    {"partId": "2", "blobId": "G2", "type": "text/csv", "name": "a.csv", "size": 3}],
    "bodyValues": {"1": {"value": "{}"}}})"));
  ASSERT_TRUE(mail.propertyPart);
  EXPECT_EQ(mail.propertyPart->blob, "G1");
  EXPECT_EQ(mail.properties, "{}");
  ASSERT_EQ(mail.attachments.size(), 1u);
}

}  // namespace
}  // namespace fendrel::mime
