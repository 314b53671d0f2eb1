// Converts text between the client's forms (8-bit in the system's ANSI code page, or wide) and the store's UTF-16.
#pragma once

#include <string>
#include <string_view>

#include "mapi_interfaces.h"

namespace fendrel::provider {

enum class TextForm { Ansi, Wide };

// The form given by MAPI_UNICODE in a call's flags.
constexpr TextForm textForm(ULONG flags) { return flags & MAPI_UNICODE ? TextForm::Wide : TextForm::Ansi; }

std::u16string fromAnsi(std::string_view text);
std::string toAnsi(std::u16string_view text);

// A terminated text argument in the form given by the flags. Null gives the empty text.
std::u16string textArgument(const void* text, ULONG flags);

std::u16string fromWide(std::wstring_view text);
std::wstring toWide(std::u16string_view text);

// A view of UTF-16 for the system's calls.
inline const wchar_t* systemText(std::u16string_view text) { return reinterpret_cast<const wchar_t*>(text.data()); }

}  // namespace fendrel::provider
