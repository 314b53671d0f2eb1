// Lists of properties with unique identifiers.
#pragma once

#include <algorithm>
#include <span>
#include <vector>

#include "property.h"

namespace fendrel::store {

inline const Property* findIn(std::span<const Property> properties, std::uint16_t id) {
  const auto found = std::ranges::find(properties, id, [](const Property& one) { return propertyId(one.tag); });
  return found == properties.end() ? nullptr : &*found;
}

// The property's value; null if there is none of this type.
template <class Value>
const Value* valueIn(std::span<const Property> properties, PropertyTag tag) {
  const Property* found = findIn(properties, propertyId(tag));
  return found && found->tag == tag ? std::get_if<Value>(&found->value) : nullptr;
}

inline void removeFrom(std::vector<Property>& properties, std::uint16_t id) {
  std::erase_if(properties, [&](const Property& one) { return propertyId(one.tag) == id; });
}

inline void putInto(std::vector<Property>& properties, Property property) {
  removeFrom(properties, propertyId(property.tag));
  properties.push_back(std::move(property));
}

// Whether `asked` asks for a property of this tag.
constexpr bool answersTo(PropertyTag tag, PropertyTag asked) {
  return propertyId(tag) == propertyId(asked) &&
         (propertyType(asked) == PropertyType::unspecified || propertyType(asked) == propertyType(tag));
}

}  // namespace fendrel::store
