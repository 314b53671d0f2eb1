#include "mail_text.h"

#include <algorithm>

namespace fendrel::mime {
namespace {

constexpr std::size_t longestLine = 76;
constexpr std::string_view lineEnd = "\r\n";
constexpr std::string_view wordBegin = "=?utf-8?B?";
constexpr std::string_view wordEnd = "?=";
constexpr char hexDigits[] = "0123456789ABCDEF";

bool isLetterOrDigit(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

// A character of addresses and message identifiers, besides the dot.
bool isAtomCharacter(char c) {
  return isLetterOrDigit(c) || std::string_view("!#$%&'*+-/=?^_`{|}~").find(c) != std::string_view::npos;
}

bool isPlain(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

// The number of bytes of the first UTF-8 character.
std::size_t characterLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  return std::min(length, text.size());
}

std::string withoutControls(std::string_view text) {
  std::string result(text);
  for (char& c : result)
    if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = ' ';
  return result;
}

constexpr std::string_view base64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

void appendBase64(std::string& to, std::string_view bytes) {
  const auto at = [&](std::size_t index) {
    return index < bytes.size() ? static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[index])) : 0u;
  };
  for (std::size_t index = 0; index < bytes.size(); index += 3) {
    const std::uint32_t three = at(index) << 16 | at(index + 1) << 8 | at(index + 2);
    to += base64Digits[three >> 18];
    to += base64Digits[three >> 12 & 63];
    to += index + 1 < bytes.size() ? base64Digits[three >> 6 & 63] : '=';
    to += index + 2 < bytes.size() ? base64Digits[three & 63] : '=';
  }
}

// Encoded words, each of whole characters, on lines that begin at this column; leaves room for one more character.
std::string encodedWords(std::string_view text, std::size_t column) {
  std::string words;
  while (!text.empty()) {
    const std::size_t room = longestLine - std::min(column, longestLine) - wordBegin.size() - wordEnd.size();
    std::size_t taken = 0;
    while (taken < text.size()) {
      const std::size_t next = taken + characterLength(text.substr(taken));
      if ((next + 2) / 3 * 4 > room && taken > 0) break;
      taken = next;
    }
    if (!words.empty()) words += "\r\n ";
    words += wordBegin;
    appendBase64(words, text.substr(0, taken));
    words += wordEnd;
    text.remove_prefix(taken);
    column = 2;
  }
  return words;
}

// Readers remove spaces at the ends, and decode text that looks like an encoded word.
bool canStandPlain(std::string_view text) {
  return isPlain(text) && text.find("=?") == std::string_view::npos &&
         (text.empty() || (text.front() != ' ' && text.back() != ' '));
}

std::string quotedString(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

bool isDotAtom(std::string_view text) {
  for (std::size_t begin = 0;;) {
    const std::size_t dot = std::min(text.find('.', begin), text.size());
    const std::string_view atom = text.substr(begin, dot - begin);
    if (atom.empty() || !std::ranges::all_of(atom, isAtomCharacter)) return false;
    if (dot == text.size()) return true;
    begin = dot + 1;
  }
}

}  // namespace

void Base64Lines::write(std::span<const std::byte> bytes) {
  std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  std::string lines;
  lines.reserve((rest_.size() + text.size()) / lineBytes * (longestLine + lineEnd.size()));
  if (!rest_.empty()) {
    const std::size_t missing = std::min(lineBytes - rest_.size(), text.size());
    rest_ += text.substr(0, missing);
    text.remove_prefix(missing);
    if (rest_.size() < lineBytes) return;
    appendBase64(lines, rest_);
    lines += lineEnd;
  }
  for (; text.size() >= lineBytes; text.remove_prefix(lineBytes)) {
    appendBase64(lines, text.substr(0, lineBytes));
    lines += lineEnd;
  }
  rest_ = text;
  if (!lines.empty()) sink_(lines);
}

void Base64Lines::end() {
  if (rest_.empty()) return;
  std::string line;
  appendBase64(line, rest_);
  rest_.clear();
  sink_(line += lineEnd);
}

void QuotedPrintableLines::endLine() {
  if (blank_) put(blank_, true);
  blank_ = 0;
  line_ += lineEnd;
  sink_(line_);
  line_.clear();
}

void QuotedPrintableLines::put(char byte, bool lastOfLine) {
  const auto value = static_cast<unsigned char>(byte);
  const bool plain = (byte > ' ' && byte <= '~' && byte != '=') || ((byte == ' ' || byte == '\t') && !lastOfLine);
  const std::size_t width = plain ? 1 : 3;
  if (line_.size() + width > longestLine - 1) {  // room for the mark of a soft line break
    line_ += "=\r\n";
    sink_(line_);
    line_.clear();
  }
  if (plain) {
    line_ += byte;
  } else {
    line_ += '=';
    line_ += hexDigits[value >> 4];
    line_ += hexDigits[value & 15];
  }
}

void QuotedPrintableLines::write(std::string_view text) {
  for (const char c : text) {
    const bool wasCr = afterCr_;
    afterCr_ = c == '\r';
    if (c == '\n' && wasCr) continue;  // the CR has ended the line
    if (c == '\r' || c == '\n') {
      endLine();
      continue;
    }
    if (blank_) put(blank_, false);
    blank_ = c == ' ' || c == '\t' ? c : 0;
    if (!blank_) put(c, false);
  }
}

void QuotedPrintableLines::end() {
  if (blank_) put(blank_, true);
  blank_ = 0;
  if (!line_.empty()) sink_(line_);
  line_.clear();
}

std::uint64_t base64LinesLength(std::uint64_t bytes) {
  const std::uint64_t rest = bytes % Base64Lines::lineBytes;
  const std::uint64_t lastLine = rest == 0 ? 0 : (rest + 2) / 3 * 4 + lineEnd.size();
  return bytes / Base64Lines::lineBytes * (longestLine + lineEnd.size()) + lastLine;
}

std::string base64(std::string_view bytes) {
  std::string text;
  appendBase64(text, bytes);
  return text;
}

std::optional<std::string> decodedBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  if (text.ends_with('=')) text.remove_suffix(text.ends_with("==") ? 2 : 1);
  std::string bytes;
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char c : text) {
    const std::size_t digit = base64Digits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    if ((count += 6) >= 8) bytes += static_cast<char>(bits >> (count -= 8) & 0xFF);
  }
  return bytes;
}

std::string unstructuredHeader(std::string_view field, std::string_view text) {
  const std::string clean = withoutControls(text);
  std::string header(field);
  header += ':';
  if (!clean.empty()) {
    header += ' ';
    const bool plain = canStandPlain(clean) && header.size() + clean.size() <= longestLine;
    header += plain ? clean : encodedWords(clean, header.size());
  }
  return header += lineEnd;
}

std::string mailboxHeader(std::string_view field, std::string_view displayName, std::string_view address) {
  const std::string clean = withoutControls(displayName);
  std::string header(field);
  header += ": ";
  if (!clean.empty()) {
    const std::string name = quotedString(clean);
    const bool plain = canStandPlain(clean) && header.size() + name.size() <= longestLine;
    header += plain ? name : encodedWords(clean, header.size());
  }
  const std::size_t column = header.size() - (header.rfind('\n') == std::string::npos ? 0 : header.rfind('\n') + 1);
  if (!clean.empty()) header += column + address.size() + 3 > longestLine ? "\r\n " : " ";
  header += '<';
  header += address;
  return header += ">\r\n";
}

std::string parameter(std::string_view name, std::string_view value) {
  std::string text = ";\r\n ";
  const std::string plain = quotedString(value);
  if (canStandPlain(value) && name.size() + plain.size() + 3 <= longestLine) {
    text += name;
    text += '=';
    return text += plain;
  }
  std::string line;
  unsigned section = 0;
  const auto begin = [&] { line = ' ' + std::string(name) + '*' + std::to_string(section) + "*="; };
  text = ";\r\n";
  begin();
  line += "utf-8''";
  while (!value.empty()) {
    std::string encoded;
    const std::size_t length = characterLength(value);
    for (const char c : value.substr(0, length)) {
      if (isLetterOrDigit(c) || c == '-' || c == '_' || c == '.') {
        encoded += c;
      } else {
        encoded += '%';
        encoded += hexDigits[static_cast<unsigned char>(c) >> 4];
        encoded += hexDigits[static_cast<unsigned char>(c) & 15];
      }
    }
    if (line.size() + encoded.size() + 1 > longestLine) {
      text += line + ";\r\n";
      ++section;
      begin();
    }
    line += encoded;
    value.remove_prefix(length);
  }
  return text += line;
}

std::string encodedWordParameter(std::string_view name, std::string_view value) {
  const std::string clean = withoutControls(value);
  const std::string plain = quotedString(clean);
  std::string text = ";\r\n ";
  text += name;
  text += '=';
  if (canStandPlain(clean) && name.size() + plain.size() + 3 <= longestLine) return text += plain;
  text += '"';
  text += encodedWords(clean, name.size() + 4);
  return text += '"';
}

std::string unreachableAddress(std::string_view name) {
  constexpr std::size_t longestLocalPart = 64;
  std::string local;
  for (const char c : name) {
    const auto value = static_cast<unsigned char>(c);
    std::string next;
    if (isLetterOrDigit(c) || c == '-' || c == '_')
      next = c;
    else if ((c == ' ' || c == '.') && !local.empty() && local.back() != '.')
      next = '.';
    else
      next = {'=', hexDigits[value >> 4], hexDigits[value & 15]};
    if (local.size() + next.size() > longestLocalPart) break;
    local += next;
  }
  while (!local.empty() && local.back() == '.') local.pop_back();
  return (local.empty() ? "unknown" : local) + "@fendrel.invalid";
}

bool isPlainAddress(std::string_view address) {
  constexpr std::size_t longestAddress = 254;
  const std::size_t at = address.rfind('@');
  return at != std::string_view::npos && address.size() <= longestAddress && isDotAtom(address.substr(0, at)) &&
         isDotAtom(address.substr(at + 1));
}

bool isPlainMediaType(std::string_view type) {
  const std::size_t slash = type.find('/');
  if (slash == std::string_view::npos || type.size() > 60) return false;
  const auto isToken = [](std::string_view text) {
    return !text.empty() &&
           std::ranges::all_of(text, [](char c) { return isLetterOrDigit(c) || c == '-' || c == '+' || c == '.'; });
  };
  if (!isToken(type.substr(0, slash)) || !isToken(type.substr(slash + 1))) return false;
  std::string kind(type.substr(0, slash));
  for (char& c : kind) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  return kind != "message" && kind != "multipart";
}

bool isMessageId(std::string_view id) {
  return id.size() > 2 && id.size() <= longestLine - 2 && id.front() == '<' && id.back() == '>' &&
         isPlainAddress(id.substr(1, id.size() - 2));
}

}  // namespace fendrel::mime
