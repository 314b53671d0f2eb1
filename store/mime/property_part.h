// The part of a mail that keeps the properties for which mail has no place: JSON in ASCII.
//
//   {
//     "version": 1,
//     "names": {"8001": {"set": "2803020000000000C000000000000046", "name": "Period"}},
//     "message": {"3001001F": "May", "00170003": 1, "0FF60102": "AAEC"},
//     "attachments": [{"3707001F": "sales.pdf"}, {}]
//   }
//
// Keys are tags in hexadecimal; `names` says what the identifiers from 8000 on stand for (the name is a text or a
// number); attachments come in the order of the mail's. Values: text as a string; integers of 16 and 32 bits as
// numbers, of 64 bits, currency and times (100 ns since 1601) as strings of digits; floating point as numbers, and
// "inf", "-inf", "nan"; booleans; binary in base64; a guid in 32 hexadecimal digits, byte by byte; lists as arrays of
// these. Half a surrogate pair becomes U+FFFD. What is not understood is skipped when it is read, so that a later
// version may say more.
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

// Longer ones are not read: something else made them.
constexpr std::size_t longestPropertyPart = 1 << 20;

// Values that are not loaded, and those without one, are left out. Empty where there is nothing to keep.
std::string writePropertyPart(const PropertyPart& part);

// An empty part where the text is none of ours. Throws std::bad_alloc alone.
PropertyPart readPropertyPart(std::string_view text);

}  // namespace fendrel::mime
