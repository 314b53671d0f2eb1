// Facts about a program file or a store's file, read without running it.
#pragma once

#include <cstdint>
#include <string>

namespace fendrel::host {

enum class Bits { unknown, bits32, bits64, arm64 };

// Of a library or program, from its header; unknown if it is not one or cannot be read.
Bits bitsOf(const std::wstring& file);
std::string bitsWords(Bits bits);  // "64-bit"

// "1.0.0.0"; empty if the file has none.
std::string versionOf(const std::wstring& file);

// "MACHINE\jane", or the account's identifier; empty if unknown.
std::string ownerOf(const std::wstring& file);

}  // namespace fendrel::host
