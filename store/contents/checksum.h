// The checksum of content blocks: XXH64 with seed 0, a published fast hash that finds damage (it is not a signature).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace fendrel::store {

std::uint64_t checksum(std::span<const std::byte> bytes) noexcept;

}  // namespace fendrel::store
