#include "secret.h"

// clang-format off
#include <windows.h>
#include <dpapi.h>
// clang-format on

#include <cstring>

namespace fendrel::store {
namespace {

// The system's result; wiped by the destructor.
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

bool sealSecret(const std::u16string& secret, Bytes& sealed) {
  sealed.clear();
  if (secret.empty()) return true;
  DATA_BLOB in = blobOf(secret.data(), secret.size() * sizeof(char16_t));
  SystemBlob out;
  if (!CryptProtectData(&in, L"Fendrel mail server", nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &out.blob)) {
    return false;
  }
  const auto* begin = reinterpret_cast<const std::byte*>(out.blob.pbData);
  sealed.assign(begin, begin + out.blob.cbData);
  return true;
}

bool openSecret(const Bytes& sealed, std::u16string& secret) {
  secret.clear();
  if (sealed.empty()) return true;
  DATA_BLOB in = blobOf(sealed.data(), sealed.size());
  SystemBlob out;
  if (!CryptUnprotectData(&in, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &out.blob)) {
    return false;
  }
  secret.resize(out.blob.cbData / sizeof(char16_t));
  std::memcpy(secret.data(), out.blob.pbData, secret.size() * sizeof(char16_t));
  return true;
}

void wipe(std::u16string& secret) noexcept {
  SecureZeroMemory(secret.data(), secret.size() * sizeof(char16_t));
  secret.clear();
}

}  // namespace fendrel::store
