// Encodes text and bytes for mail: base64, quoted-printable, encoded words, parameters. Text is well-formed UTF-8. No
// control character of it is written, so it cannot inject a header.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fendrel::mime {

using TextSink = std::function<void(std::string_view)>;

// Writes bytes in lines of 76 characters.
class Base64Lines {
 public:
  explicit Base64Lines(TextSink to) : sink_(std::move(to)) {}
  void write(std::span<const std::byte> bytes);
  void end();  // the last, shorter line

  static constexpr std::size_t lineBytes = 57;  // 76 characters

 private:
  TextSink sink_;
  std::string rest_;  // incomplete line
};

// Writes UTF-8 text in quoted-printable lines of at most 76 characters; CR, LF and CR LF end a line.
class QuotedPrintableLines {
 public:
  explicit QuotedPrintableLines(TextSink to) : sink_(std::move(to)) {}
  void write(std::string_view text);
  void end();  // writes the rest; adds no line end

 private:
  void put(char byte, bool lastOfLine);
  void endLine();

  TextSink sink_;
  std::string line_;
  char blank_ = 0;  // a pending space or tab: encoded at the end of a line
  bool afterCr_ = false;
};

// The length of this many bytes in such lines.
std::uint64_t base64LinesLength(std::uint64_t bytes);

std::string base64(std::string_view bytes);

// Nothing if it is not base64 without line breaks.
std::optional<std::string> decodedBase64(std::string_view text);

// "FIELD: text" with its line end, in encoded words if the text needs them or is long. Control characters become
// spaces.
std::string unstructuredHeader(std::string_view field, std::string_view text);

// "FIELD: display name <address>" with its line end.
std::string mailboxHeader(std::string_view field, std::string_view displayName, std::string_view address);

// "; NAME=value" on a new line, or on several in RFC 2231 form if the value is long or not plain.
std::string parameter(std::string_view name, std::string_view value);

// The same in encoded words, for readers that do not know RFC 2231.
std::string encodedWordParameter(std::string_view name, std::string_view value);

// An address for a sender without one: made from the name, in a domain that receives no mail.
std::string unreachableAddress(std::string_view name);

// True for LOCAL@DOMAIN in plain characters.
bool isPlainAddress(std::string_view address);

// True for a "type/subtype" whose content may be encoded in base64: not a message or multipart type.
bool isPlainMediaType(std::string_view type);

// True for "<LEFT@RIGHT>" in plain characters.
bool isMessageId(std::string_view id);

}  // namespace fendrel::mime
