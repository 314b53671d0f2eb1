// One property of a store object, without MAPI's types.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace fendrel::store {

using Bytes = std::vector<std::byte>;

inline void append(Bytes& bytes, const void* from, std::size_t size) {
  const auto* first = static_cast<const std::byte*>(from);
  bytes.insert(bytes.end(), first, first + size);
}

// A 128-bit identifier in memory order.
struct Guid {
  std::byte bytes[16];
  bool operator==(const Guid&) const = default;
};

// A property's tag: identifier in the high half, type in the low half, as the messaging interface numbers them.
// Text is always UTF-16, so a stored text tag has the wide type.
using PropertyTag = std::uint32_t;

// 100-nanosecond intervals since 1 January 1601 UTC.
struct FileTime {
  std::uint64_t ticks;
  auto operator<=>(const FileTime&) const = default;
};

// A value that exists but was not loaded because of its size: openContent reads it.
struct UnloadedValue {
  std::uint64_t size;  // bytes; two per code unit of text, without a terminator
  bool operator==(const UnloadedValue&) const = default;
};

// std::monostate: no such property. UnloadedValue is only returned, never accepted.
using PropertyValue =
    std::variant<std::monostate, std::int16_t, std::int32_t, std::int64_t, float, double, bool, FileTime, Guid,
                 std::u16string, Bytes, std::vector<std::int16_t>, std::vector<std::int32_t>, std::vector<std::int64_t>,
                 std::vector<float>, std::vector<double>, std::vector<FileTime>, std::vector<Guid>,
                 std::vector<std::u16string>, std::vector<Bytes>, UnloadedValue>;

struct Property {
  PropertyTag tag;
  PropertyValue value;
};

// A value's share of sizes: bytes, two per code unit of text.
std::uint64_t valueSize(const PropertyValue& value);

// The types (low half of a tag) that can be stored, each with the alternative that holds its value.
namespace PropertyType {
constexpr std::uint16_t unspecified = 0x0000;   // only in requests: any type
constexpr std::uint16_t int16 = 0x0002;         // std::int16_t
constexpr std::uint16_t int32 = 0x0003;         // std::int32_t
constexpr std::uint16_t float32 = 0x0004;       // float
constexpr std::uint16_t float64 = 0x0005;       // double
constexpr std::uint16_t currency = 0x0006;      // std::int64_t
constexpr std::uint16_t appTime = 0x0007;       // double
constexpr std::uint16_t boolean = 0x000B;       // bool
constexpr std::uint16_t int64 = 0x0014;         // std::int64_t
constexpr std::uint16_t text = 0x001F;          // std::u16string
constexpr std::uint16_t time = 0x0040;          // FileTime
constexpr std::uint16_t guid = 0x0048;          // Guid
constexpr std::uint16_t binary = 0x0102;        // Bytes
constexpr std::uint16_t manyInt16 = 0x1002;     // std::vector<std::int16_t>
constexpr std::uint16_t manyInt32 = 0x1003;     // std::vector<std::int32_t>
constexpr std::uint16_t manyFloat32 = 0x1004;   // std::vector<float>
constexpr std::uint16_t manyFloat64 = 0x1005;   // std::vector<double>
constexpr std::uint16_t manyCurrency = 0x1006;  // std::vector<std::int64_t>
constexpr std::uint16_t manyAppTime = 0x1007;   // std::vector<double>
constexpr std::uint16_t manyInt64 = 0x1014;     // std::vector<std::int64_t>
constexpr std::uint16_t manyText = 0x101F;      // std::vector<std::u16string>
constexpr std::uint16_t manyTime = 0x1040;      // std::vector<FileTime>
constexpr std::uint16_t manyGuid = 0x1048;      // std::vector<Guid>
constexpr std::uint16_t manyBinary = 0x1102;    // std::vector<Bytes>
}  // namespace PropertyType

constexpr std::uint16_t propertyId(PropertyTag tag) { return static_cast<std::uint16_t>(tag >> 16); }
constexpr std::uint16_t propertyType(PropertyTag tag) { return static_cast<std::uint16_t>(tag & 0xFFFF); }
constexpr PropertyTag makeTag(std::uint16_t id, std::uint16_t type) {
  return static_cast<PropertyTag>(id) << 16 | type;
}

}  // namespace fendrel::store
