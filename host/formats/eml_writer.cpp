#include "eml_writer.h"

#include <mapidefs.h>
#include <mapitags.h>

#include <fmt/format.h>

#include <cstring>

#include "message_writer.h"
#include "text.h"

#ifndef PR_INTERNET_MESSAGE_ID_W
#define PR_INTERNET_MESSAGE_ID_W PROP_TAG(PT_UNICODE, 0x1035)
#endif
#ifndef PR_ATTACH_MIME_TAG_W
#define PR_ATTACH_MIME_TAG_W PROP_TAG(PT_UNICODE, 0x370E)
#endif

namespace fendrel::host {
namespace {

std::optional<std::chrono::sys_seconds> secondOf(const std::optional<FILETIME>& time) {
  constexpr std::int64_t ticksPerSecond = 10'000'000, secondsTo1970 = 11'644'473'600;
  if (!time) return std::nullopt;
  const auto ticks = static_cast<std::int64_t>(std::uint64_t{time->dwHighDateTime} << 32 | time->dwLowDateTime);
  return std::chrono::sys_seconds(std::chrono::seconds(ticks / ticksPerSecond - secondsTo1970));
}

// The parts of a mail, from the message's properties.
class EmlSource {
 public:
  EmlSource(IMessage& from, const WriteEvents& told)
      : message_(from), events_(told), properties_(from, "The message") {}

  mime::MailMessage mail() {
    mime::MailMessage mail;
    mail.senderName = toUtf8(properties_.text(PR_SENDER_NAME_W));
    if (properties_.text(PR_SENDER_ADDRTYPE_W) == L"SMTP")
      mail.senderAddress = toUtf8(properties_.text(PR_SENDER_EMAIL_ADDRESS_W));
    mail.subject = toUtf8(properties_.text(PR_SUBJECT_W));
    const std::optional<FILETIME> submitted = properties_.time(PR_CLIENT_SUBMIT_TIME);
    const std::optional<FILETIME> delivered = properties_.time(PR_MESSAGE_DELIVERY_TIME);
    // Mail must have a date: the best one available.
    mail.date = secondOf(submitted ? submitted : delivered ? delivered : properties_.time(PR_CREATION_TIME));
    mail.delivered = secondOf(delivered);
    mail.messageId = messageId();
    mail.messageClass = toUtf8(properties_.text(PR_MESSAGE_CLASS_W));
    mail.importance = properties_.number(PR_IMPORTANCE);
    mail.sensitivity = properties_.number(PR_SENSITIVITY);
    mail.text = [this](const mime::TextSink& to) { writeText(to); };
    for (const Attachment& attachment : attachmentsOf(message_)) {
      if (attachment.isFile)
        mail.attachments.push_back(mailAttachment(attachment));
      else
        events_.leftOut(attachment.name);
    }
    return mail;
  }

 private:
  std::string messageId() const {
    if (const std::string given = toUtf8(properties_.text(PR_INTERNET_MESSAGE_ID_W)); !given.empty()) return given;
    const SPropValue* key = properties_.find(PR_SEARCH_KEY);
    if (!key || key->Value.bin.cb == 0 || !key->Value.bin.lpb) return {};
    return mime::messageIdOf(std::as_bytes(std::span(key->Value.bin.lpb, key->Value.bin.cb)));
  }

  void writeText(const mime::TextSink& to) const {
    if (properties_.isLong(PR_BODY_W))
      writeLongText(to);
    else
      to(toUtf8(properties_.text(PR_BODY_W)));
  }

  void writeLongText(const mime::TextSink& to) const {
    std::vector<std::uint8_t> waiting;  // an incomplete character at the end of the last piece
    const auto writeWaiting = [&](std::size_t units) {
      std::wstring text(units, L'\0');
      std::memcpy(text.data(), waiting.data(), units * sizeof(wchar_t));
      to(toUtf8(text));
      waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(units * sizeof(wchar_t)));
    };
    copyStream(*properties_.openLong(PR_BODY_W).stream.Get(), "The message's text",
               [&](std::span<const std::uint8_t> bytes) {
                 waiting.insert(waiting.end(), bytes.begin(), bytes.end());
                 std::size_t units = waiting.size() / sizeof(wchar_t);
                 const bool pairBegins = units > 0 && (waiting[units * 2 - 1] & 0xFC) == 0xD8;
                 writeWaiting(pairBegins ? units - 1 : units);
               });
    writeWaiting(waiting.size() / sizeof(wchar_t));
  }

  mime::MailAttachment mailAttachment(const Attachment& attachment) const {
    const std::string subject = fmt::format("Attachment '{}'", printable(attachment.name));
    mime::MailAttachment mail;
    mail.name = toUtf8(attachment.name);
    mail.mediaType = toUtf8(ObjectProperties(*attachment.object.Get(), subject).text(PR_ATTACH_MIME_TAG_W));
    mail.size = attachment.size;
    mail.content = [this, attachment, subject](const mime::ByteSink& to) {
      const ComPtr<IStream> stream = openBytes(*attachment.object.Get());
      const std::uint64_t copied = copyStream(*stream.Get(), subject, [&](std::span<const std::uint8_t> bytes) {
        to(std::as_bytes(bytes));
        events_.copied(bytes.size());
      });
      checkWhole(attachment, copied);
    };
    return mail;
  }

  IMessage& message_;
  const WriteEvents& events_;
  ObjectProperties properties_;
};

}  // namespace

void checkWhole(const Attachment& attachment, std::uint64_t copied) {
  if (copied != attachment.size)
    throw Failure(ExitCode::failed,
                  fmt::format("Attachment '{}' gave {} of its {} bytes. It was not saved.", printable(attachment.name),
                              withThousands(copied), withThousands(attachment.size)));
}

void writeEml(IMessage& message, const ByteSink& to, const WriteEvents& events) {
  EmlSource source(message, events);
  const mime::MailMessage mail = source.mail();
  mime::MessageWriter(mail).write([&](std::span<const std::byte> bytes) {
    to(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
  });
}

}  // namespace fendrel::host
