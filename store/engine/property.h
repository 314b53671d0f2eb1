// One property of a store object, without MAPI's types.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace fendrel::store {

using Bytes = std::vector<std::byte>;

// A 128-bit identifier in memory order.
struct Guid {
  std::byte bytes[16];
  bool operator==(const Guid&) const = default;
};

// A property's tag: identifier in the high half, type in the low half, as the messaging interface numbers them.
// Text is always kept as UTF-16, so a stored text tag carries the wide type.
using PropertyTag = std::uint32_t;

// 100-nanosecond intervals since 1 January 1601 UTC.
struct FileTime {
  std::uint64_t ticks;
  auto operator<=>(const FileTime&) const = default;
};

using PropertyValue = std::variant<std::monostate, std::int16_t, std::int32_t, std::int64_t, float, double, bool,
                                   FileTime, Guid, std::u16string, Bytes,
                                   std::vector<std::int32_t>, std::vector<std::u16string>, std::vector<Bytes>>;

struct Property {
  PropertyTag tag;
  PropertyValue value;
};

}  // namespace fendrel::store
