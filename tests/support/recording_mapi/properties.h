// Property values of the double, and their conversion from and to MAPI's form.
#pragma once

#include <mapix.h>
#include <windows.h>

#include <string>
#include <vector>

#include "recording_mapi.h"
#include "text.h"

namespace recording {

struct Property {
  ULONG tag = 0;           // as it was set
  long long number = 0;    // integers, booleans, times, errors
  std::wstring text = {};  // both string types
  Bytes bytes = {};        // binaries
};

Property textProperty(ULONG tag, std::wstring text);
Property numberProperty(ULONG tag, long long number);
Property binaryProperty(ULONG tag, Bytes bytes);

Property decode(const SPropValue& value);
std::string describe(const Property& property);
RecordedProperty viewOf(const Property& property);

// Properties in the order in which they were first set.
class PropertyBag {
 public:
  void set(Property property);
  void remove(ULONG tag);

  // Both string types, and PT_UNSPECIFIED, find a string property; any other type must be its own.
  const Property* find(ULONG tag) const;
  const std::vector<Property>& all() const { return properties_; }

 private:
  std::vector<Property> properties_;
};

// Writes the property that `tag` asks for into `value`, or the error value MAPI_E_NOT_FOUND, and returns whether it
// is there. Strings and bytes are chained to `block`.
bool encode(const PropertyBag& bag, ULONG tag, ULONG stringType, void* block, SPropValue& value);

// GetProps on a bag: MAPI_W_ERRORS_RETURNED when one of the tags is not there. Null tags ask for all.
HRESULT getProps(const PropertyBag& bag, const SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values);

}  // namespace recording
