// The part of a mail that keeps the properties for which mail has no place: JSON in ASCII.
//
//   {
//     "version": 1,
//     "names": {"8001": {"set": "28030200000000C0...", "name": "Period"}},    what tags from 0x8000 on stand for
//     "message": {"3001001F": "text", "00170003": 1, "0FF60102": "AAEC"},     tag in hexadecimal: value
//     "attachments": [{"3707001F": "sales.pdf"}, {}]                          in the order of the attachments
//   }
//
// Values: text as a string, unpaired surrogates as U+FFFD; integers, times (100 ns since 1601) and currency as numbers, 64
// bits as strings of digits; booleans; floating point as numbers, and "inf", "-inf", "nan"; binary in base64, a guid in 32
// hexadecimal digits; lists as arrays of these. What is not understood is skipped when it is read, so that a later
// version may say more.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "property.h"

namespace fendrel::mime {

struct PropertyName {
  store::Guid set;
  std::variant<std::int32_t, std::u16string> name;
  bool operator==(const PropertyName&) const = default;
};

struct PropertyPart {
  std::map<std::uint16_t, PropertyName> names;  // by identifier
  std::vector<store::Property> message;
  std::vector<std::vector<store::Property>> attachments;
};

// Longer ones are not read: something else made them.
constexpr std::size_t longestPropertyPart = 1 << 20;

// Values that are not loaded, and those without one, are left out. Empty where there is nothing to keep.
std::string writePropertyPart(const PropertyPart& part);

// An empty part where the text is none of ours. Never throws but std::bad_alloc.
PropertyPart readPropertyPart(std::string_view text);

}  // namespace fendrel::mime
