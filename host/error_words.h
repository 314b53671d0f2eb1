// The one table that turns codes into names and words: of MAPI, of the system, and of the plug-in.
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

// What the plug-in's result code and its error text stand for as an HRESULT; S_OK when they name none.
// knownTexts of the plug-in's own string table are compared too, so that a translated text is understood.
struct PluginTexts {
  std::wstring noAccess, notFound, noSupport;
};
HRESULT pluginFailure(std::uint32_t code, std::wstring_view errorText, const PluginTexts& texts);

// The exit code for a failure while a folder is used.
ExitCode folderExitCode(HRESULT code);

}  // namespace fendrel::host
