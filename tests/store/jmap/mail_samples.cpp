// mail_samples post MAILBOX: posts sample messages into a new mailbox of alice and prints them as JSON.
// mail_samples list MAILBOX: prints the messages of a mailbox, with the bytes of the attachments in hexadecimal.
#include <windows.h>

#include <cstdio>
#include <exception>
#include <nlohmann/json.hpp>

#include "deliver.h"
#include "mail_fixture.h"
#include "mail_properties.h"
#include "unicode.h"

namespace {

using namespace fendrel;
using nlohmann::json;

constexpr std::uint64_t sampleTime = 0x01E0'0000'0000'0000;  // in the year 2043

std::u16string repeated(std::u16string_view text, std::size_t length) {
  std::u16string result;
  while (result.size() < length) result += text;
  result.resize(length);
  return result;
}

struct SampleFile {
  std::u16string name;
  std::size_t size;
};

struct Sample {
  std::u16string subject, sender, text;
  std::vector<SampleFile> files;
};

std::vector<Sample> samples() {
  return {
      {u"Plain report", u"Jane Doe", u"See the attachment.\r\nIt has two  lines. \r\n", {{u"plain.pdf", 1}}},
      {u"\u65E5\u6B21\u58F2\u4E0A\u5831\u544A\u66F8 " + repeated(u"\u30EC\u30DD\u30FC\u30C8", 300),
       u"\u5C71\u7530 \u592A\u90CE",
       u"\u672C\u6587 = 100 %\r\n.\r\nFrom here\r\n",
       {{u"\u58F2\u4E0A.pdf", 57}, {repeated(u"\u58F2\u4E0A\u5831", 296) + u".csv", 70'000}}},
      {u"J\u00FCrgen's \"quoted\" \\ report",
       u"J\u00FCrgen \"J\" Gro\u00DF, PhD",
       repeated(u"\u00FCber ", 4'000),
       {{repeated(u"long name ", 296) + u".txt", 300'001}, {u"b;c'd\"e %41.txt", 0}}},
      {u"", u"", u"", {}},
  };
}

std::string postSample(jmap::MailAccount& account, const std::string& mailbox, const Sample& sample) {
  static int number = 0;
  mime::NewMail mail;
  mail.messageId = "<sample-" + std::to_string(++number) + "@fendrel.invalid>";
  mail.properties = {{0x0037001F, sample.subject},
                     {0x0C1A001F, sample.sender},
                     {0x1000001F, sample.text},
                     {0x00390040, store::FileTime{sampleTime}},
                     {0x0E060040, store::FileTime{sampleTime}},
                     {0x001A001F, std::u16string(u"IPM.DOCUMENT.*X")},
                     {0x0C190102, store::Bytes(200, std::byte{7})}};
  for (const SampleFile& file : sample.files) {
    mime::NewAttachment attachment;
    attachment.properties = {{0x3707001F, file.name}};
    attachment.size = file.size;
    attachment.content = [size = file.size](const mime::ByteSink& to) {
      std::vector<std::byte> bytes(size);
      for (std::size_t at = 0; at < size; ++at) bytes[at] = static_cast<std::byte>(at * 7 + at / 256);
      to(bytes);
    };
    mail.attachments.push_back(std::move(attachment));
  }
  const mime::MailMessage message = mime::mailOf(mail);
  const mime::MessageWriter writer(message);
  jmap::NewMessage delivery;
  delivery.content = {"message/rfc822", writer.length(), [&](const jmap::ByteSink& to) { writer.write(to); }};
  delivery.messageId = message.messageId;
  delivery.mailbox = mailbox;
  delivery.receivedAt = *message.delivered;
  return jmap::deliver(account, delivery);
}

json post(jmap::MailAccount& account, const std::string& name) {
  const std::string mailbox = account.createMailbox("", name);
  json posted = json::array();
  for (const Sample& sample : samples()) {
    postSample(account, mailbox, sample);
    json files = json::array();
    for (const SampleFile& file : sample.files)
      files.push_back({{"name", store::toUtf8(file.name)}, {"size", file.size}});
    posted.push_back({{"subject", store::toUtf8(sample.subject)},
                      {"sender", store::toUtf8(sample.sender)},
                      {"text", store::toUtf8(sample.text)},
                      {"seconds", sampleTime / 10'000'000 - 11'644'473'600},
                      {"files", files}});
  }
  return posted;
}

std::string hexOf(jmap::MailServer& server, const mime::MailPart& part) {
  std::string text;
  server.download("alice", part.blob, [&](std::span<const std::byte> bytes) {
    char digits[3];
    for (const std::byte byte : bytes) {
      std::snprintf(digits, sizeof digits, "%02x", std::to_integer<unsigned>(byte));
      text += digits;
    }
  });
  return text;
}

json list(jmap::MailAccount& account, const std::string& name) {
  jmap::EmailQuery query;
  query.mailbox = account.findMailbox("", name).value_or("");
  jmap::EmailSelection selection;
  selection.properties = mime::wholeProperties();
  selection.bodyProperties = mime::wholeBodyProperties();
  selection.fetchAllValues = true;
  json listed = json::array();
  for (const json& email : account.page(query, 0, 500, selection).emails) {
    const mime::ReadMail mail = mime::readMail(email);
    json files = json::array();
    for (const mime::MailPart& part : mail.attachments)
      files.push_back(
          {{"name", part.name}, {"type", part.mediaType}, {"size", part.size}, {"hex", hexOf(account.server(), part)}});
    listed.push_back({{"subject", mail.subject},
                      {"sender", mail.senderName},
                      {"address", mail.senderAddress},
                      {"text", mail.text},
                      {"html", mail.html},
                      {"seconds", mail.date ? json(mail.date->time_since_epoch().count()) : json()},
                      {"messageId", mail.messageId},
                      {"files", files}});
  }
  return listed;
}

}  // namespace

int main(int count, char** words) {
  if (count != 3) return 2;
  try {
    jmap::MailServer server(test::mailSettings());
    jmap::MailAccount account(server, "alice");
    const std::string text = (words[1] == std::string("post") ? post : list)(account, words[2]).dump() + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "mail_samples: %s\n", error.what());
  }
  return 1;
}
