#include "password_gate.h"

#include <windows.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <string>

#include "password.h"

namespace fendrel::provider {
namespace {

constexpr DWORD firstDelay = 1'000, longestDelay = 2'000;  // milliseconds

// One per profile, shared by all processes; if it is unavailable (another user's, no memory) a try does not wait.
class Gate {
 public:
  explicit Gate(const store::Profile& profile) : handle_(CreateMutexW(nullptr, FALSE, nameOf(profile).c_str())) {
    if (!handle_) return;
    const DWORD waited = WaitForSingleObject(handle_, longestGateWait);
    isMine_ = waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
  }
  ~Gate() {
    if (isMine_) ReleaseMutex(handle_);
    if (handle_) CloseHandle(handle_);
  }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

 private:
  static std::wstring nameOf(const store::Profile& profile) {
    std::wstring name = L"Global\\Fendrel-password-";
    for (const std::byte byte : profile.id.bytes) {
      name += L"0123456789abcdef"[std::to_integer<unsigned>(byte) >> 4];
      name += L"0123456789abcdef"[std::to_integer<unsigned>(byte) & 15];
    }
    return name;
  }

  HANDLE handle_;
  bool isMine_ = false;
};

// The delay of this process's next wrong answer.
DWORD nextDelay(const store::Profile& profile, bool isRight) {
  static std::mutex mutex;
  static std::map<std::string, DWORD> delays;  // by identifier
  const std::lock_guard lock(mutex);
  const std::string key(reinterpret_cast<const char*>(profile.id.bytes), sizeof profile.id.bytes);
  if (isRight) {
    delays.erase(key);
    return 0;
  }
  DWORD& delay = delays[key];
  delay = delay == 0 ? firstDelay : std::min(delay * 2, longestDelay);
  return delay;
}

}  // namespace

HRESULT tryPassword(const store::Profile& profile, const std::u16string& password) {
  if (profile.password.empty()) return S_OK;
  if (password.empty()) return MAPI_E_LOGON_FAILED;  // not a try: no profile has an empty password
  const Gate gate(profile);
  const HRESULT result = checkPassword(profile.password, password);
  const DWORD delay = nextDelay(profile, result != MAPI_E_LOGON_FAILED);
  if (delay > 0) Sleep(delay);
  return result;
}

}  // namespace fendrel::provider
