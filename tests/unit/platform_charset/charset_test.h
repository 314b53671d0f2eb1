// Shared by the tests of the character-set layer. They run with ANSI code page 1252 and again with 932.
#pragma once

#include <gmock/gmock.h>
#include <windows.h>

#include <string>

#include "charset_mode.h"
#include "text_conversion.h"

namespace fendrel::test {

// Uses the ANSI path during its lifetime.
class AnsiPath {
 public:
  AnsiPath() : before_(g_bUseAnsi) { g_bUseAnsi = true; }
  ~AnsiPath() { g_bUseAnsi = before_; }
  AnsiPath(const AnsiPath&) = delete;
  AnsiPath& operator=(const AnsiPath&) = delete;

 private:
  bool before_;
};

inline bool isDoubleByte() { return GetACP() == 932; }

// Text of the code page, with more bytes than letters if possible, and text outside of it.
inline std::wstring nativeText() { return isDoubleByte() ? L"日本語の報告書ソ表" : L"Grüße für Zoë"; }
inline std::wstring foreignText() { return isDoubleByte() ? L"Ψ한글Ж" : L"日本語Ж"; }

// A text after conversion to the ANSI code page and back.
inline std::wstring thereAndBack(const std::wstring& text) {
  HeapAnsiText ansi;
  HeapText wide;
  if (WideToAnsiAlloc(text.c_str(), ansi) == 0 || AnsiToWideAlloc(ansi.get(), wide) == 0) return L"";
  return wide.get();
}

// A result and its text.
struct TextAnswer {
  long long result;
  std::wstring text;
  bool operator==(const TextAnswer&) const = default;
};
inline void PrintTo(const TextAnswer& answer, std::ostream* out) {
  *out << answer.result << ' ' << testing::PrintToString(answer.text);
}

// Calls `read(buffer, size)` and checks that only `size` characters of the buffer are written.
template <class Read>
TextAnswer readText(int size, Read read) {
  constexpr wchar_t untouched = 0xFDFD;
  std::wstring buffer(static_cast<std::size_t>(size) + 8, untouched);
  const long long result = static_cast<long long>(read(buffer.data(), size));
  for (std::size_t behind = static_cast<std::size_t>(size); behind < buffer.size(); ++behind)
    EXPECT_EQ(buffer[behind], untouched) << "written after a buffer of " << size;
  const std::wstring text = size == 0 || buffer[0] == untouched ? L"" : std::wstring(buffer.c_str());
  return {result, text};
}

// The same call on both paths.
template <class Read>
TextAnswer readWide(int size, Read read) {
  return readText(size, read);
}
template <class Read>
TextAnswer readAnsi(int size, Read read) {
  const AnsiPath ansi;
  return readText(size, read);
}

}  // namespace fendrel::test
