// Compares values for restrictions and sorting.
#pragma once

#include <compare>
#include <optional>
#include <string>

#include "property_values.h"

namespace fendrel::provider {

// A key whose bytes have the order of the values: numbers by size, text by the user's language ignoring case, then by
// its code units, so that only identical texts are equal. An absent value comes first.
std::string orderKey(const PropertyValue& value);

// Nothing for values of different types.
std::optional<std::strong_ordering> compareValues(const PropertyValue& left, const PropertyValue& right);

// In lower case, for comparisons that ignore case.
std::u16string lowerCase(std::u16string_view text);

}  // namespace fendrel::provider
