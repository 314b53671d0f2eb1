// Items of a tagged stream as bytes. Portable: no system header.
//
// Item layout (little-endian, no padding; a stream has no header and no end marker):
//   offset  size
//        0     2  tag       never 0
//        2     2  length    of the value in bytes, at most 65,520
//        4     -  value
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace fendrel {

inline constexpr std::size_t tlvHeaderSize = 4;
inline constexpr std::uint16_t tlvMaxLength = 65520;

struct TlvHeader {
  std::uint16_t tag = 0;
  std::uint16_t length = 0;

  bool isWellFormed() const noexcept { return tag != 0 && length <= tlvMaxLength; }
};

TlvHeader readTlvHeader(std::span<const std::byte, tlvHeaderSize> bytes) noexcept;
std::array<std::byte, tlvHeaderSize> tlvHeaderBytes(TlvHeader header) noexcept;

// What is at a position of a stream.
enum class TlvFinding {
  item,
  end,        // nothing more
  cutHeader,  // fewer bytes than a header
  noTag,
  lengthTooLarge,
  cutValue,  // the stream ends inside the value
};

struct TlvItem {
  TlvFinding finding = TlvFinding::end;
  TlvHeader header;                  // not for end and cutHeader
  std::span<const std::byte> value;  // for an item; for cutValue the bytes that exist
};

// Looks at the item that starts at `offset` of `stream`, which may lie past its end.
TlvItem tlvItemAt(std::span<const std::byte> stream, std::size_t offset) noexcept;

}  // namespace fendrel
