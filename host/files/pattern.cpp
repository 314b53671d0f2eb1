#include "pattern.h"

#include <windows.h>

#include <string>

namespace fendrel::host {
namespace {

std::wstring upperCase(std::wstring_view text) {
  std::wstring upper(text);
  CharUpperBuffW(upper.data(), static_cast<DWORD>(upper.size()));
  return upper;
}

}  // namespace

bool matchesPattern(std::wstring_view given, std::wstring_view givenPattern) {
  const std::wstring text = upperCase(given), pattern = upperCase(givenPattern);
  std::size_t at = 0, in = 0;
  std::size_t star = std::wstring::npos, starAt = 0;  // the last '*', and the end of its match
  while (at < text.size()) {
    if (in < pattern.size() && pattern[in] == L'*') {
      star = in++;
      starAt = at;
    } else if (in < pattern.size() && (pattern[in] == L'?' || pattern[in] == text[at])) {
      ++in;
      ++at;
    } else if (star != std::wstring::npos) {
      in = star + 1;
      at = ++starAt;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(L'*', in) == std::wstring::npos;
}

}  // namespace fendrel::host
