// Property names: the meaning of identifiers from 0x8000 on.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "property.h"

namespace fendrel::store {

struct PropertyName {
  Guid set{};
  std::variant<std::int32_t, std::u16string> name;
  bool operator==(const PropertyName&) const = default;
};

struct NamedProperty {
  std::uint16_t id = 0;
  PropertyName name;
};

constexpr std::uint16_t firstNamedProperty = 0x8000, lastNamedProperty = 0xFFFE;

enum class IfUnknown { Leave, Create };

}  // namespace fendrel::store
