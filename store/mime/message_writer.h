// Writes a message as mail: RFC 5322 with MIME. docs/formats.md describes the mapping.
// The same message always gives the same bytes; their number can be computed without reading attachments.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fendrel::mime {

using ByteSink = std::function<void(std::span<const std::byte>)>;
using TextSink = std::function<void(std::string_view)>;

struct MailAttachment {
  std::string name;       // UTF-8
  std::string mediaType;  // if empty or invalid for an attachment: the type of the name's extension
  std::uint64_t size = 0;
  // Writes exactly `size` bytes, in pieces of any size. Called once per write().
  std::function<void(const ByteSink&)> content;
};

// All text is UTF-8 and may contain anything: it is encoded, or becomes a space.
struct MailMessage {
  std::string senderName;
  std::string senderAddress;  // if not a plain address: one made from the name, which receives no mail
  std::string subject;
  std::optional<std::chrono::sys_seconds> date;  // time of submission
  std::optional<std::chrono::sys_seconds> delivered;
  std::string messageId;  // "<left@right>"; left out in any other form
  std::string messageClass;
  std::optional<int> importance;                                 // 0 low, 1 normal, 2 high
  std::optional<int> sensitivity;                                // 1 personal, 2 private, 3 confidential
  std::vector<std::pair<std::string, std::string>> moreHeaders;  // name, text
  // Writes the text in pieces of any size; called once per write() and once per length(). Empty: no text.
  std::function<void(const TextSink&)> text;
  std::string properties;  // the content of the property part (property_part.h); empty: no such part
  std::vector<MailAttachment> attachments;
};

// Throws only std::bad_alloc and the exceptions of the message's functions.
class MessageWriter {
 public:
  // The message must outlive the writer and not change.
  explicit MessageWriter(const MailMessage& message) : message_(message) {}

  // The number of bytes written. Reads the text, not the attachments.
  std::uint64_t length() const;

  // Writes in pieces; memory does not depend on the size.
  void write(const ByteSink& to) const;

 private:
  const MailMessage& message_;
};

// "Sat, 05 Apr 2031 14:07:08 +0000"; empty for a time before 1601 or after 9999.
std::string mailDate(std::chrono::sys_seconds time);

// "<0123456789ABCDEF0123456789ABCDEF@fendrel.invalid>" for 1 to 24 bytes, in a reserved domain.
std::string messageIdOf(std::span<const std::byte> key);

// The media type of the property part: mail programs show the last form of a text that they support, which is the other
// one.
constexpr std::string_view propertyPartType = "text/x-fendrel-properties";

}  // namespace fendrel::mime
