#include "secret.h"

// clang-format off
#include <windows.h>
#include <dpapi.h>
// clang-format on

#include <cstring>

namespace fendrel::provider {
namespace {

// What the system made, which is wiped.
class SystemBlob {
 public:
  SystemBlob() = default;
  ~SystemBlob() {
    if (!blob.pbData) return;
    SecureZeroMemory(blob.pbData, blob.cbData);
    LocalFree(blob.pbData);
  }
  SystemBlob(const SystemBlob&) = delete;
  SystemBlob& operator=(const SystemBlob&) = delete;

  DATA_BLOB blob{};
};

DATA_BLOB blobOf(const void* bytes, std::size_t size) {
  return {static_cast<DWORD>(size), static_cast<BYTE*>(const_cast<void*>(bytes))};
}

}  // namespace

HRESULT sealSecret(const std::u16string& secret, store::Bytes& sealed) {
  sealed.clear();
  if (secret.empty()) return S_OK;
  DATA_BLOB in = blobOf(secret.data(), secret.size() * sizeof(char16_t));
  SystemBlob out;
  if (!CryptProtectData(&in, L"Fendrel mail server", nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &out.blob)) {
    return MAPI_E_CALL_FAILED;
  }
  const auto* begin = reinterpret_cast<const std::byte*>(out.blob.pbData);
  sealed.assign(begin, begin + out.blob.cbData);
  return S_OK;
}

HRESULT openSecret(const store::Bytes& sealed, std::u16string& secret) {
  secret.clear();
  if (sealed.empty()) return S_OK;
  DATA_BLOB in = blobOf(sealed.data(), sealed.size());
  SystemBlob out;
  if (!CryptUnprotectData(&in, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &out.blob)) {
    return MAPI_E_LOGON_FAILED;
  }
  secret.resize(out.blob.cbData / sizeof(char16_t));
  std::memcpy(secret.data(), out.blob.pbData, secret.size() * sizeof(char16_t));
  return S_OK;
}

void wipe(std::u16string& secret) noexcept {
  SecureZeroMemory(secret.data(), secret.size() * sizeof(char16_t));
  secret.clear();
}

}  // namespace fendrel::provider
