// What an answer of the plug-in means.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace fendrel::host {

// A string of the module that the plug-in takes its texts from; empty when it has none of that id.
using PluginString = std::function<std::wstring(UINT id)>;

// The failure that a result code and an error text stand for; S_OK when they name none.
HRESULT pluginFailure(std::uint32_t code, std::wstring_view errorText, const PluginString& pluginString);

}  // namespace fendrel::host
