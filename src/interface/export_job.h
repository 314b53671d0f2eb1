// The record behind a job handle: one export, from its set-up to its end.
#pragma once

#include <string>
#include <vector>

#include "destination.h"
#include "error_text.h"
#include "fendrel/fendrel.h"
#include "options_encoding.h"
#include "profile_logon.h"

namespace fendrel {

// A job that the host knows has a session. It logs off when it is destroyed.
struct ExportJob {
  ExportJob() = default;
  ~ExportJob() { closeSession(session); }
  ExportJob(const ExportJob&) = delete;
  ExportJob& operator=(const ExportJob&) = delete;

  ComPtr<IMAPISession> session;
  HWND parentWindow = nullptr;
  bool optionsSupplied = false;  // set up silently, from a record of the host
  FendrelResult resultRecord{.size = sizeof(FendrelResult)};
  std::vector<std::wstring> fileNames;  // report names, in the host's order
  Destination destination;
  SenderIdentity sender;
  ErrorText errorText;
  EncodedOptions encodedOptions;  // the last block handed to the host
};

// Logs off and forgets profile name and identity. Always 0.
std::uint32_t ReleaseSession(ExportJob& job) noexcept;

// Logs the job on with a session of its own, after releasing the one it holds. Null for profile name and password lets
// MAPI ask. 0, 2, 3, 6, or FENDREL_FAILED with the job's error text set.
std::uint32_t Logon(ExportJob& job, const wchar_t* profileName, const wchar_t* profilePassword) noexcept;

}  // namespace fendrel
