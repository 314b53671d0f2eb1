#include "text.h"

#include <fmt/format.h>

#include <algorithm>

namespace fendrel::host {
namespace {

std::wstring decode(UINT codePage, std::string_view text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(codePage, 0, text.data(), length, nullptr, 0)), L'\0');
  MultiByteToWideChar(codePage, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string encode(UINT codePage, std::wstring_view text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int size = WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(codePage, 0, text.data(), length, narrow.data(), size, nullptr, nullptr);
  return narrow;
}

// The code point at `position` of valid UTF-8, and the position after it.
char32_t nextCodePoint(std::string_view utf8, std::size_t& position) {
  const auto lead = static_cast<unsigned char>(utf8[position++]);
  int following = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
  char32_t value = following == 0 ? lead : lead & (0x3F >> following);
  for (; following > 0 && position < utf8.size(); --following)
    value = (value << 6) | (static_cast<unsigned char>(utf8[position++]) & 0x3F);
  return value;
}

std::size_t widthOf(char32_t c) {
  const bool combining = (c >= 0x300 && c <= 0x36F) || (c >= 0x200B && c <= 0x200F) || (c >= 0xFE00 && c <= 0xFE0F);
  if (combining) return 0;
  const bool wide = (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) || (c >= 0xAC00 && c <= 0xD7A3) ||
                    (c >= 0xF900 && c <= 0xFAFF) || (c >= 0xFE30 && c <= 0xFE6F) || (c >= 0xFF00 && c <= 0xFF60) ||
                    (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x1F300 && c <= 0x1FAFF) || (c >= 0x20000 && c <= 0x3FFFD);
  return wide ? 2 : 1;
}

}  // namespace

std::string toUtf8(std::wstring_view text) { return encode(CP_UTF8, text); }
std::wstring toWide(std::string_view utf8) { return decode(CP_UTF8, utf8); }
std::wstring fromAnsi(std::string_view text) { return decode(CP_ACP, text); }

bool fitsAnsi(std::wstring_view text) { return decode(CP_ACP, encode(CP_ACP, text)) == text; }

std::string printable(std::string_view utf8) {
  std::string result;
  result.reserve(utf8.size());
  for (std::size_t position = 0; position < utf8.size();) {
    const std::size_t start = position;
    const char32_t c = nextCodePoint(utf8, position);
    const bool control = c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x202A && c <= 0x202E) ||
                         (c >= 0x2066 && c <= 0x2069) || c == 0x2028 || c == 0x2029;
    if (control)
      result += "\xEF\xBF\xBD";
    else
      result += utf8.substr(start, position - start);
  }
  return result;
}

std::string printable(std::wstring_view text) { return printable(toUtf8(text)); }

bool isPlainName(std::wstring_view name) {
  const bool isBlank = name.find_first_not_of(L" \t\u00A0\u3000") == std::wstring_view::npos;
  const std::string utf8 = toUtf8(name);
  return !isBlank && printable(utf8) == utf8;
}

std::string withThousands(std::uint64_t number) {
  const std::string digits = std::to_string(number);
  std::string grouped;
  for (std::size_t place = 0; place < digits.size(); ++place) {
    if (place > 0 && (digits.size() - place) % 3 == 0) grouped += ',';
    grouped += digits[place];
  }
  return grouped;
}

std::string counted(std::uint64_t number, const char* noun) {
  return fmt::format("{} {}{}", withThousands(number), noun, number == 1 ? "" : "s");
}

std::string shortSize(std::uint64_t bytes) {
  static constexpr const char* units[] = {"KiB", "MiB", "GiB", "TiB"};
  if (bytes < 1024) return counted(bytes, "byte");
  double size = static_cast<double>(bytes) / 1024;
  std::size_t unit = 0;
  for (; size >= 1024 && unit + 1 < std::size(units); ++unit) size /= 1024;
  return fmt::format("{:.1f} {}", size, units[unit]);
}

std::string hexadecimal(std::span<const std::uint8_t> bytes) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

std::size_t displayWidth(std::string_view utf8) {
  std::size_t width = 0;
  for (std::size_t position = 0; position < utf8.size();) width += widthOf(nextCodePoint(utf8, position));
  return width;
}

std::string padded(std::string_view utf8, std::size_t width) {
  std::string text(utf8);
  const std::size_t used = displayWidth(utf8);
  if (used < width) text.append(width - used, ' ');
  return text;
}

std::string clipped(std::string_view utf8, std::size_t width) {
  if (displayWidth(utf8) <= width) return std::string(utf8);
  std::size_t used = 0;
  std::size_t position = 0;
  while (position < utf8.size()) {
    std::size_t next = position;
    const std::size_t step = widthOf(nextCodePoint(utf8, next));
    if (used + step + 1 > width) break;
    used += step;
    position = next;
  }
  return std::string(utf8.substr(0, position)) + "\xE2\x80\xA6";
}

std::string shortened(std::string_view utf8, std::size_t width) {
  const std::size_t whole = displayWidth(utf8);
  if (whole <= width || width == 0) return std::string(utf8);
  const std::size_t front = (width - 1) / 2, back = width - 1 - front;
  std::size_t used = 0, position = 0;
  std::string text;
  while (position < utf8.size()) {
    std::size_t next = position;
    const std::size_t step = widthOf(nextCodePoint(utf8, next));
    if (used + step > front) break;
    used += step;
    position = next;
  }
  text = std::string(utf8.substr(0, position)) + "\xE2\x80\xA6";
  // Skips more of the front until the rest fits.
  for (std::size_t left = whole - used; left > back && position < utf8.size();)
    left -= widthOf(nextCodePoint(utf8, position));
  return text += utf8.substr(position);
}

std::string localTime(const FILETIME& time) {
  SYSTEMTIME utc{}, local{};
  if (!FileTimeToSystemTime(&time, &utc) || !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) return "?";
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", local.wYear, local.wMonth, local.wDay, local.wHour,
                     local.wMinute, local.wSecond);
}

std::string utcTime(const FILETIME& time) {
  SYSTEMTIME utc{};
  if (!FileTimeToSystemTime(&time, &utc)) return "?";
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", utc.wYear, utc.wMonth, utc.wDay, utc.wHour,
                     utc.wMinute, utc.wSecond, utc.wMilliseconds);
}

std::string environmentText(const wchar_t* name) {
  std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return toUtf8(value);
}

std::string systemMessage(DWORD error) {
  wchar_t text[512];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text,
                                static_cast<DWORD>(std::size(text)), nullptr);
  while (length > 0 && (text[length - 1] <= L' ' || text[length - 1] == L'.')) --length;
  if (length == 0) return {};
  return printable(std::wstring_view(text, length));
}

}  // namespace fendrel::host
