// Text: UTF-8 and UTF-16; numbers, sizes and times for display.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace fendrel::host {

// Invalid text becomes U+FFFD, so the result is always valid.
std::string toUtf8(std::wstring_view text);
std::wstring toWide(std::string_view utf8);
std::wstring fromAnsi(std::string_view text);

// True if the text converts to the system's 8-bit code page and back without loss.
bool fitsAnsi(std::wstring_view text);

// Replaces control characters, so that a name cannot control the terminal or break a line.
std::string printable(std::string_view utf8);
std::string printable(std::wstring_view text);

// True for a name that people can read and type: not empty, not only spaces, without control characters and marks that
// change the text's direction.
bool isPlainName(std::wstring_view name);

std::string withThousands(std::uint64_t number);              // "48,213"
std::string counted(std::uint64_t number, const char* noun);  // "1 file", "2 files"
std::string shortSize(std::uint64_t bytes);                   // "47.1 KiB"
std::string hexadecimal(std::span<const std::uint8_t> bytes);

// Columns of the text on a terminal: East Asian wide characters take two.
std::size_t displayWidth(std::string_view utf8);
std::string padded(std::string_view utf8, std::size_t width);
// Truncated to the width with an ellipsis at the end.
std::string clipped(std::string_view utf8, std::size_t width);

// Shortened to the width with an ellipsis in the middle, so that an extension stays visible.
std::string shortened(std::string_view utf8, std::size_t width);

std::string localTime(const FILETIME& time);  // "2031-04-05 16:07:08", in the user's time zone
std::string utcTime(const FILETIME& time);    // "2031-04-05T14:07:08.123Z"

// The value of an environment variable; empty if it is not set.
std::string environmentText(const wchar_t* name);

// The system's message for an error number, without full stop; empty if it has none.
std::string systemMessage(DWORD error);

}  // namespace fendrel::host
