// Our message is sent to the server as mail and comes back with the same properties.
#include <gmock/gmock.h>

#include "deliver.h"
#include "mail_fixture.h"
#include "mail_properties.h"

namespace fendrel::jmap {
namespace {

using namespace fendrel::test;
using namespace fendrel::store;
using testing::SizeIs;

std::u16string repeated(std::u16string_view text, std::size_t length) {
  std::u16string result;
  while (result.size() < length) result += text;
  result.resize(length);
  return result;
}

mime::NewAttachment attachmentOf(const std::u16string& name, std::size_t size) {
  mime::NewAttachment attachment;
  attachment.properties = {{0x3707001F, name}, {0x37050003, std::int32_t{1}}, {0x370B0003, std::int32_t{-1}}};
  attachment.size = size;
  attachment.content = [size](const mime::ByteSink& to) {
    std::vector<std::byte> bytes(size);
    for (std::size_t at = 0; at < size; ++at) bytes[at] = static_cast<std::byte>(at * 7 + at / 256);
    to(bytes);
  };
  return attachment;
}

mime::NewMail sampleMail() {
  static int number = 0;
  mime::NewMail mail;
  mail.messageId =
      "<round-trip-" + std::to_string(++number) + "-" + std::to_string(GetCurrentProcessId()) + "@fendrel.invalid>";
  mail.properties = {
      {0x001A001F, std::u16string(u"IPM.QUORVEL.REPORT.TEMPLATE")},
      {0x00170003, std::int32_t{2}},
      {0x00360003, std::int32_t{2}},
      {0x0037001F, u"\u65E5\u6B21\u58F2\u4E0A " + repeated(u"\u30EC\u30DD\u30FC\u30C8", 200)},
      {0x00390040, FileTime{135'792'468'000'000'017}},
      {0x0C1A001F, std::u16string(u"\u5C71\u7530 \"T\" \u592A\u90CE")},
      {0x0E060040, FileTime{135'792'468'100'000'019}},
      {0x1000001F, std::u16string(u"\u672C\u6587 = 100 %\r\n.\r\nFrom here\r\n")},
      {0x3001001F, std::u16string(u"Sales, \u00FCber alles")},
      {0x3004001F, repeated(u"a comment ", 300)},
      {0x0C190102, Bytes(300, std::byte{0xFE})},
      {0x6700000B, true},
      {0x8001001F, std::u16string(u"May")},
  };
  mail.names[0x8001] = {Guid{}, std::u16string(u"Period")};
  mail.attachments = {attachmentOf(repeated(u"\u58F2\u4E0A\u5831", 296) + u".csv", 70'000),
                      attachmentOf(u"b;c'd\"e %41.txt", 0)};
  return mail;
}

class RoundTripTest : public testing::Test {
 protected:
  std::string post(const mime::NewMail& from) {
    const mime::MailMessage mail = mime::mailOf(from);
    const mime::MessageWriter writer(mail);
    NewMessage message;
    message.content = {"message/rfc822", writer.length(), [&](const ByteSink& to) { writer.write(to); }};
    message.messageId = mail.messageId;
    message.mailbox = mailbox;
    message.receivedAt = *mail.delivered;
    return deliver(account, message);
  }

  mime::ReadMail readRow() {
    EmailQuery query;
    query.mailbox = mailbox;
    EmailSelection selection;
    selection.properties = mime::rowProperties();
    return mime::readMail(account.page(query, 0, 50, selection).emails.at(0));
  }

  mime::ReadMail readWhole(const std::string& id, std::uint64_t longestValue = 0) {
    const std::vector<std::string> ids{id};
    EmailSelection selection;
    selection.properties = mime::wholeProperties();
    selection.bodyProperties = mime::wholeBodyProperties();
    selection.fetchAllValues = true;
    selection.longestValue = longestValue;
    return mime::readMail(account.emails(ids, selection).emails.at(0));
  }

  std::string contentOf(const mime::MailPart& part) {
    std::string content;
    server.download("alice", part.blob, [&](std::span<const std::byte> bytes) {
      content.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    });
    return content;
  }

  MailServer server{mailSettings()};
  MailAccount account{server, "alice"};
  std::string mailbox = account.createMailbox("", testing::UnitTest::GetInstance()->current_test_info()->name());
};

const Property* find(const std::vector<Property>& properties, PropertyTag tag) {
  const auto found = std::ranges::find(properties, tag, &Property::tag);
  return found == properties.end() ? nullptr : &*found;
}

void expectThere(const std::vector<Property>& wanted, const std::vector<Property>& found) {
  for (const Property& property : wanted) {
    const Property* there = find(found, property.tag);
    EXPECT_TRUE(there && there->value == property.value) << "property " << std::hex << property.tag;
  }
}

TEST_F(RoundTripTest, AWholeMessageHasEveryPropertyThatWasSet) {
  const mime::NewMail posted = sampleMail();
  const mime::ReadMail mail = readWhole(post(posted));
  const mime::PropertyPart part = mime::readPropertyPart(mail.properties);
  expectThere(posted.properties, mime::messageProperties(mail, part));
  EXPECT_EQ(part.names, posted.names);
  EXPECT_EQ(mail.messageId, posted.messageId);
  EXPECT_FALSE(mail.isTextCut);
  ASSERT_THAT(mail.attachments, SizeIs(2));
  for (std::size_t place = 0; place < 2; ++place) {
    expectThere(posted.attachments[place].properties, mime::attachmentProperties(mail, part, place));
    EXPECT_EQ(mail.attachments[place].size, posted.attachments[place].size);
  }
  const std::string content = contentOf(mail.attachments[0]);
  ASSERT_EQ(content.size(), 70'000u);
  for (std::size_t at = 0; at < content.size(); ++at)
    ASSERT_EQ(static_cast<unsigned char>(content[at]), (at * 7 + at / 256) & 0xFF) << at;
}

TEST_F(RoundTripTest, ARowSaysTheSameAsTheWholeMessage) {
  mime::NewMail posted = sampleMail();
  posted.isAssociated = true;
  post(posted);
  const mime::ReadMail row = readRow();
  std::vector<Property> wanted = posted.properties;
  constexpr PropertyTag inThePartAlone[] = {0x1000001F, 0x0C190102, 0x6700000B, 0x8001001F};
  std::erase_if(wanted, [&](const Property& one) { return std::ranges::count(inThePartAlone, one.tag) > 0; });
  expectThere(wanted, mime::headerProperties(row));
  EXPECT_TRUE(mime::isAssociated(row));
  EXPECT_TRUE(mime::hasAttachments(row));
}

TEST_F(RoundTripTest, AMessageWithoutAttachmentsHasNone) {
  mime::NewMail posted = sampleMail();
  posted.attachments.clear();
  const mime::ReadMail mail = readWhole(post(posted));
  EXPECT_TRUE(mail.attachments.empty());
  EXPECT_FALSE(mime::hasAttachments(mail));
  EXPECT_FALSE(mime::isAssociated(mail));
}

TEST_F(RoundTripTest, NextToNothingIsAMessageToo) {
  mime::NewMail posted;
  posted.messageId = sampleMail().messageId;
  posted.properties = {{0x0037001F, std::u16string()}, {0x0E060040, FileTime{135'792'468'000'000'000}}};
  const mime::ReadMail mail = readWhole(post(posted));
  EXPECT_EQ(mail.subject, "");
  EXPECT_EQ(mail.text, "");
  expectThere(posted.properties, mime::messageProperties(mail, mime::readPropertyPart(mail.properties)));
}

TEST_F(RoundTripTest, ALongTextIsCutWhereThatWasAskedForAndSaysSo) {
  mime::NewMail posted = sampleMail();
  posted.properties = {{0x0E060040, FileTime{135'792'468'000'000'000}}};
  posted.text = [](const mime::TextSink& to) {
    for (int line = 0; line < 3000; ++line) to("a line of text\n");
  };
  const std::string id = post(posted);
  const mime::ReadMail mail = readWhole(id, 1000);
  EXPECT_TRUE(mail.isTextCut);
  EXPECT_LE(mail.text.size(), 1100u);
  ASSERT_THAT(mail.textParts, SizeIs(1));
  EXPECT_EQ(contentOf(mail.textParts[0]).size(), 3000u * 16);
  EXPECT_EQ(readWhole(id).text.size(), 3000u * 16);
}

}  // namespace
}  // namespace fendrel::jmap
