// What MAPI objects say of their own failures.
#pragma once

#include <mapix.h>

#include <string>

#include "failure.h"
#include "mapi_memory.h"
#include "text.h"

namespace fendrel::host {

// Empty where the object says nothing.
template <class Object>
std::string wordsOf(Object& object, HRESULT code) {
  MapiBuffer<MAPIERROR> error;
  const HRESULT told = object.GetLastError(code, MAPI_UNICODE, receive(error));
  if (FAILED(told) || !error || !error->lpszError) return {};
  return printable(std::wstring(reinterpret_cast<const wchar_t*>(error->lpszError)));
}

// check(), in the words of the object that answered.
template <class Object>
void check(HRESULT code, ExitCode exitCode, const std::string& subject, Object& object) {
  if (FAILED(code)) throw toldFailure(exitCode, subject, code, wordsOf(object, code));
}

}  // namespace fendrel::host
