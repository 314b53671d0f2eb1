// Fonts and device contexts through the character-set layer (see charset.h).
#pragma once

#include <windows.h>

#include "charset_mode.h"

namespace fendrel::charset {

HFONT createFont(int height, int width, int escapement, int orientation, int weight, DWORD italic, DWORD underline,
                 DWORD strikeOut, DWORD characterSet, DWORD outputPrecision, DWORD clipPrecision, DWORD quality,
                 DWORD pitchAndFamily, const wchar_t* faceName) noexcept;
HFONT createFontIndirect(const LOGFONTW* font) noexcept;

// The description of a font, as GetObject gives it: `size` bytes of `result` are written. 0 on failure.
int getFontObject(HFONT font, int size, LOGFONTW* result) noexcept;

HDC createMetaFile(const wchar_t* file) noexcept;
HDC createIC(const wchar_t* driver, const wchar_t* device, const wchar_t* port, const DEVMODEW* mode) noexcept;

BOOL getTextMetrics(HDC context, TEXTMETRICW* metrics) noexcept;
BOOL getCharWidth(HDC context, UINT first, UINT last, int* widths) noexcept;

}  // namespace fendrel::charset
