#include "password.h"

#include <windows.h>

#include <bcrypt.h>

namespace fendrel::provider {
namespace {

constexpr std::uint32_t iterations = 120'000;
constexpr std::size_t saltSize = 16;
constexpr std::size_t hashSize = 32;

class HmacSha256 {
 public:
  HmacSha256() {
    if (!BCRYPT_SUCCESS(
            BCryptOpenAlgorithmProvider(&handle_, BCRYPT_SHA256_ALGORITHM, nullptr, BCRYPT_ALG_HANDLE_HMAC_FLAG))) {
      handle_ = nullptr;
    }
  }
  ~HmacSha256() {
    if (handle_) BCryptCloseAlgorithmProvider(handle_, 0);
  }
  HmacSha256(const HmacSha256&) = delete;
  HmacSha256& operator=(const HmacSha256&) = delete;
  BCRYPT_ALG_HANDLE get() const noexcept { return handle_; }

 private:
  BCRYPT_ALG_HANDLE handle_ = nullptr;
};

UCHAR* raw(store::Bytes& bytes) { return reinterpret_cast<UCHAR*>(bytes.data()); }

HRESULT derive(const std::u16string& password, store::Bytes salt, std::uint32_t count, std::size_t size,
               store::Bytes& hash) {
  const HmacSha256 algorithm;
  if (!algorithm.get()) return MAPI_E_CALL_FAILED;
  store::Bytes secret(reinterpret_cast<const std::byte*>(password.data()),
                      reinterpret_cast<const std::byte*>(password.data() + password.size()));
  hash.resize(size);
  const NTSTATUS status =
      BCryptDeriveKeyPBKDF2(algorithm.get(), raw(secret), static_cast<ULONG>(secret.size()), raw(salt),
                            static_cast<ULONG>(salt.size()), count, raw(hash), static_cast<ULONG>(hash.size()), 0);
  SecureZeroMemory(secret.data(), secret.size());
  return BCRYPT_SUCCESS(status) ? S_OK : MAPI_E_CALL_FAILED;
}

// Constant time.
bool equalBytes(const store::Bytes& left, const store::Bytes& right) {
  if (left.size() != right.size()) return false;
  std::byte difference{};
  for (std::size_t i = 0; i < left.size(); ++i) difference |= left[i] ^ right[i];
  return difference == std::byte{};
}

}  // namespace

HRESULT hashPassword(const std::u16string& password, store::PasswordRecord& record) {
  store::PasswordRecord made;
  made.salt.resize(saltSize);
  made.iterations = iterations;
  if (!BCRYPT_SUCCESS(BCryptGenRandom(nullptr, raw(made.salt), saltSize, BCRYPT_USE_SYSTEM_PREFERRED_RNG))) {
    return MAPI_E_CALL_FAILED;
  }
  const HRESULT result = derive(password, made.salt, made.iterations, hashSize, made.hash);
  if (SUCCEEDED(result)) record = std::move(made);
  return result;
}

HRESULT checkPassword(const store::PasswordRecord& record, const std::u16string& password) {
  if (record.empty()) return S_OK;
  store::Bytes hash;
  const HRESULT result = derive(password, record.salt, record.iterations, record.hash.size(), hash);
  if (FAILED(result)) return result;
  return equalBytes(hash, record.hash) ? S_OK : MAPI_E_LOGON_FAILED;
}

}  // namespace fendrel::provider
