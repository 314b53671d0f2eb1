// Reads the strings of a packed options block. Portable: bytes in, offsets out, no system header.
//
// Block layout (little-endian; strings of `unitSize` bytes a unit, each ended by a zero unit):
//   offset  size
//        0    48  header; string offsets at 8 (profile name), 16 (password) and 32 (folder path),
//                 only the low 32 bits are used; 0: absent
//       48     -  the strings
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace fendrel {

inline constexpr std::size_t optionsHeaderSize = 48;

// The stated size is thirty bytes less than header and strings (docs/compatibility.md), so strings may reach that far
// past it.
inline constexpr std::size_t packedSizeShortfall = 30;

// The offsets of a packed block's strings (0: absent), and of its end.
struct PackedStrings {
  std::uint32_t profileName;
  std::uint32_t profilePassword;
  std::uint32_t folderPath;
  std::size_t end;  // after the last terminator, at least the header's size
};

// Finds the strings of `block`, which must be readable to its end. Nothing if a string starts inside the header, on an
// odd address (wide) or past the end, or does not end inside the block.
std::optional<PackedStrings> findPackedStrings(std::span<const std::byte> block, std::size_t unitSize) noexcept;

}  // namespace fendrel
