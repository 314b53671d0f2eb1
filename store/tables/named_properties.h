// Property names, one list for all stores of a database. origin.h describes the calls.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "database.h"
#include "property_name.h"

namespace fendrel::store {

Status identifiersOf(Database& database, std::span<const PropertyName> names, IfUnknown ifUnknown,
                     std::vector<std::uint16_t>& ids);
Status namesOf(Database& database, std::span<const std::uint16_t> ids, std::vector<std::optional<PropertyName>>& names);
Status listNamedProperties(Database& database, const Guid* set, std::vector<NamedProperty>& properties);

}  // namespace fendrel::store
