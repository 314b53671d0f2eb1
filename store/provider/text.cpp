#include "text.h"

#include <limits>
#include <new>

namespace fendrel::provider {
namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

int lengthFor(std::size_t length) {
  if (length > static_cast<std::size_t>(std::numeric_limits<int>::max() / 4)) throw std::bad_alloc();
  return static_cast<int>(length);
}

}  // namespace

std::u16string fromAnsi(std::string_view text) {
  if (text.empty()) return {};
  const int length = lengthFor(text.size());
  const int needed = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
  std::u16string wide(static_cast<std::size_t>(needed), u'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), length, reinterpret_cast<wchar_t*>(wide.data()), needed);
  return wide;
}

std::string toAnsi(std::u16string_view text) {
  if (text.empty()) return {};
  const int length = lengthFor(text.size());
  const int needed = WideCharToMultiByte(CP_ACP, 0, systemText(text), length, nullptr, 0, nullptr, nullptr);
  std::string ansi(static_cast<std::size_t>(needed), '\0');
  WideCharToMultiByte(CP_ACP, 0, systemText(text), length, ansi.data(), needed, nullptr, nullptr);
  return ansi;
}

std::u16string textArgument(const void* text, ULONG flags) {
  if (!text) return {};
  if (textForm(flags) == TextForm::Wide) return fromWide(static_cast<const wchar_t*>(text));
  return fromAnsi(static_cast<const char*>(text));
}

std::u16string fromWide(std::wstring_view text) { return {text.begin(), text.end()}; }

std::wstring toWide(std::u16string_view text) { return {text.begin(), text.end()}; }

}  // namespace fendrel::provider
