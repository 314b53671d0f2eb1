#include "message_writer.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "mail_headers.h"
#include "mail_text.h"
#include "media_type.h"

namespace fendrel::mime {
namespace {

// "=_" occurs neither in base64 nor in quoted-printable, so no part can contain it.
constexpr std::string_view boundary = "=_fendrel_part_of_a_message";
constexpr std::string_view formBoundary = "=_fendrel_form_of_the_text";

// Mail must have a date.
constexpr std::chrono::sys_seconds noDate = std::chrono::sys_days(std::chrono::year(1601) / 1 / 1);

std::string beginOfPart(std::string_view of) { return "\r\n--" + std::string(of) + "\r\n"; }
std::string endOfParts(std::string_view of) { return "\r\n--" + std::string(of) + "--\r\n"; }

std::string headerOfParts(const char* kind, std::string_view parts) {
  return "Content-Type: multipart/" + std::string(kind) + ";\r\n boundary=\"" + std::string(parts) + "\"\r\n\r\n";
}

std::string headerOfText(std::string_view type) {
  return "Content-Type: " + std::string(type) +
         "; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n";
}

std::string mediaTypeFor(const MailAttachment& attachment) {
  if (isPlainMediaType(attachment.mediaType)) return attachment.mediaType;
  const std::string byName = mediaTypeOf(attachment.name);
  return isPlainMediaType(byName) ? byName : "application/octet-stream";  // an attached mail is written as a file
}

class Writing {
 public:
  Writing(const MailMessage& from, TextSink to, bool withContents)
      : message_(from), put_(std::move(to)), hasContents_(withContents) {}

  void write() {
    writeHeader();
    put_(beginOfPart(boundary));
    if (message_.properties.empty()) {
      writeText();
    } else {
      // Two forms of one text: mail programs show the last one that they support.
      put_(headerOfParts("alternative", formBoundary));
      put_(beginOfPart(formBoundary));
      writeProperties();
      put_(beginOfPart(formBoundary));
      writeText();
      put_(endOfParts(formBoundary));
    }
    for (const MailAttachment& attachment : message_.attachments) writeAttachment(attachment);
    put_(endOfParts(boundary));
  }

 private:
  void writeHeader() {
    const std::string& given = message_.senderAddress;
    put_(mailboxHeader("From", message_.senderName,
                       isPlainAddress(given) ? given : unreachableAddress(message_.senderName)));
    put_(unstructuredHeader("Subject", message_.subject));
    const std::string date = mailDate(message_.date.value_or(noDate));
    put_("Date: " + date + "\r\n");
    const std::string arrived = message_.delivered ? mailDate(*message_.delivered) : date;
    if (arrived != date) put_("Delivery-Date: " + arrived + "\r\n");
    if (isMessageId(message_.messageId)) put_("Message-ID: " + message_.messageId + "\r\n");
    put_(unstructuredHeader(MailHeader::messageClass, message_.messageClass));
    constexpr std::array importances{"low", "normal", "high"};
    if (const int value = message_.importance.value_or(-1); value >= 0 && value <= 2)
      put_(unstructuredHeader("Importance", importances[static_cast<std::size_t>(value)]));
    constexpr std::array sensitivities{"Personal", "Private", "Company-Confidential"};
    if (const int value = message_.sensitivity.value_or(0); value >= 1 && value <= 3)
      put_(unstructuredHeader("Sensitivity", sensitivities[static_cast<std::size_t>(value - 1)]));
    for (const auto& [name, text] : message_.moreHeaders) put_(unstructuredHeader(name, text));
    put_("MIME-Version: 1.0\r\n");
    put_(headerOfParts("mixed", boundary));
  }

  void writeText() {
    put_(headerOfText("text/plain"));
    QuotedPrintableLines lines(put_);
    if (message_.text) message_.text([&](std::string_view text) { lines.write(text); });
    lines.end();
  }

  void writeProperties() {
    put_(headerOfText(propertyPartType));
    QuotedPrintableLines lines(put_);
    lines.write(message_.properties);
    lines.end();
  }

  void writeAttachment(const MailAttachment& attachment) {
    put_(beginOfPart(boundary) + "Content-Type: " + mediaTypeFor(attachment) +
         encodedWordParameter("name", attachment.name) + "\r\nContent-Transfer-Encoding: base64\r\n" +
         "Content-Disposition: attachment" + parameter("filename", attachment.name) +
         ";\r\n size=" + std::to_string(attachment.size) + "\r\n\r\n");
    if (!hasContents_) return;
    Base64Lines lines(put_);
    attachment.content([&](std::span<const std::byte> bytes) { lines.write(bytes); });
    lines.end();
  }

  const MailMessage& message_;
  const TextSink put_;
  const bool hasContents_;
};

}  // namespace

std::uint64_t MessageWriter::length() const {
  std::uint64_t length = 0;
  Writing(
      message_, [&](std::string_view text) { length += text.size(); }, false)
      .write();
  for (const MailAttachment& attachment : message_.attachments) length += base64LinesLength(attachment.size);
  return length;
}

void MessageWriter::write(const ByteSink& to) const {
  Writing(
      message_, [&](std::string_view text) { to(std::as_bytes(std::span(text))); }, true)
      .write();
}

std::string mailDate(std::chrono::sys_seconds time) {
  constexpr std::array days{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr std::array months{"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  using namespace std::chrono;
  if (time < sys_days(year(1601) / 1 / 1) || time >= sys_days(year(10'000) / 1 / 1)) return {};
  const sys_days day = floor<std::chrono::days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  char text[64];
  std::snprintf(text, sizeof text, "%s, %02u %s %04d %02d:%02d:%02d +0000", days[weekday(day).c_encoding()],
                static_cast<unsigned>(date.day()), months[static_cast<unsigned>(date.month()) - 1],
                static_cast<int>(date.year()), static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
  return text;
}

std::string messageIdOf(std::span<const std::byte> key) {
  constexpr char digits[] = "0123456789ABCDEF";
  constexpr std::size_t longestKey = 24;  // keeps the header on one line; our keys have 16 bytes
  if (key.empty()) return {};
  std::string id = "<";
  for (const std::byte byte : key.last(std::min(key.size(), longestKey))) {
    id += digits[std::to_integer<unsigned>(byte) >> 4];
    id += digits[std::to_integer<unsigned>(byte) & 15];
  }
  return id + "@fendrel.invalid>";
}

}  // namespace fendrel::mime
