// Opens and closes the MAPI session of a job and learns whose it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mapi_memory.h"

namespace fendrel {

// Who is logged on; goes into every posted message when it is complete. Each part may be missing.
struct SenderIdentity {
  std::vector<std::byte> senderEntryId;
  std::optional<std::wstring> senderName;
  std::vector<std::byte> senderSearchKey;

  bool isComplete() const noexcept { return !senderEntryId.empty() && senderName && !senderSearchKey.empty(); }
};

// The flags of every logon: a session of its own, no mail spooler, wide strings; with MAPI's logon dialog unless silent.
constexpr FLAGS logonFlags(bool silent) noexcept {
  const FLAGS flags = MAPI_UNICODE | MAPI_NO_MAIL | MAPI_EXTENDED | MAPI_NEW_SESSION;
  return silent ? flags : flags | MAPI_LOGON_UI;
}

// Opens a session owned by the active window. Profile name and password may be null.
HRESULT openSession(const wchar_t* profileName, const wchar_t* password, bool silent,
                    ComPtr<IMAPISession>& session) noexcept;

// Reads the name of the profile in use from the session's status table, and the identity as far as it can be had. S_OK
// without a name when the table has no rows; MAPI_E_NOT_FOUND when none of its rows names the profile.
HRESULT GetSessionProfileName(IMAPISession* session, std::optional<std::wstring>& profileName,
                              SenderIdentity& sender) noexcept;

// Reads who is logged on. A failure leaves `sender` empty, except that of QueryIdentity itself, which leaves it alone.
HRESULT QuerySessionIdentity(IMAPISession* session, SenderIdentity& sender) noexcept;

// Logs off and lets go of the session; does nothing without one.
void closeSession(ComPtr<IMAPISession>& session) noexcept;

// Puts a failed logon into the host's terms: each answers the code, and leaves words where that says too little.
class LogonFailure {
 public:
  virtual std::uint32_t noLogon(HRESULT result) noexcept = 0;
  virtual std::uint32_t noProfileName(HRESULT result) noexcept = 0;

 protected:
  ~LogonFailure() = default;
};

// What of a job its logon changes, borrowed.
struct LogonJob {
  ComPtr<IMAPISession>& session;
  bool optionsSupplied;  // no dialog of MAPI's
  std::optional<std::wstring>& profileName;
  SenderIdentity& sender;
  LogonFailure& failure;
};

// Logs off and forgets profile name and identity. Always 0.
std::uint32_t ReleaseSession(const LogonJob& job) noexcept;

// Logs the job on with a session of its own, after releasing the one it holds. Null for profile name and password lets
// MAPI ask. 0, or what the failure is in the host's terms.
std::uint32_t Logon(const LogonJob& job, const wchar_t* profileName, const wchar_t* profilePassword) noexcept;

}  // namespace fendrel
