// The encoders of mail text: the test's own decoders read their output back.
#include "mail_text.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace fendrel::mime {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string base64Lines(const std::string& bytes, std::size_t piece) {
  std::string lines;
  Base64Lines writer([&](std::string_view text) { lines += text; });
  for (std::size_t begin = 0; begin < bytes.size(); begin += piece) {
    const std::string part = bytes.substr(begin, piece);
    writer.write(std::span(reinterpret_cast<const std::byte*>(part.data()), part.size()));
  }
  writer.end();
  return lines;
}

std::string quotedPrintable(const std::string& text, std::size_t piece = 1000) {
  std::string lines;
  QuotedPrintableLines writer([&](std::string_view line) { lines += line; });
  for (std::size_t begin = 0; begin < text.size(); begin += piece) writer.write(text.substr(begin, piece));
  writer.end();
  return lines;
}

std::string decodedBase64(std::string_view text) {
  std::string bytes;
  unsigned bits = 0, count = 0;
  for (const char c : text) {
    const std::size_t digit =
        std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/").find(c);
    if (digit == std::string_view::npos) continue;
    bits = bits << 6 | static_cast<unsigned>(digit);
    count += 6;
    if (count >= 8) bytes += static_cast<char>(bits >> (count -= 8) & 0xFF);
  }
  return bytes;
}

bool isWellFormed(const std::string& utf8) {
  return utf8.empty() ||
         MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0) > 0;
}

// The text of encoded words, each decoded by itself and well-formed by itself.
std::string decodedWords(std::string_view header) {
  std::string text;
  constexpr std::string_view begin = "=?utf-8?B?";
  for (std::size_t at = header.find(begin); at != std::string_view::npos; at = header.find(begin, at)) {
    at += begin.size();
    const std::size_t end = header.find("?=", at);
    const std::string word = decodedBase64(header.substr(at, end - at));
    EXPECT_TRUE(isWellFormed(word)) << "a character is torn";
    EXPECT_LE(end + 2 - at + begin.size(), 75u);
    text += word;
  }
  return text;
}

std::string unquotedPrintable(std::string_view text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '=') {
      bytes += text[at];
    } else if (text.substr(at, 3) != "=\r\n") {
      bytes += static_cast<char>(std::stoi(std::string(text.substr(at + 1, 2)), nullptr, 16));
      at += 2;
    } else {
      at += 2;
    }
  }
  return bytes;
}

std::size_t longestLineOf(std::string_view text) {
  std::size_t longest = 0, begin = 0;
  for (std::size_t end = text.find("\r\n"); end != std::string_view::npos; end = text.find("\r\n", begin)) {
    longest = std::max(longest, end - begin);
    begin = end + 2;
  }
  return std::max(longest, text.size() - begin);
}

std::string everyByte(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t index = 0; index < size; ++index) bytes[index] = static_cast<char>(index * 7 + index / 256);
  return bytes;
}

class Base64Size : public testing::TestWithParam<std::size_t> {};

TEST_P(Base64Size, ComesBackFromLinesOf76CharactersHoweverItIsCut) {
  const std::string bytes = everyByte(GetParam());
  const std::string lines = base64Lines(bytes, 1 << 20);
  EXPECT_EQ(decodedBase64(lines), bytes);
  EXPECT_LE(longestLineOf(lines), 76u);
  EXPECT_EQ(std::ranges::count(lines, '\n'), static_cast<std::ptrdiff_t>((bytes.size() + 56) / 57));
  for (const std::size_t piece : {1u, 3u, 56u, 57u, 58u, 100u}) EXPECT_EQ(base64Lines(bytes, piece), lines) << piece;
}

INSTANTIATE_TEST_SUITE_P(Sizes, Base64Size, testing::Values(0, 1, 2, 3, 56, 57, 58, 113, 114, 115, 1000));

TEST(Base64, HasThePaddingOfTheStandard) {
  EXPECT_EQ(base64(""), "");
  EXPECT_EQ(base64("f"), "Zg==");
  EXPECT_EQ(base64("fo"), "Zm8=");
  EXPECT_EQ(base64("foo"), "Zm9v");
  EXPECT_EQ(base64("\xFB\xFF\xFE"), "+//+");
}

TEST(QuotedPrintable, LeavesPlainLinesAlone) { EXPECT_EQ(quotedPrintable("one\r\ntwo"), "one\r\ntwo"); }

TEST(QuotedPrintable, KeepsTheLastLineEnd) { EXPECT_EQ(quotedPrintable("one\r\n"), "one\r\n"); }

TEST(QuotedPrintable, MakesOneLineEndOfEachKind) { EXPECT_EQ(quotedPrintable("a\nb\rc\r\nd", 1), "a\r\nb\r\nc\r\nd"); }

TEST(QuotedPrintable, EncodesBlanksAtTheEndOfALine) {
  EXPECT_EQ(quotedPrintable("a \r\nb\t"), "a=20\r\nb=09");
  EXPECT_EQ(quotedPrintable("a b\tc"), "a b\tc");
}

TEST(QuotedPrintable, EncodesWhatIsNotPlain) { EXPECT_EQ(quotedPrintable("1=2 \xC3\xBC\x01"), "1=3D2 =C3=BC=01"); }

TEST(QuotedPrintable, LongLinesComeBackHoweverTheyAreCut) {
  for (const std::string piece : {"x", "x ", " ", "\xE3\x83\xAA", "="})
    for (std::size_t length = 70; length < 82; ++length) {
      std::string text;
      while (text.size() < length) text += piece;
      const std::string lines = quotedPrintable(text);
      EXPECT_LE(longestLineOf(lines), 76u);
      EXPECT_EQ(unquotedPrintable(lines), text);
      EXPECT_EQ(quotedPrintable(text, 1), lines);
    }
}

TEST(QuotedPrintable, NeverHoldsTheBeginningOfABoundary) {
  EXPECT_THAT(quotedPrintable("--=_fendrel_part_of_a_message"), Not(HasSubstr("=_")));
}

TEST(Header, PlainTextStandsAsItIs) { EXPECT_EQ(unstructuredHeader("Subject", "sales.pdf"), "Subject: sales.pdf\r\n"); }

TEST(Header, EmptyTextLeavesTheName) { EXPECT_EQ(unstructuredHeader("Subject", ""), "Subject:\r\n"); }

TEST(Header, LineEndsInTheTextBeginNoOtherHeader) {
  const std::string header = unstructuredHeader("Subject", "a\r\nBcc: all@example.com\r\n\r\nbody");
  EXPECT_EQ(header.find("\r\n"), header.size() - 2);
  EXPECT_EQ(header, "Subject: a  Bcc: all@example.com    body\r\n");
}

TEST(Header, ZeroAndOtherControlsBecomeBlanks) {
  EXPECT_EQ(unstructuredHeader("Subject", std::string_view("a\0b\x7F"
                                                           "c",
                                                           5)),
            "Subject: a b c\r\n");
}

TEST(Header, BlanksAtTheEndsComeBack) { EXPECT_EQ(decodedWords(unstructuredHeader("Subject", " a ")), " a "); }

TEST(Header, WhatLooksLikeAnEncodedWordComesBack) {
  EXPECT_EQ(decodedWords(unstructuredHeader("Subject", "=?utf-8?B?YQ==?=")), "=?utf-8?B?YQ==?=");
}

TEST(Header, LongTextIsFoldedIntoWholeCharacters) {
  for (const std::string piece : {"x", "\xC3\xBC", "\xE3\x83\xAA", "\xF0\x9F\x93\x88"})
    for (std::size_t count = 1; count < 200; ++count) {
      std::string text;
      for (std::size_t index = 0; index < count; ++index) text += piece;
      const std::string header = unstructuredHeader("Subject", text);
      EXPECT_LE(longestLineOf(header), 76u);
      EXPECT_EQ(header.find("=?") == std::string::npos ? header.substr(9, text.size()) : decodedWords(header), text);
      EXPECT_THAT(header, EndsWith("\r\n"));
    }
}

TEST(Mailbox, PlainNameIsQuoted) {
  EXPECT_EQ(mailboxHeader("From", "Jane \"J\" Doe", "a@b.invalid"), "From: \"Jane \\\"J\\\" Doe\" <a@b.invalid>\r\n");
}

TEST(Mailbox, OtherNameIsAnEncodedWord) {
  const std::string header = mailboxHeader("From", "J\xC3\xBCrgen", "a@b.invalid");
  EXPECT_EQ(decodedWords(header), "J\xC3\xBCrgen");
  EXPECT_THAT(header, EndsWith(" <a@b.invalid>\r\n"));
}

TEST(Mailbox, WithoutANameTheAddressStandsAlone) {
  EXPECT_EQ(mailboxHeader("From", "", "a@b.invalid"), "From: <a@b.invalid>\r\n");
}

TEST(Mailbox, LongNameIsFolded) {
  const std::string name(300, 'n');
  const std::string header = mailboxHeader("From", name, unreachableAddress(name));
  EXPECT_LE(longestLineOf(header), 84u);  // the address alone has 80 characters and cannot be folded
  EXPECT_EQ(decodedWords(header), name);
}

TEST(Mailbox, SenderWithoutAddressGetsOneThatNoMailReaches) {
  EXPECT_EQ(unreachableAddress("Jane Doe"), "Jane.Doe@fendrel.invalid");
  EXPECT_EQ(unreachableAddress(""), "unknown@fendrel.invalid");
  EXPECT_EQ(unreachableAddress("..a"), "=2E.a@fendrel.invalid");
  for (const std::string name : {"Jane  Doe", "J\xC3\xBCrgen", "a@b", "x.", " ", "<>\r\n", "\xE5\xB1\xB1"})
    EXPECT_TRUE(isPlainAddress(unreachableAddress(name))) << name;
  EXPECT_TRUE(isPlainAddress(unreachableAddress(std::string(500, 'x'))));
}

TEST(Mailbox, AddressesAreToldFromOtherText) {
  EXPECT_TRUE(isPlainAddress("jane@example.com"));
  for (const char* text : {"", "jane", "@b", "a@", "a b@c", "a@b\r\nBcc: c", "<a@b>", "a..b@c", "a@b@c\xC3\xBC"})
    EXPECT_FALSE(isPlainAddress(text)) << text;
}

TEST(Parameter, PlainValueIsQuoted) {
  EXPECT_EQ(parameter("filename", "a \"b\".pdf"), ";\r\n filename=\"a \\\"b\\\".pdf\"");
}

std::string decodedParameter(std::string_view text) {
  std::string value;
  unsigned section = 0;
  for (std::size_t at = text.find("filename*"); at != std::string_view::npos; at = text.find("filename*", at)) {
    const std::string begin = "filename*" + std::to_string(section++) + "*=";
    EXPECT_EQ(text.substr(at, begin.size()), begin);
    at += begin.size();
    if (section == 1) {
      EXPECT_EQ(text.substr(at, 7), "utf-8''");
      at += 7;
    }
    for (; at < text.size() && text[at] != ';'; ++at) {
      if (text[at] == '%') {
        value += static_cast<char>(std::stoi(std::string(text.substr(at + 1, 2)), nullptr, 16));
        at += 2;
      } else {
        value += text[at];
      }
    }
  }
  return value;
}

TEST(Parameter, OtherAndLongValuesComeBackFromSections) {
  for (const std::string piece : {"x", "\xC3\xBC", "\xE3\x83\xAA", "\r\n", "%", "'", "\""})
    for (const std::size_t count : {1u, 3u, 20u, 75u, 300u}) {
      std::string value = "\xC3\xBC";
      for (std::size_t index = 0; index < count; ++index) value += piece;
      const std::string text = parameter("filename", value);
      EXPECT_LE(longestLineOf(text), 76u);
      EXPECT_EQ(decodedParameter(text), value);
    }
}

TEST(Parameter, FallbackIsInEncodedWords) {
  const std::string text = encodedWordParameter("name", "\xE3\x83\xAA.pdf");
  EXPECT_THAT(text, StartsWith(";\r\n name=\"=?utf-8?B?"));
  EXPECT_EQ(decodedWords(text), "\xE3\x83\xAA.pdf");
  EXPECT_LE(longestLineOf(encodedWordParameter("name", std::string(300, 'x'))), 76u);
}

TEST(MediaType, OnlyPlainTypesAreTaken) {
  EXPECT_TRUE(isPlainMediaType("application/pdf"));
  for (const char* type :
       {"", "pdf", "a/b/c", "a/", "/b", "text/plain; charset=x", "message/rfc822", "Multipart/mixed", "a/b\r\nX: y"})
    EXPECT_FALSE(isPlainMediaType(type)) << type;
}

TEST(MessageId, OnlyPlainIdentifiersAreTaken) {
  EXPECT_TRUE(isMessageId("<a.1@b>"));
  for (const char* id : {"", "<>", "a@b", "<a>", "<a@b", "<a@b>\r\nX: y", "<a b@c>"})
    EXPECT_FALSE(isMessageId(id)) << id;
}

}  // namespace
}  // namespace fendrel::mime
