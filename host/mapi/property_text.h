// Property values as people and as JSON read them.
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
// A value that is too long to be handed over at once is named by its length, never read whole.
std::vector<PropertyText> propertiesOf(IMAPIProp& object, const std::string& subject);

// One value; long binary values are cut in the text and whole in the JSON.
PropertyText propertyText(const SPropValue& value);

}  // namespace fendrel::host
