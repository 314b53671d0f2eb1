// Writes a message as mail programs keep it: RFC 5322 with MIME. docs/formats.md says what goes where.
//
// The same message gives the same bytes each time, and its length is known before: attachments are not read for that.
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
  std::string mediaType;  // empty, or nothing that an attachment can be: what the name's extension stands for
  std::uint64_t size = 0;
  // Hands over exactly `size` bytes, from the first on, in pieces of any size. Called once for each writing.
  std::function<void(const ByteSink&)> content;
};

// All text is UTF-8 and may hold anything: what mail cannot carry is encoded or becomes a blank.
struct MailMessage {
  std::string senderName;
  std::string senderAddress;  // where that is no plain address: one made of the name, which no mail reaches
  std::string subject;
  std::optional<std::chrono::sys_seconds> date;  // when it was submitted
  std::optional<std::chrono::sys_seconds> delivered;
  std::string messageId;  // "<left@right>"; left out where it is not of that form
  std::string messageClass;
  std::optional<int> importance;                                 // 0 low, 1 normal, 2 high
  std::optional<int> sensitivity;                                // 1 personal, 2 private, 3 confidential
  std::vector<std::pair<std::string, std::string>> moreHeaders;  // name, text
  // Hands over the text in pieces that end anywhere; called once for each writing and once for the length. Empty: no
  // text.
  std::function<void(const TextSink&)> text;
  std::string properties;  // the content of the property part (property_part.h); empty: no such part
  std::vector<MailAttachment> attachments;
};

// Throws only what the message's own functions throw, and std::bad_alloc.
class MessageWriter {
 public:
  // The message must outlive it and stay as it is.
  explicit MessageWriter(const MailMessage& message) : message_(message) {}

  // Bytes of the whole. Reads the text, not the attachments.
  std::uint64_t length() const;

  // In pieces, with little memory whatever its size.
  void write(const ByteSink& to) const;

 private:
  const MailMessage& message_;
};

// "Sat, 05 Apr 2031 14:07:08 +0000"; empty for a time before 1601 or after 9999.
std::string mailDate(std::chrono::sys_seconds time);

// "<0123456789ABCDEF0123456789ABCDEF@fendrel.invalid>" of 1 to 24 bytes: in a domain that nobody has.
std::string messageIdOf(std::span<const std::byte> key);

// The media type of the property part: mail programs show the last form of a text that they know, and that is the
// other.
constexpr std::string_view propertyPartType = "text/x-fendrel-properties";

}  // namespace fendrel::mime
