#include "eml_writer.h"

#include <mapidefs.h>
#include <mapitags.h>

#include <fmt/format.h>

#include <cstring>

#include "mail_text.h"
#include "media_type.h"
#include "text.h"

#ifndef PR_INTERNET_MESSAGE_ID_W
#define PR_INTERNET_MESSAGE_ID_W PROP_TAG(PT_UNICODE, 0x1035)
#endif
#ifndef PR_ATTACH_MIME_TAG_W
#define PR_ATTACH_MIME_TAG_W PROP_TAG(PT_UNICODE, 0x370E)
#endif

namespace fendrel::host {
namespace {

// "=_" occurs neither in base64 nor in quoted-printable, so no part can hold it.
constexpr std::string_view boundary = "=_fendrel_part_of_a_message";

class EmlWriter {
 public:
  EmlWriter(IMessage& from, const ByteSink& to, const WriteEvents& told)
      : message(from), sink(to), events(told), properties(from, "The message") {}

  void write() {
    writeHeader();
    writeBody();
    for (const Attachment& attachment : attachmentsOf(message)) {
      if (attachment.isFile)
        writeAttachment(attachment);
      else
        events.leftOut(attachment.name);
    }
    put(fmt::format("\r\n--{}--\r\n", boundary));
  }

 private:
  void put(std::string_view text) {
    sink(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
  }

  void writeHeader() {
    put(mailboxHeader("From", toUtf8(properties.text(PR_SENDER_NAME_W)), senderAddress()));
    put(unstructuredHeader("Subject", toUtf8(properties.text(PR_SUBJECT_W))));
    writeDates();
    if (const std::string id = messageId(); !id.empty()) put("Message-ID: " + id + "\r\n");
    put(unstructuredHeader("X-Message-Class", toUtf8(properties.text(PR_MESSAGE_CLASS_W))));
    static constexpr const char* importances[] = {"low", "normal", "high"};
    if (const auto importance = properties.number(PR_IMPORTANCE); importance && *importance >= 0 && *importance <= 2)
      put(fmt::format("Importance: {}\r\n", importances[*importance]));
    static constexpr const char* sensitivities[] = {nullptr, "Personal", "Private", "Company-Confidential"};
    if (const LONG sensitivity = properties.number(PR_SENSITIVITY).value_or(0); sensitivity > 0 && sensitivity <= 3)
      put(fmt::format("Sensitivity: {}\r\n", sensitivities[sensitivity]));
    put("MIME-Version: 1.0\r\n");
    put(fmt::format("Content-Type: multipart/mixed;\r\n boundary=\"{}\"\r\n\r\n", boundary));
  }

  std::string senderAddress() const {
    const std::string address = toUtf8(properties.text(PR_SENDER_EMAIL_ADDRESS_W));
    if (properties.text(PR_SENDER_ADDRTYPE_W) == L"SMTP" && isPlainAddress(address)) return address;
    return unreachableAddress(toUtf8(properties.text(PR_SENDER_NAME_W)));
  }

  void writeDates() {
    const std::optional<FILETIME> submitted = properties.time(PR_CLIENT_SUBMIT_TIME);
    const std::optional<FILETIME> delivered = properties.time(PR_MESSAGE_DELIVERY_TIME);
    // Mail must have a date: the best there is.
    const std::optional<FILETIME> date = submitted   ? submitted
                                         : delivered ? delivered
                                                     : properties.time(PR_CREATION_TIME);
    const std::string shown = mailDate(date.value_or(FILETIME{}));
    put(fmt::format("Date: {}\r\n", shown));
    const std::string arrived = delivered ? mailDate(*delivered) : shown;
    if (arrived != shown) put(fmt::format("Delivery-Date: {}\r\n", arrived));
  }

  std::string messageId() const {
    const std::string given = toUtf8(properties.text(PR_INTERNET_MESSAGE_ID_W));
    if (isMessageId(given)) return given;
    constexpr std::size_t longestKey = 24;  // so that the header stays one line; those of stores have 16 bytes
    const SPropValue* key = properties.find(PR_SEARCH_KEY);
    if (!key || key->Value.bin.cb == 0 || !key->Value.bin.lpb) return {};
    const std::span<const std::uint8_t> bytes(key->Value.bin.lpb, key->Value.bin.cb);
    return '<' + hexadecimal(bytes.last(std::min(bytes.size(), longestKey))) + "@fendrel.invalid>";
  }

  void writeBody() {
    put(fmt::format("\r\n--{}\r\nContent-Type: text/plain; charset=utf-8\r\n"
                    "Content-Transfer-Encoding: quoted-printable\r\n\r\n", boundary));
    QuotedPrintableLines lines([this](std::string_view text) { put(text); });
    if (properties.isLong(PR_BODY_W))
      writeLongBody(lines);
    else
      lines.write(toUtf8(properties.text(PR_BODY_W)));
    lines.end();
  }

  void writeLongBody(QuotedPrintableLines& lines) {
    std::vector<std::uint8_t> waiting;  // what only makes a character with the bytes behind it
    const auto writeWaiting = [&](std::size_t units) {
      std::wstring text(units, L'\0');
      std::memcpy(text.data(), waiting.data(), units * sizeof(wchar_t));
      lines.write(toUtf8(text));
      waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(units * sizeof(wchar_t)));
    };
    copyStream(*properties.openLong(PR_BODY_W).stream.Get(), "The message's text",
               [&](std::span<const std::uint8_t> bytes) {
                 waiting.insert(waiting.end(), bytes.begin(), bytes.end());
                 std::size_t units = waiting.size() / sizeof(wchar_t);
                 const bool pairBegins = units > 0 && (waiting[units * 2 - 1] & 0xFC) == 0xD8;
                 writeWaiting(pairBegins ? units - 1 : units);
               });
    writeWaiting(waiting.size() / sizeof(wchar_t));
  }

  void writeAttachment(const Attachment& attachment) {
    const std::string subject = fmt::format("Attachment '{}'", printable(attachment.name));
    const std::string name = toUtf8(attachment.name);
    std::string type = toUtf8(ObjectProperties(*attachment.object.Get(), subject).text(PR_ATTACH_MIME_TAG_W));
    if (!isPlainMediaType(type)) type = mediaTypeOf(attachment.name);
    if (!isPlainMediaType(type)) type = "application/octet-stream";  // a mail in a file is a file here
    put(fmt::format("\r\n--{}\r\nContent-Type: {}{}\r\nContent-Transfer-Encoding: base64\r\n"
                    "Content-Disposition: attachment{};\r\n size={}\r\n\r\n",
                    boundary, type, encodedWordParameter("name", name), parameter("filename", name), attachment.size));
    Base64Lines lines([this](std::string_view text) { put(text); });
    const ComPtr<IStream> stream = openBytes(*attachment.object.Get());
    const std::uint64_t copied = copyStream(*stream.Get(), subject, [&](std::span<const std::uint8_t> bytes) {
      lines.write(bytes);
      events.copied(bytes.size());
    });
    lines.end();
    checkWhole(attachment, copied);
  }

  IMessage& message;
  const ByteSink& sink;
  const WriteEvents& events;
  ObjectProperties properties;
};

}  // namespace

void checkWhole(const Attachment& attachment, std::uint64_t copied) {
  if (copied != attachment.size)
    throw Failure(ExitCode::failed,
                  fmt::format("Attachment '{}' gave {} of its {} bytes. It was not saved.", printable(attachment.name),
                              withThousands(copied), withThousands(attachment.size)));
}

void writeEml(IMessage& message, const ByteSink& to, const WriteEvents& events) {
  EmlWriter(message, to, events).write();
}

std::string mailDate(const FILETIME& time) {
  static constexpr const char* days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  SYSTEMTIME utc{};
  if (!FileTimeToSystemTime(&time, &utc) || utc.wMonth < 1 || utc.wMonth > 12 || utc.wYear > 9999) return {};
  return fmt::format("{}, {:02} {} {:04} {:02}:{:02}:{:02} +0000", days[utc.wDayOfWeek % 7], utc.wDay,
                     months[utc.wMonth - 1], utc.wYear, utc.wHour, utc.wMinute, utc.wSecond);
}

}  // namespace fendrel::host
