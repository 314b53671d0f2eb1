// The message of one report, and its properties in the order in which they are set.
#pragma once

#include <optional>
#include <string>

#include "mapi_memory.h"
#include "profile_logon.h"

namespace fendrel {

// The naming step's texts for one file; each may be missing.
struct ReportTexts {
  std::optional<std::wstring> displayName;
  std::optional<std::wstring> comment;
  std::optional<std::wstring> body;
};

// One report to post; everything is borrowed.
struct Report {
  const wchar_t* filePath;   // the bytes to attach
  const wchar_t* name;       // becomes the subject
  const wchar_t* extension;  // of the name, without the dot
  wchar_t* messageClass;     // upper-cased in place when the message is made
  const SenderIdentity& sender;
  const ReportTexts& texts;
};

// Creates a message in `folder` and saves it with the file as its attachment. An incomplete message is released
// unsaved. MAPI_E_INVALID_PARAMETER without folder, path, name or class; else the first failure. The result of saving
// the message is ignored, as hosts rely on: the copy's result is returned.
HRESULT postReport(IMAPIFolder* folder, bool associated, const Report& report) noexcept;

}  // namespace fendrel
