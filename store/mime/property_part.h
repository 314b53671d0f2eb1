// The part of a mail with the properties that mail cannot represent: JSON in ASCII.
//
//   {
//     "version": 1,
//     "names": {"8001": {"set": "2803020000000000C000000000000046", "name": "Period"}},
//     "message": {"3001001F": "May", "00170003": 1, "0FF60102": "AAEC"},
//     "attachments": [{"3707001F": "sales.pdf"}, {}]
//   }
//
// Keys are tags in hexadecimal; `names` has the names of identifiers from 8000 on (a text or a number); attachments are
// in the mail's order. Values: text as a string; integers of 16 and 32 bits as numbers, of 64 bits, currency and times
// (100 ns since 1601) as strings of digits; floating point as numbers, and "inf", "-inf", "nan"; booleans; binary in
// base64; a guid in 32 hexadecimal digits, byte by byte; lists as arrays of these. Half a surrogate pair becomes
// U+FFFD. Readers skip what they do not understand, so that later versions can add values.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "property.h"
#include "property_name.h"

namespace fendrel::mime {

struct PropertyPart {
  std::map<std::uint16_t, store::PropertyName> names;  // by identifier
  std::vector<store::Property> message;                // in any order; read: by tag
  std::vector<std::vector<store::Property>> attachments;
};

// Longer ones are not ours and are not read.
constexpr std::size_t longestPropertyPart = 1 << 20;

// Without values that are absent or not loaded. Empty if there are none.
std::string writePropertyPart(const PropertyPart& part);

// An empty part if the text is not ours. Throws only std::bad_alloc.
PropertyPart readPropertyPart(std::string_view text);

}  // namespace fendrel::mime
