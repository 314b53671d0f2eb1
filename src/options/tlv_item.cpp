#include "tlv_item.h"

namespace fendrel {
namespace {

std::uint16_t wordAt(std::span<const std::byte, tlvHeaderSize> bytes, std::size_t offset) noexcept {
  return static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[offset]) |
                                    std::to_integer<unsigned>(bytes[offset + 1]) << 8);
}

}  // namespace

TlvHeader readTlvHeader(std::span<const std::byte, tlvHeaderSize> bytes) noexcept {
  return {.tag = wordAt(bytes, 0), .length = wordAt(bytes, 2)};
}

std::array<std::byte, tlvHeaderSize> tlvHeaderBytes(TlvHeader header) noexcept {
  return {std::byte(header.tag & 0xFF), std::byte(header.tag >> 8), std::byte(header.length & 0xFF),
          std::byte(header.length >> 8)};
}

TlvItem tlvItemAt(std::span<const std::byte> stream, std::size_t offset) noexcept {
  if (offset >= stream.size()) return {};
  const auto rest = stream.subspan(offset);
  if (rest.size() < tlvHeaderSize) return {.finding = TlvFinding::cutHeader, .header = {}, .value = {}};
  const TlvHeader header = readTlvHeader(rest.first<tlvHeaderSize>());
  const auto following = rest.subspan(tlvHeaderSize);
  if (header.tag == 0) return {.finding = TlvFinding::noTag, .header = header, .value = {}};
  if (!header.isWellFormed()) return {.finding = TlvFinding::lengthTooLarge, .header = header, .value = {}};
  if (following.size() < header.length) return {.finding = TlvFinding::cutValue, .header = header, .value = following};
  return {.finding = TlvFinding::item, .header = header, .value = following.first(header.length)};
}

}  // namespace fendrel
