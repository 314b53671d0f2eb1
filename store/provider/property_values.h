// Converts property values between MAPI's form and the store's.
#pragma once

#include <span>
#include <vector>

#include "mapi_interfaces.h"
#include "property.h"
#include "text.h"

namespace fendrel::provider {

using store::Property;
using store::PropertyTag;
using store::PropertyValue;

// The tag for a request of any type.
constexpr PropertyTag anyType(ULONG tag) { return tag & 0xFFFF0000u; }

// The store's tag for a client's: text is wide.
PropertyTag storedTag(ULONG tag);

// The client's tag for a stored one, with text in the given form.
ULONG shownTag(PropertyTag tag, TextForm form);

// Copies a client's value deeply. MAPI_E_INVALID_PARAMETER (a null pointer), MAPI_E_INVALID_TYPE (not a type of
// values), MAPI_E_TYPE_NO_SUPPORT (the store cannot keep it).
HRESULT takeValue(const SPropValue& value, Property& property);

// The result for a requested property: a value with the requested tag, or an error with PT_ERROR.
struct Answer {
  ULONG tag = PR_NULL;
  SCODE error = MAPI_E_NOT_FOUND;
  const PropertyValue* value = nullptr;
};

// `found` has tag 0 if there is no such property. For PT_UNSPECIFIED, text is returned in `form`.
Answer answerFor(ULONG asked, const Property& found, TextForm form);

// The tags of an array.
inline std::span<const ULONG> tagsOf(const SPropTagArray& tags) { return {tags.aulPropTag, tags.cValues}; }

// All answers and their data in a single block. Throws std::bad_alloc.
MapiBuffer<SPropValue> makeValues(std::span<const Answer> answers);

MapiBuffer<SPropTagArray> makeTagArray(std::span<const ULONG> tags);

// For computed properties.
inline Property makeProperty(ULONG tag, PropertyValue value) { return {tag, std::move(value)}; }
inline Property longProperty(ULONG tag, std::uint64_t value) {
  return {tag, static_cast<std::int32_t>(value > 0x7FFFFFFF ? 0x7FFFFFFF : value)};
}
inline const std::u16string* textOf(const Property& property) { return std::get_if<std::u16string>(&property.value); }
inline const std::int32_t* longOf(const Property& property) { return std::get_if<std::int32_t>(&property.value); }

}  // namespace fendrel::provider
