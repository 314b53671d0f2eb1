// Opens and closes the MAPI session of a job and reads its user's identity.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mapi_memory.h"

namespace fendrel {

// The user who is logged on; written into every posted message if complete. Each part may be missing.
struct SenderIdentity {
  std::vector<std::byte> senderEntryId;
  std::optional<std::wstring> senderName;
  std::vector<std::byte> senderSearchKey;

  bool isComplete() const noexcept { return !senderEntryId.empty() && senderName && !senderSearchKey.empty(); }
};

// The flags of every logon: a new session, no mail spooler, wide strings; with MAPI's logon dialog unless silent.
constexpr FLAGS logonFlags(bool silent) noexcept {
  const FLAGS flags = MAPI_UNICODE | MAPI_NO_MAIL | MAPI_EXTENDED | MAPI_NEW_SESSION;
  return silent ? flags : flags | MAPI_LOGON_UI;
}

// Opens a session owned by the active window. Profile name and password may be null.
HRESULT openSession(const wchar_t* profileName, const wchar_t* password, bool silent,
                    ComPtr<IMAPISession>& session) noexcept;

// Reads the name of the profile in use from the session's status table, and as much of the identity as possible. S_OK
// without a name if the table has no rows; MAPI_E_NOT_FOUND if no row names the profile.
HRESULT GetSessionProfileName(IMAPISession* session, std::optional<std::wstring>& profileName,
                              SenderIdentity& sender) noexcept;

// Reads the user who is logged on. On failure `sender` is empty; if QueryIdentity itself fails, it is unchanged.
HRESULT QuerySessionIdentity(IMAPISession* session, SenderIdentity& sender) noexcept;

// Logs off and releases the session, if there is one.
void closeSession(ComPtr<IMAPISession>& session) noexcept;

// Maps a failed logon to the host's code, and sets the error text where the code says too little.
class LogonFailure {
 public:
  virtual std::uint32_t noLogon(HRESULT result) noexcept = 0;
  virtual std::uint32_t noProfileName(HRESULT result) noexcept = 0;

 protected:
  ~LogonFailure() = default;
};

// The fields of a job that its logon changes, borrowed.
struct LogonJob {
  ComPtr<IMAPISession>& session;
  bool optionsSupplied;  // without MAPI's dialog
  std::optional<std::wstring>& profileName;
  SenderIdentity& sender;
  LogonFailure& failure;
};

// Logs off and clears profile name and identity. Always 0.
std::uint32_t ReleaseSession(const LogonJob& job) noexcept;

// Logs the job on with a new session, after releasing its current one. With null for profile name and password MAPI
// asks the user. 0, or the host's code for the failure.
std::uint32_t Logon(const LogonJob& job, const wchar_t* profileName, const wchar_t* profilePassword) noexcept;

}  // namespace fendrel
