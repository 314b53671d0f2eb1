// The one table that turns codes of MAPI and of the system into names and words.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "exit_codes.h"

namespace fendrel::host {

struct ErrorWords {
  HRESULT code;
  const char* name;    // "MAPI_E_NO_ACCESS"
  const char* cause;   // "no right to do this"
  const char* wayOut;  // a whole sentence, or ""
};

// The words for a code; null when the table does not hold it.
const ErrorWords* findErrorWords(HRESULT code);

// True for what passes by itself: busy, out of time, disk, network, logon server down.
bool passesByItself(HRESULT code);

// "MAPI_E_NO_ACCESS", or "0x80070005" when the code has no name here.
std::string errorName(HRESULT code);

// "no right to do this (MAPI_E_NO_ACCESS, 0x80070005)"
std::string describeError(HRESULT code);

// The exit code for a failure while a folder is used.
ExitCode folderExitCode(HRESULT code);

}  // namespace fendrel::host
