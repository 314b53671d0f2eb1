// Property values as text and as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "session.h"

namespace fendrel::host {

struct PropertyText {
  ULONG tag = 0;
  std::string value;            // one line
  nlohmann::ordered_json json;  // the whole value
};

// All properties of an object, in the order of their identifiers. subject names the object in a failure.
// A long value is described by its length and not read.
std::vector<PropertyText> propertiesOf(IMAPIProp& object, const std::string& subject);

// One value; long binary values are truncated in the text and complete in the JSON.
PropertyText propertyText(const SPropValue& value);

}  // namespace fendrel::host
