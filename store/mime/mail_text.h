// Text and bytes as mail carries them: base64, quoted-printable, encoded words, parameters. Text is well-formed UTF-8.
// Whatever it holds, no control character of it comes out, so it cannot begin a header of its own.
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

// Bytes in lines of 76 characters, handed on as they come.
class Base64Lines {
 public:
  explicit Base64Lines(TextSink to) : sink_(std::move(to)) {}
  void write(std::span<const std::byte> bytes);
  void end();  // the last, shorter line

  static constexpr std::size_t lineBytes = 57;  // 76 characters

 private:
  TextSink sink_;
  std::string rest_;  // less than a line
};

// UTF-8 text in quoted-printable lines of at most 76 characters; CR, LF and CR LF alike end a line.
class QuotedPrintableLines {
 public:
  explicit QuotedPrintableLines(TextSink to) : sink_(std::move(to)) {}
  void write(std::string_view text);
  void end();  // what is left; no line end is added

 private:
  void put(char byte, bool lastOfLine);
  void endLine();

  TextSink sink_;
  std::string line_;
  char blank_ = 0;  // a blank or tab that is held back: at the end of a line it is encoded
  bool afterCr_ = false;
};

// What so many bytes come to in such lines.
std::uint64_t base64LinesLength(std::uint64_t bytes);

std::string base64(std::string_view bytes);

// Nothing where it is no base64 in one piece.
std::optional<std::string> decodedBase64(std::string_view text);

// "FIELD: text" with its line end, in encoded words where the text needs them or is long. Control characters become
// blanks.
std::string unstructuredHeader(std::string_view field, std::string_view text);

// "FIELD: display name <address>" with its line end.
std::string mailboxHeader(std::string_view field, std::string_view displayName, std::string_view address);

// "; NAME=value" on a line of its own, or on several as RFC 2231 has it where the value is long or not plain.
std::string parameter(std::string_view name, std::string_view value);

// The same in encoded words, for readers that do not know RFC 2231.
std::string encodedWordParameter(std::string_view name, std::string_view value);

// An address for a sender who has none: the name in characters that addresses take, in a domain that no mail reaches.
std::string unreachableAddress(std::string_view name);

// True for LOCAL@DOMAIN in plain characters.
bool isPlainAddress(std::string_view address);

// True for "type/subtype" that may be encoded in base64 as a whole: not a message or multipart type.
bool isPlainMediaType(std::string_view type);

// True for "<LEFT@RIGHT>" in plain characters.
bool isMessageId(std::string_view id);

}  // namespace fendrel::mime
