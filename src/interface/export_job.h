// The record that a job handle names: one export, from its set-up to its end.
#pragma once

#include <string>
#include <vector>

#include "destination.h"
#include "error_text.h"
#include "fendrel/fendrel.h"
#include "options_encoding.h"
#include "profile_logon.h"

namespace fendrel {

// Writes a failed logon into the job's error text.
class JobLogonFailure final : public LogonFailure {
 public:
  explicit JobLogonFailure(ErrorText& words) noexcept : words_(words) {}

  std::uint32_t noLogon(HRESULT result) noexcept override;
  std::uint32_t noProfileName(HRESULT result) noexcept override;

 private:
  std::uint32_t map(HRESULT result, UINT stringId, const wchar_t* fallback) noexcept;

  ErrorText& words_;
};

// A job that the host knows has a session. Its destructor logs off.
struct ExportJob {
  ExportJob() = default;
  ~ExportJob() { closeSession(session); }
  ExportJob(const ExportJob&) = delete;
  ExportJob& operator=(const ExportJob&) = delete;

  ComPtr<IMAPISession> session;
  HWND parentWindow = nullptr;
  bool optionsSupplied = false;  // set up silently, from the host's record
  FendrelResult resultRecord{.size = sizeof(FendrelResult)};
  std::vector<std::wstring> fileNames;  // report names, in the host's order
  Destination destination;
  SenderIdentity sender;
  ErrorText errorText;
  EncodedOptions encodedOptions;  // the last block handed to the host
  JobLogonFailure logonFailure{errorText};

  bool callRuns = false;   // nested calls are refused
  bool endWanted = false;  // the host ended the job while a call ran

  // The fields that the logon uses.
  operator LogonJob() noexcept { return {session, optionsSupplied, destination.profileName, sender, logonFailure}; }
};

}  // namespace fendrel
