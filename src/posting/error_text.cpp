#include "error_text.h"

#include <mapicode.h>

#include <cwchar>

#include "english/texts.h"
#include "fendrel/fendrel.h"
#include "format_string.h"
#include "resource_ids.h"
#include "resource_module.h"

namespace fendrel {
namespace {

// One known failure. A text is loaded from the resource module when it has a string id, else copied.
struct Failure {
  HRESULT result;
  std::uint32_t code;
  UINT stringId;
  const wchar_t* text;  // null: the error text stays as it is
};

constexpr Failure failures[] = {
    {S_OK, FENDREL_SUCCESS, 0, nullptr},
    {E_ABORT, FENDREL_CANCELLED, 0, nullptr},
    {MAPI_E_USER_CANCEL, FENDREL_CANCELLED, 0, nullptr},
    {MAPI_E_CANCEL, FENDREL_CANCELLED, 0, nullptr},
    {MAPI_E_NOT_ENOUGH_MEMORY, FENDREL_OUT_OF_MEMORY, 0, nullptr},
    {MAPI_E_NOT_ENOUGH_DISK, FENDREL_NOT_ENOUGH_DISK, 0, nullptr},
    {MAPI_E_CALL_FAILED, FENDREL_FAILED, 0, L"MAPI_E_CALL_FAILED"},
    {MAPI_E_CORRUPT_DATA, FENDREL_FAILED, 0, L"MAPI_E_CORRUPT_DATA"},
    {MAPI_E_FAILONEPROVIDER, FENDREL_FAILED, 0, L"MAPI Error: Fail on provider."},
    {MAPI_E_INVALID_PARAMETER, FENDREL_FAILED, 0, L"MAPI_E_INVALID_PARAMETER"},
    {MAPI_E_NO_SUPPORT, FENDREL_FAILED, IDS_NOT_SUPPORTED, L"" TEXT_NOT_SUPPORTED},
    {MAPI_E_NOT_FOUND, FENDREL_FAILED, IDS_NOT_FOUND, L"" TEXT_NOT_FOUND},
    {MAPI_E_NO_ACCESS, FENDREL_FAILED, IDS_NO_RIGHT_TO_POST_FILE, L"" TEXT_NO_RIGHT_TO_POST_FILE},
};

}  // namespace

void ErrorText::assign(const wchar_t* text) noexcept {
  const std::size_t length = wcsnlen(text, capacity);
  std::wmemcpy(text_, text, length);
  text_[length] = 0;
}

void ErrorText::load(UINT id, const wchar_t* fallback) noexcept {
  if (LoadResString(id, text_, capacity) != resourceLoaded) assign(fallback);
}

void ErrorText::formatCode(HRESULT code) noexcept {
  FormatString(text_, capacity + 1, L"Error code 0x%08X returned.", static_cast<unsigned>(code));
}

std::uint32_t mapResult(HRESULT result, ErrorText& errorText) noexcept {
  for (const Failure& failure : failures) {
    if (failure.result != result) continue;
    if (failure.stringId != 0) errorText.load(failure.stringId, failure.text);
    else if (failure.text) errorText.assign(failure.text);
    return failure.code;
  }
  errorText.formatCode(result);
  return FENDREL_FAILED;
}

}  // namespace fendrel
