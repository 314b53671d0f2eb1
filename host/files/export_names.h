// Names of files and directories that an export makes: the same in every run, unlike those of all others beside them,
// and taken by every file system.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace fendrel::host {

// What is unusable becomes %XX (%uXXXX for half a character), and '%' itself too, so that the name can be told from it.
// A device's name and an empty one are changed as well.
std::wstring escapedName(std::wstring_view name);

// Sixteen hexadecimal digits that stand for an entry identifier.
std::wstring nameKey(std::span<const std::uint8_t> id);

// "NAME [KEY]EXTENSION", NAME escaped and cut so that the whole is not too long. extension: ".eml", or empty.
std::wstring keyedName(std::wstring_view name, std::wstring_view key, std::wstring_view extension);

// NAME escaped; "NAME [KEY]" where it would be too long, or `shared` says that another has it too but for case.
std::wstring directoryName(std::wstring_view name, std::wstring_view key, bool shared);

// The same name cut to what every file system takes, its extension kept.
std::wstring shortFileName(std::wstring_view name);

// The extension of a file name with its dot; empty when there is none, or none that looks like one.
std::wstring_view extensionOf(std::wstring_view name);

}  // namespace fendrel::host
