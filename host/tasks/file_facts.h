// What a program file or a store's file says about itself without being run.
#pragma once

#include <cstdint>
#include <string>

namespace fendrel::host {

enum class Bits { unknown, bits32, bits64, arm64 };

// Of a library or program, from its header; unknown when it is none or cannot be read.
Bits bitsOf(const std::wstring& file);
std::string bitsWords(Bits bits);  // "64-bit"

// "1.0.0.0"; empty when the file states none.
std::string versionOf(const std::wstring& file);

// "MACHINE\jane", or the account's identifier; empty when the system does not tell.
std::string ownerOf(const std::wstring& file);

}  // namespace fendrel::host
