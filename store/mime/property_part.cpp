#include "property_part.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "mail_text.h"
#include "unicode.h"
#include "well_formed.h"

namespace fendrel::mime {
namespace {

using Json = nlohmann::json;
using namespace fendrel::store;

constexpr int knownVersion = 1;

std::string hexOf(std::uint32_t value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*X", digits, static_cast<unsigned>(value));
  return text;
}

std::optional<std::uint32_t> numberOfHex(std::string_view text, std::size_t digits) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (text.size() != digits || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// Writing

Json jsonOf(std::int16_t value) { return value; }
Json jsonOf(std::int32_t value) { return value; }
Json jsonOf(std::int64_t value) { return std::to_string(value); }
Json jsonOf(bool value) { return value; }
Json jsonOf(FileTime value) { return std::to_string(value.ticks); }
Json jsonOf(const std::u16string& value) { return wellFormedUtf8(value); }
Json jsonOf(const Bytes& value) { return base64({reinterpret_cast<const char*>(value.data()), value.size()}); }
Json jsonOf(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  return value;
}
Json jsonOf(float value) { return jsonOf(static_cast<double>(value)); }
Json jsonOf(const Guid& value) {
  std::string text;
  for (const std::byte byte : value.bytes) text += hexOf(std::to_integer<std::uint32_t>(byte), 2);
  return text;
}
template <class Item>
Json jsonOf(const std::vector<Item>& values) {
  Json list = Json::array();
  for (const Item& value : values) list.push_back(jsonOf(value));
  return list;
}
Json jsonOf(std::monostate) { return nullptr; }
Json jsonOf(const UnloadedValue&) { return nullptr; }

Json jsonOf(std::span<const Property> properties) {
  Json object = Json::object();
  for (const Property& property : properties) {
    Json value = std::visit([](const auto& one) { return jsonOf(one); }, property.value);
    if (!value.is_null()) object[hexOf(property.tag, 8)] = std::move(value);
  }
  return object;
}

// Reading. Each throws NotUnderstood, upon which the caller skips the value.

struct NotUnderstood {};

template <class Number>
Number digitsOf(const Json& json) {
  if (!json.is_string()) throw NotUnderstood();
  const auto& text = json.get_ref<const std::string&>();
  Number value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) throw NotUnderstood();
  return value;
}

template <class Number>
Number numberOf(const Json& json) {
  if (!json.is_number_integer()) throw NotUnderstood();
  const auto value = json.get<std::int64_t>();
  if (value < std::numeric_limits<Number>::min() || value > std::numeric_limits<Number>::max()) throw NotUnderstood();
  return static_cast<Number>(value);
}

const std::string& stringOf(const Json& json) {
  if (!json.is_string()) throw NotUnderstood();
  return json.get_ref<const std::string&>();
}

double doubleOf(const Json& json) {
  if (json.is_number()) return json.get<double>();
  const std::string& word = stringOf(json);
  if (word == "nan") return std::numeric_limits<double>::quiet_NaN();
  if (word == "inf") return std::numeric_limits<double>::infinity();
  if (word == "-inf") return -std::numeric_limits<double>::infinity();
  throw NotUnderstood();
}

Bytes bytesOf(const Json& json) {
  const std::optional<std::string> bytes = decodedBase64(stringOf(json));
  if (!bytes) throw NotUnderstood();
  const auto* begin = reinterpret_cast<const std::byte*>(bytes->data());
  return Bytes(begin, begin + bytes->size());
}

Guid guidOf(const Json& json) {
  const std::string& text = stringOf(json);
  Guid guid{};
  if (text.size() != 2 * sizeof guid.bytes) throw NotUnderstood();
  for (std::size_t at = 0; at < sizeof guid.bytes; ++at) {
    const auto byte = numberOfHex(std::string_view(text).substr(2 * at, 2), 2);
    if (!byte) throw NotUnderstood();
    guid.bytes[at] = static_cast<std::byte>(*byte);
  }
  return guid;
}

template <class Item, class Read>
std::vector<Item> listOf(const Json& json, Read read) {
  if (!json.is_array()) throw NotUnderstood();
  std::vector<Item> list;
  for (const Json& item : json) list.push_back(read(item));
  return list;
}

FileTime timeOf(const Json& json) { return {digitsOf<std::uint64_t>(json)}; }
std::u16string wideTextOf(const Json& json) {
  std::u16string text;
  if (!fromUtf8(stringOf(json), text)) throw NotUnderstood();
  return text;
}
float floatOf(const Json& json) { return static_cast<float>(doubleOf(json)); }

PropertyValue valueOf(std::uint16_t type, const Json& json) {
  switch (type) {
    case PropertyType::int16: return numberOf<std::int16_t>(json);
    case PropertyType::int32: return numberOf<std::int32_t>(json);
    case PropertyType::int64:
    case PropertyType::currency: return digitsOf<std::int64_t>(json);
    case PropertyType::float32: return floatOf(json);
    case PropertyType::float64:
    case PropertyType::appTime: return doubleOf(json);
    case PropertyType::boolean:
      if (!json.is_boolean()) throw NotUnderstood();
      return json.get<bool>();
    case PropertyType::text: return wideTextOf(json);
    case PropertyType::time: return timeOf(json);
    case PropertyType::guid: return guidOf(json);
    case PropertyType::binary: return bytesOf(json);
    case PropertyType::manyInt16: return listOf<std::int16_t>(json, numberOf<std::int16_t>);
    case PropertyType::manyInt32: return listOf<std::int32_t>(json, numberOf<std::int32_t>);
    case PropertyType::manyInt64:
    case PropertyType::manyCurrency: return listOf<std::int64_t>(json, digitsOf<std::int64_t>);
    case PropertyType::manyFloat32: return listOf<float>(json, floatOf);
    case PropertyType::manyFloat64:
    case PropertyType::manyAppTime: return listOf<double>(json, doubleOf);
    case PropertyType::manyText: return listOf<std::u16string>(json, wideTextOf);
    case PropertyType::manyTime: return listOf<FileTime>(json, timeOf);
    case PropertyType::manyGuid: return listOf<Guid>(json, guidOf);
    case PropertyType::manyBinary: return listOf<Bytes>(json, bytesOf);
    default: throw NotUnderstood();
  }
}

std::vector<Property> propertiesOf(const Json& object) {
  std::vector<Property> properties;
  if (!object.is_object()) return properties;
  for (const auto& [key, value] : object.items()) {
    const std::optional<std::uint32_t> tag = numberOfHex(key, 8);
    if (!tag) continue;
    try {
      properties.push_back({*tag, valueOf(propertyType(*tag), value)});
    } catch (const NotUnderstood&) {
    }
  }
  std::ranges::sort(properties, {}, &Property::tag);
  return properties;
}

void readName(const std::string& key, const Json& json, std::map<std::uint16_t, PropertyName>& names) {
  const std::optional<std::uint32_t> id = numberOfHex(key, 4);
  if (!id || *id < firstNamedProperty || !json.is_object() || !json.contains("set") || !json.contains("name")) return;
  try {
    PropertyName name{guidOf(json["set"]), {}};
    if (json["name"].is_string())
      name.name = wideTextOf(json["name"]);
    else
      name.name = numberOf<std::int32_t>(json["name"]);
    names.emplace(static_cast<std::uint16_t>(*id), std::move(name));
  } catch (const NotUnderstood&) {
  }
}

}  // namespace

std::string writePropertyPart(const PropertyPart& part) {
  Json names = Json::object();
  for (const auto& [id, name] : part.names) {
    Json& entry = names[hexOf(id, 4)];
    entry["set"] = jsonOf(name.set);
    entry["name"] = std::visit([](const auto& one) { return jsonOf(one); }, name.name);
  }
  Json attachments = Json::array();
  for (const std::vector<Property>& properties : part.attachments) attachments.push_back(jsonOf(std::span(properties)));
  const Json message = jsonOf(std::span(part.message));
  const bool isEmpty =
      names.empty() && message.empty() && std::ranges::all_of(attachments, [](const Json& one) { return one.empty(); });
  if (isEmpty) return {};
  Json whole{{"version", knownVersion}, {"message", message}};
  if (!names.empty()) whole["names"] = names;
  if (!attachments.empty()) whole["attachments"] = attachments;
  return whole.dump(1, ' ', true) + '\n';
}

PropertyPart readPropertyPart(std::string_view text) {
  PropertyPart part;
  if (text.size() > longestPropertyPart) return part;
  const Json whole = Json::parse(text, nullptr, false);
  if (!whole.is_object() || !whole.contains("version")) return part;
  if (whole.contains("names") && whole["names"].is_object())
    for (const auto& [key, value] : whole["names"].items()) readName(key, value, part.names);
  if (whole.contains("message")) part.message = propertiesOf(whole["message"]);
  if (whole.contains("attachments") && whole["attachments"].is_array())
    for (const Json& one : whole["attachments"]) part.attachments.push_back(propertiesOf(one));
  return part;
}

}  // namespace fendrel::mime
