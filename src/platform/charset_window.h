// Windows, dialogs and messages through the character-set layer (see charset.h).
#pragma once

#include <windows.h>

#include "charset_mode.h"

namespace fendrel::charset {

// The template and bitmap names may be integer resource ids, the class name an atom; those are passed unchanged.
INT_PTR dialogBoxParam(HINSTANCE module, const wchar_t* templateName, HWND parent, DLGPROC procedure,
                       LPARAM parameter) noexcept;
HWND createWindowEx(DWORD extendedStyle, const wchar_t* className, const wchar_t* windowName, DWORD style, int x, int y,
                    int width, int height, HWND parent, HMENU menu, HINSTANCE module, void* parameter) noexcept;
HBITMAP loadBitmap(HINSTANCE module, const wchar_t* name) noexcept;

// On the ANSI path the text of WM_SETTEXT, WM_GETTEXT, LB_GETTEXT, LB_ADDSTRING, CB_ADDSTRING and CB_FINDSTRINGEXACT is
// converted. TVM_INSERTITEMW is sent as TVM_INSERTITEMA: the caller has put ANSI text into its structure. The ANSI
// buffer of WM_GETTEXT has wParam bytes, so double-byte text may be truncated before the caller's buffer is full.
LRESULT sendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

BOOL setWindowText(HWND window, const wchar_t* text) noexcept;
int getWindowText(HWND window, wchar_t* buffer, int size) noexcept;

// On the ANSI path in bytes, never less than the number of characters.
int getWindowTextLength(HWND window) noexcept;

// Pointer-sized, so that addresses fit: SetWindowLongPtr and GetWindowLongPtr.
LONG_PTR setWindowLong(HWND window, int index, LONG_PTR value) noexcept;
LONG_PTR getWindowLong(HWND window, int index) noexcept;

// Without such a control: 0 and last error 6.
BOOL setDlgItemText(HWND dialog, int id, const wchar_t* text) noexcept;
UINT getDlgItemText(HWND dialog, int id, wchar_t* buffer, int size) noexcept;

}  // namespace fendrel::charset
