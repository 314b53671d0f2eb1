#include "plugin_failure.h"

#include <cwchar>

#include "known_failures.h"

namespace fendrel::host {
namespace {

bool isTextOf(const KnownFailure& failure, std::wstring_view text, const PluginString& pluginString) {
  if (!failure.text) return false;
  return text == failure.text || (failure.stringId != 0 && text == pluginString(failure.stringId));
}

}  // namespace

HRESULT pluginFailure(std::uint32_t code, std::wstring_view errorText, const PluginString& pluginString) {
  switch (code) {
    case FENDREL_SUCCESS: return S_OK;
    case FENDREL_OUT_OF_MEMORY: return MAPI_E_NOT_ENOUGH_MEMORY;
    case FENDREL_NOT_ENOUGH_DISK: return MAPI_E_NOT_ENOUGH_DISK;
    case FENDREL_INVALID_ARGUMENT: return MAPI_E_INVALID_PARAMETER;
    case FENDREL_CANCELLED: return MAPI_E_USER_CANCEL;
    default: break;
  }
  if (errorText.empty()) return S_OK;
  for (const KnownFailure& failure : knownFailures)
    if (isTextOf(failure, errorText, pluginString)) return failure.result;
  unsigned number = 0;
  if (std::swscanf(std::wstring(errorText).c_str(), otherFailureFormat, &number) == 1)
    return static_cast<HRESULT>(number);
  return S_OK;
}

}  // namespace fendrel::host
