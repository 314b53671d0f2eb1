#include "data_protection.h"

// clang-format off
#include <windows.h>
#include <dpapi.h>
// clang-format on

#include <memory>

#include "failure.h"

namespace fendrel::host {
namespace {

struct LocalFreer {
  void operator()(BYTE* block) const noexcept { LocalFree(block); }
};

DATA_BLOB blobOf(std::span<const std::byte> bytes) {
  return {static_cast<DWORD>(bytes.size()), reinterpret_cast<BYTE*>(const_cast<std::byte*>(bytes.data()))};
}

// Copies the system's result, and wipes it.
Bytes take(const DATA_BLOB& made) {
  const std::unique_ptr<BYTE, LocalFreer> owner(made.pbData);
  const auto* const start = reinterpret_cast<const std::byte*>(made.pbData);
  Bytes copy(start, start + made.cbData);
  SecureZeroMemory(made.pbData, made.cbData);
  return copy;
}

}  // namespace

Bytes protect(std::span<const std::byte> bytes) {
  DATA_BLOB in = blobOf(bytes), out = {};
  if (!CryptProtectData(&in, L"Fendrel choice", nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &out))
    throw systemFailure(ExitCode::failed, "The password cannot be protected", GetLastError());
  return take(out);
}

Bytes unprotect(std::span<const std::byte> bytes) {
  DATA_BLOB in = blobOf(bytes), out = {};
  if (!CryptUnprotectData(&in, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &out))
    throw systemFailure(ExitCode::failed, "The protected choice cannot be read", GetLastError(),
                        "Only the user who saved it, on the same machine, can use it; save the choice again.");
  return take(out);
}

}  // namespace fendrel::host
