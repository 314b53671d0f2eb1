#include "error_text.h"

#include <cwchar>

#include "format_string.h"
#include "known_failures.h"
#include "resource_module.h"

namespace fendrel {
void ErrorText::assign(const wchar_t* text) noexcept {
  const std::size_t length = wcsnlen(text, capacity);
  std::wmemcpy(text_, text, length);
  text_[length] = 0;
}

void ErrorText::load(UINT id, const wchar_t* fallback) noexcept {
  if (LoadResString(id, text_, capacity) != resourceLoaded) assign(fallback);
}

void ErrorText::formatCode(HRESULT code) noexcept {
  FormatString(text_, capacity + 1, otherFailureFormat, static_cast<unsigned>(code));
}

std::uint32_t mapResult(HRESULT result, ErrorText& errorText) noexcept {
  for (const KnownFailure& failure : knownFailures) {
    if (failure.result != result) continue;
    if (failure.stringId != 0)
      errorText.load(failure.stringId, failure.text);
    else if (failure.text)
      errorText.assign(failure.text);
    return failure.code;
  }
  errorText.formatCode(result);
  return FENDREL_FAILED;
}

}  // namespace fendrel
