// Small functions on text and times. Text is 8-bit unless the function's name ends in W, whatever the caller's TCHAR
// is.
#include <algorithm>
#include <cstring>
#include <cwchar>

#include "mapi_memory.h"

namespace {

using namespace fendrel::utility;

constexpr char hexDigits[] = "0123456789ABCDEF";

int digitOf(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

const char* narrow(LPCTSTR text) { return reinterpret_cast<const char*>(text); }

// False unless the text has two digits per byte. `room`: size of the target in bytes.
bool takeHex(const char* text, BYTE* bytes, std::size_t room) {
  for (; *text; text += 2) {
    const int high = digitOf(text[0]), low = high < 0 ? -1 : digitOf(text[1]);
    if (low < 0 || room-- == 0) return false;
    *bytes++ = static_cast<BYTE>(high << 4 | low);
  }
  return true;
}

ULONGLONG ticks(FILETIME time) { return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime; }

FILETIME timeOf(ULONGLONG count) { return {static_cast<DWORD>(count), static_cast<DWORD>(count >> 32)}; }

}  // namespace

extern "C" {

WINBOOL WINAPI FBinFromHex(LPTSTR text, LPBYTE bytes) {
  return text && bytes && takeHex(narrow(text), bytes, static_cast<std::size_t>(-1));
}

SCODE WINAPI ScBinFromHexBounded(LPTSTR text, LPBYTE bytes, ULONG room) {
  if (!text || !bytes) return MAPI_E_INVALID_PARAMETER;
  return takeHex(narrow(text), bytes, room) ? S_OK : MAPI_E_CALL_FAILED;
}

void WINAPI HexFromBin(LPBYTE bytes, int count, LPTSTR text) {
  auto* next = reinterpret_cast<char*>(text);
  for (int i = 0; i < count; ++i) {
    *next++ = hexDigits[bytes[i] >> 4];
    *next++ = hexDigits[bytes[i] & 0xF];
  }
  *next = '\0';
}

ULONG WINAPI UlFromSzHex(LPCTSTR text) {
  ULONG value = 0;
  for (const char* next = narrow(text); next && digitOf(*next) >= 0; ++next) {
    value = value << 4 | static_cast<ULONG>(digitOf(*next));
  }
  return value;
}

unsigned int WINAPI UFromSz(LPCTSTR text) {
  unsigned int value = 0;
  for (const char* next = narrow(text); next && *next >= '0' && *next <= '9'; ++next) {
    value = value * 10 + static_cast<unsigned int>(*next - '0');
  }
  return value;
}

// Compares double-byte characters as one, so that a trail byte does not match.
LPTSTR WINAPI SzFindCh(LPCTSTR text, USHORT wanted) {
  for (const char* next = narrow(text); next && *next; next = CharNextA(next)) {
    if (static_cast<unsigned char>(*next) == wanted) return reinterpret_cast<LPTSTR>(const_cast<char*>(next));
  }
  return nullptr;
}

LPTSTR WINAPI SzFindLastCh(LPCTSTR text, USHORT wanted) {
  const char* found = nullptr;
  for (const char* next = narrow(text); next && *next; next = CharNextA(next)) {
    if (static_cast<unsigned char>(*next) == wanted) found = next;
  }
  return reinterpret_cast<LPTSTR>(const_cast<char*>(found));
}

LPTSTR WINAPI SzFindSz(LPCTSTR text, LPCTSTR wanted) {
  if (!text || !wanted) return nullptr;
  const std::size_t length = std::strlen(narrow(wanted));
  const char* next = narrow(text);
  for (;; next = CharNextA(next)) {
    if (std::strncmp(next, narrow(wanted), length) == 0) return reinterpret_cast<LPTSTR>(const_cast<char*>(next));
    if (!*next) return nullptr;
  }
}

// Four encoded characters represent three bytes.
ULONG WINAPI CbOfEncoded(LPCSTR encoded) {
  return encoded ? static_cast<ULONG>((std::strlen(encoded) + 3) / 4 * 3) : 0;
}

SCODE WINAPI HrSzFromEntryID(ULONG size, LPENTRYID entryId, LPTSTR* text) {
  if (!size || !entryId || !text) return MAPI_E_INVALID_PARAMETER;
  *text = nullptr;
  try {
    *text = static_cast<LPTSTR>(allocateTop(std::size_t{size} * 2 + 1));
  } catch (const std::bad_alloc&) {
    return MAPI_E_NOT_ENOUGH_MEMORY;
  }
  HexFromBin(reinterpret_cast<LPBYTE>(entryId), static_cast<int>(size), *text);
  return S_OK;
}

SCODE WINAPI HrEntryIDFromSz(LPTSTR text, ULONG* size, LPENTRYID* entryId) {
  if (!text || !size || !entryId) return MAPI_E_INVALID_PARAMETER;
  *size = 0;
  *entryId = nullptr;
  const std::size_t bytes = std::strlen(narrow(text)) / 2;
  try {
    auto made = allocateMapi<BYTE>(bytes);
    if (bytes == 0 || !takeHex(narrow(text), made.get(), bytes)) return MAPI_E_INVALID_PARAMETER;
    *size = static_cast<ULONG>(bytes);
    *entryId = reinterpret_cast<LPENTRYID>(made.release());
    return S_OK;
  } catch (const std::bad_alloc&) {
    return MAPI_E_NOT_ENOUGH_MEMORY;
  }
}

FILETIME WINAPI FtAddFt(FILETIME left, FILETIME right) { return timeOf(ticks(left) + ticks(right)); }
FILETIME WINAPI FtSubFt(FILETIME left, FILETIME right) { return timeOf(ticks(left) - ticks(right)); }
FILETIME WINAPI FtNegFt(FILETIME time) { return timeOf(0 - ticks(time)); }
FILETIME WINAPI FtMulDw(DWORD factor, FILETIME time) { return timeOf(ticks(time) * factor); }
FILETIME WINAPI FtMulDwDw(DWORD left, DWORD right) { return timeOf(static_cast<ULONGLONG>(left) * right); }

// System functions that did not exist when MAPI was defined.
LCID WINAPI MNLS_GetUserDefaultLCID() { return GetUserDefaultLCID(); }
UINT WINAPI MNLS_GetACP() { return GetACP(); }
int WINAPI MNLS_CompareStringA(LCID locale, DWORD flags, LPCSTR left, int leftLength, LPCSTR right, int rightLength) {
  return CompareStringA(locale, flags, left, leftLength, right, rightLength);
}
int WINAPI MNLS_CompareStringW(LCID locale, DWORD flags, LPCWSTR left, int leftLength, LPCWSTR right, int rightLength) {
  return CompareStringW(locale, flags, left, leftLength, right, rightLength);
}
int WINAPI MNLS_MultiByteToWideChar(UINT page, DWORD flags, LPCSTR text, int length, LPWSTR target, int room) {
  return MultiByteToWideChar(page, flags, text, length, target, room);
}
int WINAPI MNLS_WideCharToMultiByte(UINT page, DWORD flags, LPCWSTR text, int length, LPSTR target, int room,
                                    LPCSTR standIn, WINBOOL* usedStandIn) {
  return WideCharToMultiByte(page, flags, text, length, target, room, standIn, usedStandIn);
}
int WINAPI MNLS_lstrlenW(LPCWSTR text) { return text ? static_cast<int>(std::wcslen(text)) : 0; }
int WINAPI MNLS_lstrcmpW(LPCWSTR left, LPCWSTR right) { return lstrcmpW(left, right); }
LPWSTR WINAPI MNLS_lstrcpyW(LPWSTR target, LPCWSTR text) { return lstrcpyW(target, text); }
WINBOOL WINAPI MNLS_IsBadStringPtrW(LPCWSTR text, UINT most) { return IsBadStringPtrW(text, most); }

}  // extern "C"
