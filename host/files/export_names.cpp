#include "export_names.h"

#include <fmt/format.h>

#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

// Windows allows 255 units of UTF-16, other file systems 255 bytes of UTF-8. Room is left for a number.
constexpr std::size_t longestName = 240;

bool isHigh(wchar_t c) { return c >= 0xD800 && c < 0xDC00; }
bool isLow(wchar_t c) { return c >= 0xDC00 && c < 0xE000; }

void appendEscape(std::wstring& to, wchar_t c) {
  to += toWide(c < 0x100 ? fmt::format("%{:02X}", static_cast<unsigned>(c))
                         : fmt::format("%u{:04X}", static_cast<unsigned>(c)));
}

// The longest prefix that takes at most this many bytes in UTF-8.
std::wstring_view beginning(std::wstring_view text, std::size_t bytes) {
  std::size_t length = 0;
  while (length < text.size()) {
    const std::size_t next = length + (isHigh(text[length]) && length + 1 < text.size() ? 2 : 1);
    const std::size_t needed = toUtf8(text.substr(length, next - length)).size();
    if (needed > bytes) break;
    bytes -= needed;
    length = next;
  }
  return text.substr(0, length);
}

}  // namespace

std::wstring escapedName(std::wstring_view name) {
  std::wstring escaped;
  for (std::size_t index = 0; index < name.size(); ++index) {
    const wchar_t c = name[index];
    const bool paired = (isHigh(c) && index + 1 < name.size() && isLow(name[index + 1])) ||
                        (isLow(c) && index > 0 && isHigh(name[index - 1]));
    const bool last = index + 1 == name.size();
    const bool reserved = std::wstring_view(L"<>:\"/\\|?*%").find(c) != std::wstring_view::npos;
    const bool unusable =
        c < 0x20 || c == 0x7F || reserved || ((isHigh(c) || isLow(c)) && !paired) || (last && (c == L'.' || c == L' '));
    if (unusable)
      appendEscape(escaped, c);
    else
      escaped += c;
  }
  if (escaped.empty()) return L"%";
  if (safeFileName(escaped) == L'_' + escaped) {  // a device
    std::wstring first;
    appendEscape(first, escaped.front());
    escaped.replace(0, 1, first);
  }
  return escaped;
}

std::wstring nameKey(std::span<const std::uint8_t> id) {
  std::uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
  for (const std::uint8_t byte : id) hash = (hash ^ byte) * 0x100000001B3;
  return toWide(fmt::format("{:016x}", hash));
}

std::wstring keyedName(std::wstring_view name, std::wstring_view key, std::wstring_view extension) {
  std::wstring behind = L" [" + std::wstring(key) + L"]";
  if (!extension.empty()) behind += escapedName(extension);
  return std::wstring(beginning(escapedName(name), longestName - toUtf8(behind).size())) + behind;
}

std::wstring shortFileName(std::wstring_view name) {
  const std::wstring_view extension = extensionOf(name);
  const std::wstring_view stem = name.substr(0, name.size() - extension.size());
  std::wstring cut(beginning(stem, longestName - toUtf8(extension).size()));
  while (!cut.empty() && cut.back() == L' ') cut.pop_back();
  return cut += extension;
}

std::wstring directoryName(std::wstring_view name, std::wstring_view key, bool shared) {
  const std::wstring escaped = escapedName(name);
  return !shared && toUtf8(escaped).size() <= longestName ? escaped : keyedName(name, key, {});
}

std::wstring_view extensionOf(std::wstring_view name) {
  constexpr std::size_t longestExtension = 16;
  const std::size_t dot = name.rfind(L'.');
  if (dot == std::wstring_view::npos || dot == 0 || name.size() - dot > longestExtension || name.size() - dot < 2)
    return {};
  const std::wstring_view extension = name.substr(dot);
  return extension.find(L' ') == std::wstring_view::npos ? extension : std::wstring_view();
}

}  // namespace fendrel::host
