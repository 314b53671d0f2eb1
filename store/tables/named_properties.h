// Names of properties: what the identifiers from 0x8000 on stand for. One list for all stores of a database, so that a
// message keeps its meaning wherever it goes in it.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "database.h"
#include "property.h"

namespace fendrel::store {

struct PropertyName {
  Guid set{};
  std::variant<std::int32_t, std::u16string> name;
  bool operator==(const PropertyName&) const = default;
};

constexpr std::uint16_t firstNamedProperty = 0x8000, lastNamedProperty = 0xFFFE;

enum class IfUnknown { Leave, Create };

// The identifier of each name, in that order; 0 for one that is not known and, when all identifiers are given away, for
// one that would have to be made.
Status identifiersOf(Database& database, std::span<const PropertyName> names, IfUnknown ifUnknown,
                     std::vector<std::uint16_t>& ids);

// The name of each identifier, in that order; nothing where none was given to it.
Status namesOf(Database& database, std::span<const std::uint16_t> ids, std::vector<std::optional<PropertyName>>& names);

struct NamedProperty {
  std::uint16_t id = 0;
  PropertyName name;
};

// All of them, or those of one set, by identifier.
Status listNamedProperties(Database& database, const Guid* set, std::vector<NamedProperty>& properties);

}  // namespace fendrel::store
