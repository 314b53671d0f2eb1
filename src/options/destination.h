// Where an export goes: what a user chose, or what a host kept of that choice.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace fendrel {

struct Destination {
  std::optional<std::wstring> profileName;
  std::optional<std::wstring> profilePassword;
  std::optional<std::wstring> folderPath;  // display names joined by '@', message store first
  std::uint16_t type = 0;                  // see postingRules(); 0 before it is known
};

}  // namespace fendrel
