#include "charset_window.h"

#include <commctrl.h>

#include <algorithm>

#include "charset_ansi.h"

namespace fendrel::charset {
namespace {

LRESULT sendText(HWND window, UINT message, WPARAM wParam, LPARAM text) noexcept {
  const AnsiArgument ansi(reinterpret_cast<const wchar_t*>(text));
  return ansi.isOk() ? SendMessageA(window, message, wParam, reinterpret_cast<LPARAM>(ansi.get())) : 0;
}

LRESULT receiveWindowText(HWND window, WPARAM size, LPARAM buffer) noexcept {
  if (size == 0) return 0;
  const HeapAnsiText ansi = ansiBuffer(size);
  if (!ansi) return 0;
  SendMessageA(window, WM_GETTEXT, size, reinterpret_cast<LPARAM>(ansi.get()));
  return std::max(copyBack(ansi.get(), reinterpret_cast<wchar_t*>(buffer), static_cast<int>(size)), 0);
}

// The caller's buffer fits the whole entry: the message has no size.
LRESULT receiveListText(HWND window, WPARAM index, LPARAM buffer) noexcept {
  const LRESULT length = SendMessageA(window, LB_GETTEXTLEN, index, 0);
  if (length == LB_ERR) return LB_ERR;
  const HeapAnsiText ansi = ansiBuffer(static_cast<std::size_t>(length));
  if (!ansi) return LB_ERR;
  if (SendMessageA(window, LB_GETTEXT, index, reinterpret_cast<LPARAM>(ansi.get())) == LB_ERR) return LB_ERR;
  return copyBack(ansi.get(), reinterpret_cast<wchar_t*>(buffer), static_cast<int>(length) + 1);  // or LB_ERR
}

// The control, or null with last error 6.
HWND dialogItem(HWND dialog, int id) noexcept {
  const HWND item = GetDlgItem(dialog, id);
  if (!item) SetLastError(ERROR_INVALID_HANDLE);
  return item;
}

}  // namespace

INT_PTR dialogBoxParam(HINSTANCE module, const wchar_t* templateName, HWND parent, DLGPROC procedure,
                       LPARAM parameter) noexcept {
  if (!g_bUseAnsi) return DialogBoxParamW(module, templateName, parent, procedure, parameter);
  const AnsiArgument name = ansiName(templateName);
  return name.isOk() ? DialogBoxParamA(module, name.get(), parent, procedure, parameter) : -1;
}

HWND createWindowEx(DWORD extendedStyle, const wchar_t* className, const wchar_t* windowName, DWORD style, int x, int y,
                    int width, int height, HWND parent, HMENU menu, HINSTANCE module, void* parameter) noexcept {
  if (!g_bUseAnsi)
    return CreateWindowExW(extendedStyle, className, windowName, style, x, y, width, height, parent, menu, module,
                           parameter);
  const AnsiArgument ansiClass = ansiName(className), ansiWindow(windowName);
  if (!ansiClass.isOk() || !ansiWindow.isOk()) return nullptr;
  return CreateWindowExA(extendedStyle, ansiClass.get(), ansiWindow.get(), style, x, y, width, height, parent, menu,
                         module, parameter);
}

HBITMAP loadBitmap(HINSTANCE module, const wchar_t* name) noexcept {
  if (!g_bUseAnsi) return LoadBitmapW(module, name);
  const AnsiArgument ansi = ansiName(name);
  return ansi.isOk() ? LoadBitmapA(module, ansi.get()) : nullptr;
}

LRESULT sendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
  if (!g_bUseAnsi) return SendMessageW(window, message, wParam, lParam);
  switch (message) {
    case WM_SETTEXT: return sendText(window, message, wParam, lParam);
    case WM_GETTEXT: return receiveWindowText(window, wParam, lParam);
    case LB_GETTEXT: return receiveListText(window, wParam, lParam);
    case CB_ADDSTRING:
    case CB_FINDSTRINGEXACT:
    case LB_ADDSTRING: return lParam ? sendText(window, message, wParam, lParam) : 0;
    case TVM_INSERTITEMW: return SendMessageA(window, TVM_INSERTITEMA, wParam, lParam);
    default: return SendMessageA(window, message, wParam, lParam);
  }
}

BOOL setWindowText(HWND window, const wchar_t* text) noexcept {
  if (!g_bUseAnsi) return SetWindowTextW(window, text);
  const AnsiArgument ansi(text);
  return ansi.isOk() ? SetWindowTextA(window, ansi.get()) : FALSE;
}

int getWindowText(HWND window, wchar_t* buffer, int size) noexcept {
  if (!g_bUseAnsi) return GetWindowTextW(window, buffer, size);
  if (size <= 0) return 0;
  // Room for as many double-byte characters as fit the caller's buffer.
  const HeapAnsiText ansi = ansiBuffer(2 * static_cast<std::size_t>(size));
  if (!ansi) return 0;
  GetWindowTextA(window, ansi.get(), 2 * size);
  return std::max(copyBack(ansi.get(), buffer, size), 0);
}

int getWindowTextLength(HWND window) noexcept {
  return g_bUseAnsi ? GetWindowTextLengthA(window) : GetWindowTextLengthW(window);
}

LONG_PTR setWindowLong(HWND window, int index, LONG_PTR value) noexcept {
  return g_bUseAnsi ? SetWindowLongPtrA(window, index, value) : SetWindowLongPtrW(window, index, value);
}

LONG_PTR getWindowLong(HWND window, int index) noexcept {
  return g_bUseAnsi ? GetWindowLongPtrA(window, index) : GetWindowLongPtrW(window, index);
}

BOOL setDlgItemText(HWND dialog, int id, const wchar_t* text) noexcept {
  const HWND item = dialogItem(dialog, id);
  return item ? static_cast<BOOL>(sendMessage(item, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text))) : FALSE;
}

UINT getDlgItemText(HWND dialog, int id, wchar_t* buffer, int size) noexcept {
  const HWND item = dialogItem(dialog, id);
  if (!item) return 0;
  return static_cast<UINT>(
      sendMessage(item, WM_GETTEXT, static_cast<WPARAM>(size > 0 ? size : 0), reinterpret_cast<LPARAM>(buffer)));
}

}  // namespace fendrel::charset
