#include "ids.h"

#include <windows.h>

#include <bcrypt.h>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace fendrel::store {

FileTime now() noexcept {
  static std::atomic<std::uint64_t> latest{0};
  FILETIME time;
  GetSystemTimeAsFileTime(&time);
  const std::uint64_t measured = static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  std::uint64_t last = latest.load();
  std::uint64_t next;
  do {
    next = std::max(measured, last + 1);
  } while (!latest.compare_exchange_weak(last, next));
  return {next};
}

// A version 7 UUID: milliseconds since 1970 in 48 bits, the fraction in 12, the rest random.
Guid newGuid() {
  constexpr std::uint64_t ticksFrom1601To1970 = 116'444'736'000'000'000;
  constexpr std::uint64_t ticksPerMillisecond = 10'000;
  const std::uint64_t ticks = now().ticks - ticksFrom1601To1970;
  const std::uint64_t milliseconds = ticks / ticksPerMillisecond;
  const std::uint64_t fraction = ticks % ticksPerMillisecond * 4096 / ticksPerMillisecond;

  unsigned char bytes[16];
  if (BCryptGenRandom(nullptr, bytes, sizeof bytes, BCRYPT_USE_SYSTEM_PREFERRED_RNG) != 0) {
    // Uniqueness is needed, not secrecy: without random numbers, use clock, process and thread.
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    const std::uint64_t mixed[] = {ticks, static_cast<std::uint64_t>(counter.QuadPart) ^
                                              (std::uint64_t{GetCurrentProcessId()} << 32 | GetCurrentThreadId())};
    std::memcpy(bytes, mixed, sizeof bytes);
  }
  for (int i = 0; i < 6; ++i) bytes[i] = static_cast<unsigned char>(milliseconds >> (40 - 8 * i));
  bytes[6] = static_cast<unsigned char>(0x70 | fraction >> 8);
  bytes[7] = static_cast<unsigned char>(fraction);
  bytes[8] = static_cast<unsigned char>(0x80 | (bytes[8] & 0x3F));
  Guid guid;
  std::memcpy(guid.bytes, bytes, sizeof bytes);
  return guid;
}

std::wstring hexText(const Guid& guid) {
  std::wstring text;
  for (const std::byte byte : guid.bytes) {
    text += L"0123456789abcdef"[static_cast<unsigned>(byte) >> 4];
    text += L"0123456789abcdef"[static_cast<unsigned>(byte) & 15];
  }
  return text;
}

}  // namespace fendrel::store
