// Text conversions and the rendering of arguments in recorded calls.
#pragma once

#include <mapix.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace recording {

using Bytes = std::vector<BYTE>;

std::string utf8(std::wstring_view text);
std::string ansi(std::wstring_view text);
std::wstring wide(const char* ansiText);

std::string hex(unsigned long long number);
std::string hexBytes(const Bytes& bytes);

// "name" in quotes, or null.
std::string quoted(const wchar_t* text);
std::string interfaceName(const IID* interfaceId);
std::string propertyName(ULONG tag);
std::string columnNames(const SPropTagArray* tags);
std::string propertyList(const SPropValue* values, ULONG count);

}  // namespace recording
