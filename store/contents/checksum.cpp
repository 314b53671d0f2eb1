#include "checksum.h"

#include <bit>
#include <cstring>

namespace fendrel::store {

namespace {

constexpr std::uint64_t prime1 = 0x9E3779B185EBCA87;
constexpr std::uint64_t prime2 = 0xC2B2AE3D27D4EB4F;
constexpr std::uint64_t prime3 = 0x165667B19E3779F9;
constexpr std::uint64_t prime4 = 0x85EBCA77C2B2AE63;
constexpr std::uint64_t prime5 = 0x27D4EB2F165667C5;

static_assert(std::endian::native == std::endian::little);

template <class Word>
std::uint64_t load(const std::byte* at) noexcept {
  Word word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

constexpr std::uint64_t mixLane(std::uint64_t lane, std::uint64_t word) {
  return std::rotl(lane + word * prime2, 31) * prime1;
}

constexpr std::uint64_t mergeLane(std::uint64_t hash, std::uint64_t lane) {
  return (hash ^ mixLane(0, lane)) * prime1 + prime4;
}

}  // namespace

std::uint64_t checksum(std::span<const std::byte> bytes) noexcept {
  const std::byte* at = bytes.data();
  std::size_t left = bytes.size();
  std::uint64_t hash = prime5;
  if (left >= 32) {
    std::uint64_t lanes[4] = {prime1 + prime2, prime2, 0, 0 - prime1};
    for (; left >= 32; left -= 32) {
      for (auto& lane : lanes) {
        lane = mixLane(lane, load<std::uint64_t>(at));
        at += 8;
      }
    }
    hash = std::rotl(lanes[0], 1) + std::rotl(lanes[1], 7) + std::rotl(lanes[2], 12) + std::rotl(lanes[3], 18);
    for (const auto lane : lanes) hash = mergeLane(hash, lane);
  }
  hash += bytes.size();
  for (; left >= 8; left -= 8, at += 8) {
    hash = std::rotl(hash ^ mixLane(0, load<std::uint64_t>(at)), 27) * prime1 + prime4;
  }
  if (left >= 4) {
    hash = std::rotl(hash ^ load<std::uint32_t>(at) * prime1, 23) * prime2 + prime3;
    at += 4;
    left -= 4;
  }
  for (; left > 0; --left, ++at) {
    hash = std::rotl(hash ^ load<std::uint8_t>(at) * prime5, 11) * prime1;
  }
  hash = (hash ^ hash >> 33) * prime2;
  hash = (hash ^ hash >> 29) * prime3;
  return hash ^ hash >> 32;
}

}  // namespace fendrel::store
