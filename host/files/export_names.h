// Names of exported files and directories: the same in every run, unique in their directory, and valid on every file
// system.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace fendrel::host {

// Unusable characters become %XX (%uXXXX for half a surrogate pair), and '%' too, so that the name can be recovered.
// Device names and an empty name are changed as well.
std::wstring escapedName(std::wstring_view name);

// Sixteen hexadecimal digits that represent an entry identifier.
std::wstring nameKey(std::span<const std::uint8_t> id);

// "NAME [KEY]EXTENSION", with NAME escaped and truncated to fit. extension: ".eml", or empty.
std::wstring keyedName(std::wstring_view name, std::wstring_view key, std::wstring_view extension);

// NAME escaped; "NAME [KEY]" if it is too long, or if `shared`: another name differs only by case.
std::wstring directoryName(std::wstring_view name, std::wstring_view key, bool shared);

// The name truncated for every file system, with its extension.
std::wstring shortFileName(std::wstring_view name);

// The extension of a file name with its dot; empty if nothing looks like one.
std::wstring_view extensionOf(std::wstring_view name);

}  // namespace fendrel::host
