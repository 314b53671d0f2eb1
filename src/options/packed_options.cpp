#include "packed_options.h"

#include <algorithm>
#include <cstring>

namespace fendrel {
namespace {

std::uint32_t offsetAt(std::span<const std::byte> block, std::size_t field) noexcept {
  std::uint32_t offset;
  std::memcpy(&offset, block.data() + field, sizeof offset);
  return offset;
}

// The offset after the terminator of the string at `start`; nothing if the block ends first.
std::optional<std::size_t> endOfString(std::span<const std::byte> block, std::size_t start,
                                       std::size_t unitSize) noexcept {
  for (std::size_t unit = start; unit + unitSize <= block.size(); unit += unitSize) {
    const auto bytes = block.subspan(unit, unitSize);
    if (std::ranges::all_of(bytes, [](std::byte b) { return b == std::byte{0}; })) return unit + unitSize;
  }
  return std::nullopt;
}

}  // namespace

std::optional<PackedStrings> findPackedStrings(std::span<const std::byte> block, std::size_t unitSize) noexcept {
  if (block.size() < optionsHeaderSize) return std::nullopt;
  PackedStrings strings{offsetAt(block, 8), offsetAt(block, 16), offsetAt(block, 32), optionsHeaderSize};
  for (const std::uint32_t start : {strings.profileName, strings.profilePassword, strings.folderPath}) {
    if (start == 0) continue;
    if (start < optionsHeaderSize || start % unitSize != 0) return std::nullopt;
    const auto end = endOfString(block, start, unitSize);
    if (!end) return std::nullopt;
    strings.end = std::max(strings.end, *end);
  }
  return strings;
}

}  // namespace fendrel
