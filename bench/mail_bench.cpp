// Delivers messages to the mail server of tools/mail-server, and reads them.
//
//   mail_bench post MAILBOX COUNT SIZE   messages with one attachment of so many bytes: prints the seconds, without those
//                                        of the first one, which logs on, and the most memory of the process in MiB
//   mail_bench write FILE SIZE           writes such a message into a file
//   mail_bench list MAILBOX              the rows of all messages: prints their number, the requests, and the seconds
#include <windows.h>

#include <psapi.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>

#include "deliver.h"
#include "mail_fixture.h"
#include "mail_properties.h"

namespace {

using namespace fendrel;
using Clock = std::chrono::steady_clock;

constexpr std::uint64_t postTime = 0x01E0'0000'0000'0000;
constexpr std::uint64_t rowsAtOnce = 500;

mime::NewMail reportOf(int number, std::uint64_t size) {
  mime::NewMail mail;
  LARGE_INTEGER now{};
  QueryPerformanceCounter(&now);
  mail.messageId = "<bench-" + std::to_string(number) + '-' + std::to_string(GetCurrentProcessId()) + '-' +
                   std::to_string(now.QuadPart) + "@fendrel.invalid>";
  mail.properties = {
      {0x001A001F, std::u16string(u"IPM.Document.pdf")}, {0x0037001F, std::u16string(u"Sales of the day")},
      {0x00390040, store::FileTime{postTime}},           {0x0C190102, store::Bytes(200, std::byte{7})},
      {0x0C1A001F, std::u16string(u"Night Shift")},      {0x0E060040, store::FileTime{postTime}}};
  mime::NewAttachment attachment;
  attachment.properties = {{0x3707001F, std::u16string(u"sales.pdf")}};
  attachment.size = size;
  attachment.content = [size, number](const mime::ByteSink& to) {
    std::vector<std::byte> piece(128 * 1024);
    for (std::size_t at = 0; at < piece.size(); ++at) piece[at] = static_cast<std::byte>(at * 7 + at / 256 + number);
    for (std::uint64_t at = 0; at < size; at += piece.size())
      to(std::span(piece).first(static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), size - at))));
  };
  mail.attachments.push_back(std::move(attachment));
  return mail;
}

void post(jmap::MailAccount& account, const std::string& mailbox, int number, std::uint64_t size) {
  const mime::MailMessage mail = mime::mailOf(reportOf(number, size));
  const mime::MessageWriter writer(mail);
  jmap::NewMessage message;
  message.content = {"message/rfc822", writer.length(), [&](const jmap::ByteSink& to) { writer.write(to); }};
  message.messageId = mail.messageId;
  message.mailbox = mailbox;
  message.receivedAt = *mail.delivered;
  jmap::deliver(account, message);
}

double secondsSince(Clock::time_point begin) { return std::chrono::duration<double>(Clock::now() - begin).count(); }

int postAll(const std::string& name, int count, std::uint64_t size) {
  jmap::MailServer server(test::mailSettings());
  jmap::MailAccount account(server, "alice");
  const std::string mailbox = account.findMailbox("", name).value_or("");
  post(account, mailbox, 0, 1);  // logs on
  const Clock::time_point begin = Clock::now();
  for (int number = 1; number <= count; ++number) post(account, mailbox, number, size);
  const double seconds = secondsSince(begin);
  PROCESS_MEMORY_COUNTERS memory{};
  GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
  std::printf("%.4f %.1f\n", seconds, static_cast<double>(memory.PeakWorkingSetSize) / (1 << 20));
  return 0;
}

int writeOne(const char* path, std::uint64_t size) {
  const mime::MailMessage mail = mime::mailOf(reportOf(1, size));
  std::ofstream file(path, std::ios::binary);
  mime::MessageWriter(mail).write([&](std::span<const std::byte> bytes) {
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  });
  return file.flush() ? 0 : 1;
}

int listAll(const std::string& name) {
  jmap::MailServer server(test::mailSettings());
  jmap::MailAccount account(server, "alice");
  jmap::EmailQuery query;
  query.mailbox = account.findMailbox("", name).value_or("");
  jmap::EmailSelection selection;
  selection.properties = mime::rowProperties();
  const std::uint64_t requests = server.requestCount();
  const Clock::time_point begin = Clock::now();
  std::uint64_t rows = 0;
  for (jmap::EmailPage page{{}, 0, 1}; rows < page.total;) {
    for (const nlohmann::json& email : account.page(query, rows, rowsAtOnce, selection, &page).emails)
      if (mime::headerProperties(mime::readMail(email)).empty()) return 1;
    if (page.ids.empty()) break;
    rows += page.ids.size();
  }
  std::printf("%llu %llu %.4f\n", static_cast<unsigned long long>(rows),
              static_cast<unsigned long long>(server.requestCount() - requests), secondsSince(begin));
  return 0;
}

}  // namespace

int main(int count, char** words) {
  try {
    const std::string action = count > 1 ? words[1] : "";
    if (action == "post" && count == 5) return postAll(words[2], std::stoi(words[3]), std::stoull(words[4]));
    if (action == "write" && count == 4) return writeOne(words[2], std::stoull(words[3]));
    if (action == "list" && count == 3) return listAll(words[2]);
    std::fprintf(stderr, "mail_bench: post, write or list\n");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "mail_bench: %s\n", error.what());
  }
  return 2;
}
