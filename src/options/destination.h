// The destination of an export: chosen by the user, or kept by the host.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace fendrel {

struct Destination {
  std::optional<std::wstring> profileName;
  std::optional<std::wstring> profilePassword;
  std::optional<std::wstring> folderPath;  // display names joined by '@', from the message store on
  std::uint16_t type = 0;                  // see postingRules(); 0 before it is known
};

}  // namespace fendrel
