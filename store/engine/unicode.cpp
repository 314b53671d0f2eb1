#include "unicode.h"

namespace fendrel::store {

namespace {

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

void append(std::string& bytes, char32_t point) {
  const auto push = [&](char32_t byte) { bytes.push_back(static_cast<char>(byte)); };
  if (point < 0x80) {
    push(point);
  } else if (point < 0x800) {
    push(0xC0 | point >> 6);
    push(0x80 | (point & 0x3F));
  } else if (point < 0x10000) {
    push(0xE0 | point >> 12);
    push(0x80 | (point >> 6 & 0x3F));
    push(0x80 | (point & 0x3F));
  } else {
    push(0xF0 | point >> 18);
    push(0x80 | (point >> 12 & 0x3F));
    push(0x80 | (point >> 6 & 0x3F));
    push(0x80 | (point & 0x3F));
  }
}

template <class Unit>
std::string encode(std::basic_string_view<Unit> text) {
  std::string bytes;
  bytes.reserve(text.size() + text.size() / 8);
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t point = static_cast<char16_t>(text[i]);
    if (isHighSurrogate(point) && i + 1 < text.size() && isLowSurrogate(static_cast<char16_t>(text[i + 1]))) {
      point = 0x10000 + ((point - 0xD800) << 10) + (static_cast<char16_t>(text[++i]) - 0xDC00u);
    }
    append(bytes, point);
  }
  return bytes;
}

// The number of bytes after a first byte, or -1 for an invalid first byte.
constexpr int trailingBytes(unsigned char first) {
  if (first < 0x80) return 0;
  if (first >= 0xC2 && first <= 0xDF) return 1;
  if (first >= 0xE0 && first <= 0xEF) return 2;
  if (first >= 0xF0 && first <= 0xF4) return 3;
  return -1;
}

}  // namespace

std::string toUtf8(std::u16string_view text) { return encode(text); }
std::string toUtf8(std::wstring_view path) { return encode(path); }

bool fromUtf8(std::string_view bytes, std::u16string& text) {
  static constexpr char32_t smallest[] = {0, 0x80, 0x800, 0x10000};
  text.clear();
  text.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size();) {
    const auto first = static_cast<unsigned char>(bytes[i++]);
    const int trailing = trailingBytes(first);
    if (trailing < 0 || bytes.size() - i < static_cast<std::size_t>(trailing)) return false;
    char32_t point = trailing == 0 ? first : first & (0x3Fu >> trailing);
    for (int n = 0; n < trailing; ++n) {
      const auto next = static_cast<unsigned char>(bytes[i++]);
      if ((next & 0xC0) != 0x80) return false;
      point = point << 6 | (next & 0x3Fu);
    }
    if (point < smallest[trailing] || point > 0x10FFFF) return false;
    if (point < 0x10000) {
      text.push_back(static_cast<char16_t>(point));
    } else {
      text.push_back(static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10)));
      text.push_back(static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
    }
  }
  return true;
}

}  // namespace fendrel::store
