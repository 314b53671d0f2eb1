// Reads the strings of a packed options block. Portable: bytes in, offsets out, no system header.
//
// Block layout (little-endian; strings of `unitSize` bytes a unit, each ended by a zero unit):
//   offset  size
//        0    48  header; offsets of the strings at 8 (profile name), 16 (password) and 32 (folder path),
//                 of which the low 32 bits count; 0: absent
//       48     -  the strings
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace fendrel {

inline constexpr std::size_t optionsHeaderSize = 48;

// The encoder states thirty bytes less than header and strings take (docs/compatibility.md), so strings may reach that far
// past the stated size.
inline constexpr std::size_t packedSizeShortfall = 30;

// Where a packed block's strings begin (0: absent), and where the block ends.
struct PackedStrings {
  std::uint32_t profileName;
  std::uint32_t profilePassword;
  std::uint32_t folderPath;
  std::size_t end;  // after the farthest terminator, at least the header's size
};

// Finds the strings of `block`, which ends where nothing more may be read. Nothing when a string starts inside the
// header, on an odd address (wide) or past the end, or does not end inside the block.
std::optional<PackedStrings> findPackedStrings(std::span<const std::byte> block, std::size_t unitSize) noexcept;

}  // namespace fendrel
