// Text of the ANSI entry points. The options records have separate conversions, always in the system's ANSI code page.
#pragma once

#include <windows.h>

#include "text_conversion.h"

namespace fendrel {

// The code page of these conversions; 0 before it is chosen.
extern UINT g_ansiCodePage;

// The calling thread's ANSI code page on systems of the NT family from version 5 on, else the system's.
UINT chooseAnsiCodePage() noexcept;

// Null stays null; text that does not convert becomes empty. Throw std::bad_alloc.
HeapAnsiText ansiFromWide(const wchar_t* text);
HeapText wideFromAnsiHost(const char* text);

}  // namespace fendrel
