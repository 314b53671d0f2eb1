#include "message_writer.h"

#include <gmock/gmock.h>

#include "mail_text.h"

namespace fendrel::mime {
namespace {

using namespace std::chrono;
using testing::HasSubstr;
using testing::Not;

std::string written(const MailMessage& message) {
  std::string text;
  MessageWriter(message).write([&](std::span<const std::byte> bytes) {
    text.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  });
  return text;
}

MailAttachment attachmentOf(const std::string& name, std::uint64_t size, std::size_t piece = 1000) {
  return {name, "", size, [size, piece](const ByteSink& to) {
            std::vector<std::byte> bytes;
            for (std::uint64_t at = 0; at < size; at += bytes.size()) {
              bytes.assign(static_cast<std::size_t>(std::min<std::uint64_t>(piece, size - at)), std::byte{'x'});
              to(bytes);
            }
          }};
}

MailMessage sample() {
  MailMessage message;
  message.senderName = "Jane Doe";
  message.subject = "Sales";
  message.date = sys_days(2031y / 4 / 5) + 14h + 7min + 8s;
  message.messageId = "<id@fendrel.invalid>";
  message.messageClass = "IPM.Document.pdf";
  return message;
}

TEST(MessageWriterTest, AMessageIsWrittenAsMailProgramsKeepIt) {
  MailMessage message = sample();
  message.delivered = *message.date + 2s;
  message.importance = 2;
  message.sensitivity = 1;
  message.moreHeaders = {{"X-More", "one"}};
  message.text = [](const TextSink& to) { to("See "), to("it.\n"); };
  message.attachments = {attachmentOf("a.pdf", 3)};
  EXPECT_EQ(written(message),
            "From: \"Jane Doe\" <Jane.Doe@fendrel.invalid>\r\n"
            "Subject: Sales\r\n"
            "Date: Sat, 05 Apr 2031 14:07:08 +0000\r\n"
            "Delivery-Date: Sat, 05 Apr 2031 14:07:10 +0000\r\n"
            "Message-ID: <id@fendrel.invalid>\r\n"
            "X-Message-Class: IPM.Document.pdf\r\n"
            "Importance: high\r\n"
            "Sensitivity: Personal\r\n"
            "X-More: one\r\n"
            "MIME-Version: 1.0\r\n"
            "Content-Type: multipart/mixed;\r\n boundary=\"=_fendrel_part_of_a_message\"\r\n\r\n"
            "\r\n--=_fendrel_part_of_a_message\r\n"
            "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
            "See it.\r\n"
            "\r\n--=_fendrel_part_of_a_message\r\n"
            "Content-Type: application/pdf;\r\n name=\"a.pdf\"\r\nContent-Transfer-Encoding: base64\r\n"
            "Content-Disposition: attachment;\r\n filename=\"a.pdf\";\r\n size=3\r\n\r\n"
            "eHh4\r\n"
            "\r\n--=_fendrel_part_of_a_message--\r\n");
}

TEST(MessageWriterTest, TheLengthIsKnownWithoutReadingAttachments) {
  for (const std::uint64_t size : {0, 1, 2, 3, 56, 57, 58, 113, 114, 115, 1000, 5700, 65537}) {
    MailMessage message = sample();
    message.text = [](const TextSink& to) { to(std::string(300, '\xC3') + "\n \r\n"); };
    message.properties = "{}\n";
    message.attachments = {attachmentOf("\xE5\xA3\xB2\xE4\xB8\x8A.csv", size, 7), attachmentOf("b", 20)};
    const std::uint64_t whole = written(message).size();
    message.attachments[0].content = [](const ByteSink&) { FAIL() << "It was read."; };
    EXPECT_EQ(MessageWriter(message).length(), whole) << size;
  }
}

TEST(MessageWriterTest, TheSameMessageGivesTheSameBytes) {
  MailMessage message = sample();
  message.attachments = {attachmentOf("a", 100'000, 1)};
  const std::string first = written(message);
  message.attachments = {attachmentOf("a", 100'000, 99'999)};
  EXPECT_EQ(written(message), first);
}

TEST(MessageWriterTest, PropertiesAreAnotherFormOfTheText) {
  MailMessage message = sample();
  message.text = [](const TextSink& to) { to("Hello"); };
  message.properties = "{\"version\": 1}\n";
  const std::string text = written(message);
  EXPECT_THAT(text, HasSubstr("Content-Type: multipart/alternative;"));
  const std::size_t form = text.find("Content-Type: text/x-fendrel-properties");
  ASSERT_NE(form, std::string::npos);
  EXPECT_LT(form, text.find("Content-Type: text/plain")) << "Mail programs show the last form that they know.";
}

TEST(MessageWriterTest, LinesEndInCrLfAndNothingElse) {
  MailMessage message = sample();
  message.subject = std::string("a\nb\rc\0d", 7);
  message.senderName = "x\r\nBcc: y";
  message.text = [](const TextSink& to) { to(std::string_view("a\nb\rc\0d", 7)); };
  message.properties = "{\n}\n";
  message.attachments = {attachmentOf("a\nb.txt", 200)};
  const std::string text = written(message);
  EXPECT_EQ(text.find('\0'), std::string::npos);
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\n') {
      EXPECT_TRUE(at > 0 && text[at - 1] == '\r') << text.substr(at - 20, 40);
    }
    if (text[at] == '\r') {
      EXPECT_EQ(text[at + 1], '\n') << text.substr(at, 40);
    }
  }
  EXPECT_THAT(text, Not(HasSubstr("\nBcc")));
}

TEST(MessageWriterTest, DatesAreThoseOfMail) {
  EXPECT_EQ(mailDate(sys_days(2024y / 2 / 29) + 23h + 59min + 59s), "Thu, 29 Feb 2024 23:59:59 +0000");
  EXPECT_EQ(mailDate(sys_days(1601y / 1 / 1)), "Mon, 01 Jan 1601 00:00:00 +0000");
  EXPECT_EQ(mailDate(sys_days(1601y / 1 / 1) - 1s), "");
  EXPECT_EQ(mailDate(sys_days(10'000y / 1 / 1)), "");
}

TEST(MessageWriterTest, AnIdentifierIsMadeOfAKey) {
  const std::byte key[] = {std::byte{0}, std::byte{0xAB}};
  EXPECT_EQ(messageIdOf(key), "<00AB@fendrel.invalid>");
  EXPECT_EQ(messageIdOf({}), "");
  EXPECT_TRUE(isMessageId(messageIdOf(std::vector<std::byte>(100))));
}

}  // namespace
}  // namespace fendrel::mime
