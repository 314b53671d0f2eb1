// Shared by the fuzzers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

// Ends the run with the assertion that fails.
inline void require(bool holds, const char* sentence) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", sentence);
  std::abort();
}

inline std::span<const std::byte> bytesOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const std::byte*>(data), size};
}
