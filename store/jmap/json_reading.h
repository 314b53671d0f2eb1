// Members of a server's JSON. One that is missing or of an unexpected type is read as empty.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace fendrel::jmap {

inline const nlohmann::json& member(const nlohmann::json& object, const char* name) {
  static const nlohmann::json none;
  if (!object.is_object()) return none;
  const auto found = object.find(name);
  return found == object.end() ? none : *found;
}

inline std::string textOf(const nlohmann::json& object, const char* name) {
  const nlohmann::json& value = member(object, name);
  return value.is_string() ? value.get<std::string>() : std::string();
}

inline std::uint64_t numberOf(const nlohmann::json& object, const char* name) {
  const nlohmann::json& value = member(object, name);
  return value.is_number_unsigned() ? value.get<std::uint64_t>() : 0;
}

inline bool flagOf(const nlohmann::json& object, const char* name) {
  const nlohmann::json& value = member(object, name);
  return value.is_boolean() && value.get<bool>();
}

inline std::vector<std::string> textsOf(const nlohmann::json& object, const char* name) {
  std::vector<std::string> texts;
  const nlohmann::json& value = member(object, name);
  if (value.is_array())
    for (const nlohmann::json& text : value)
      if (text.is_string()) texts.push_back(text.get<std::string>());
  return texts;
}

}  // namespace fendrel::jmap
