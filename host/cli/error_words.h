// The one table of names and messages for codes of MAPI and of the system.
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
  const char* wayOut;  // a complete sentence, or ""
};

// The entry for a code; null if the table has none.
const ErrorWords* findErrorWords(HRESULT code);

// True for temporary failures: busy, time-out, disk, network, logon server down.
bool passesByItself(HRESULT code);

// "MAPI_E_NO_ACCESS", or "0x80070005" if the table has no name for the code.
std::string errorName(HRESULT code);

// "no right to do this (MAPI_E_NO_ACCESS, 0x80070005)"
std::string describeError(HRESULT code);

// The exit code for a failure while a folder is used.
ExitCode folderExitCode(HRESULT code);

}  // namespace fendrel::host
