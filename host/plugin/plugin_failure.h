// The meaning of the plug-in's result codes and error texts.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace fendrel::host {

// Loads a string of the plug-in's resource module; empty if it has none with that id.
using PluginString = std::function<std::wstring(UINT id)>;

// The failure that result code and error text mean; S_OK if they identify none.
HRESULT pluginFailure(std::uint32_t code, std::wstring_view errorText, const PluginString& pluginString);

}  // namespace fendrel::host
