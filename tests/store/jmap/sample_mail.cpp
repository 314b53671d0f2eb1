#include "sample_mail.h"

#include <windows.h>

namespace fendrel::test {

std::string SampleMail::newMessageId() {
  static int number = 0;
  LARGE_INTEGER now{};
  QueryPerformanceCounter(&now);
  return "<sample-" + std::to_string(++number) + '-' + std::to_string(GetCurrentProcessId()) + '-' +
         std::to_string(now.QuadPart) + "@fendrel.invalid>";
}

SampleMail::SampleMail(const std::string& subject, std::size_t size, const std::string& id) : messageId(id) {
  text = "From: \"Alice\" <alice@fendrel.invalid>\r\nSubject: " + subject +
         "\r\nDate: Sat, 05 Apr 2031 14:07:08 +0000\r\nMessage-ID: " + messageId +
         "\r\nMIME-Version: 1.0\r\nContent-Type: text/plain\r\n\r\nHello\r\n";
  const std::string line(74, 'x');
  while (text.size() < size) text += line + "\r\n";
}

jmap::RequestBody SampleMail::body() const {
  return {"message/rfc822", text.size(), [this](const jmap::ByteSink& to) { to(std::as_bytes(std::span(text))); }};
}

jmap::NewMessage SampleMail::forMailbox(const std::string& mailbox) const {
  jmap::NewMessage message;
  message.content = body();
  message.messageId = messageId;
  message.mailbox = mailbox;
  message.receivedAt = std::chrono::sys_days(std::chrono::year(2031) / 4 / 5) + std::chrono::hours(14);
  return message;
}

}  // namespace fendrel::test
