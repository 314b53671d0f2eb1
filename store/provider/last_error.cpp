#include "last_error.h"

#include <cstring>

#include "mapi_interfaces.h"
#include "status_codes.h"
#include "text.h"
#include "unicode.h"

namespace fendrel::provider {
namespace {

// A terminated text chained to the error, in the form given by the flags.
LPTSTR textBelow(MAPIERROR* error, std::u16string_view text, ULONG flags) {
  const auto put = [&](const auto& terminated) {
    void* block = nullptr;
    const std::size_t size = (terminated.size() + 1) * sizeof terminated[0];
    if (FAILED(allocateBelow(error, size, block))) return static_cast<LPTSTR>(nullptr);
    std::memcpy(block, terminated.c_str(), size);
    return static_cast<LPTSTR>(block);
  };
  return textForm(flags) == TextForm::Wide ? put(std::u16string(text)) : put(toAnsi(text));
}

}  // namespace

HRESULT lastError(const store::Origin& origin, HRESULT result, ULONG flags, LPMAPIERROR* error) {
  if (!error) return MAPI_E_INVALID_PARAMETER;
  *error = nullptr;
  if (SUCCEEDED(result)) return S_OK;
  const store::EngineError failure = origin.lastFailure();
  if (failure.status == store::Status::Ok || toResult(failure.status) != result) return S_OK;
  std::u16string words;
  if (!store::fromUtf8(failure.text, words) || words.empty()) return S_OK;
  auto made = allocateMapi<MAPIERROR>(sizeof(MAPIERROR));
  made->ulVersion = MAPI_ERROR_VERSION;
  made->lpszError = textBelow(made.get(), words, flags);
  made->lpszComponent = textBelow(made.get(), u"Fendrel message store", flags);
  *error = made.release();
  return S_OK;
}

}  // namespace fendrel::provider
