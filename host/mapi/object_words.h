// Error texts of MAPI objects.
#pragma once

#include <mapix.h>

#include <string>

#include "failure.h"
#include "mapi_memory.h"
#include "text.h"

namespace fendrel::host {

// Empty if the object has none.
template <class Object>
std::string wordsOf(Object& object, HRESULT code) {
  MapiBuffer<MAPIERROR> error;
  const HRESULT told = object.GetLastError(code, MAPI_UNICODE, receive(error));
  if (FAILED(told) || !error || !error->lpszError) return {};
  return printable(std::wstring(reinterpret_cast<const wchar_t*>(error->lpszError)));
}

// check(), with the error text of the object that returned the code.
template <class Object>
void check(HRESULT code, ExitCode exitCode, const std::string& subject, Object& object) {
  if (FAILED(code)) throw toldFailure(exitCode, subject, code, wordsOf(object, code));
}

}  // namespace fendrel::host
