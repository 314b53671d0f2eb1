#include "mapi_object.h"

namespace fendrel {

const char* CMAPIObject::GetLastErrorText() noexcept {
  FreeLastError();
  if (SUCCEEDED(lastResult) || GetLastError() != S_OK || !lastError) return nullptr;
  // The record was requested in its 8-bit form.
  return reinterpret_cast<const char*>(lastError->lpszError);
}

}  // namespace fendrel
