#include "charset_mode.h"

#include <cwchar>
#include <iterator>

#include "charset_text.h"

namespace fendrel {
namespace {

OSVERSIONINFOA g_OsVersion;  // a size of 0 means that it is not filled yet

const OSVERSIONINFOA& osVersion() noexcept {
  if (g_OsVersion.dwOSVersionInfoSize == 0) {
    g_OsVersion.dwOSVersionInfoSize = sizeof g_OsVersion;
    GetVersionExA(&g_OsVersion);
  }
  return g_OsVersion;
}

}  // namespace

bool IsWinNT() noexcept { return osVersion().dwPlatformId == VER_PLATFORM_WIN32_NT; }
bool IsWinNTMajor5OrLater() noexcept { return IsWinNT() && osVersion().dwMajorVersion >= 5; }
bool IsWin9x() noexcept { return osVersion().dwPlatformId == VER_PLATFORM_WIN32_WINDOWS; }
bool IsWin9xMajor5() noexcept { return IsWin9x() && osVersion().dwMajorVersion == 5; }

bool g_bUseAnsi = IsWin9x();

UINT GetLocaleCodePage(LCID locale) noexcept {
  wchar_t digits[8] = {};
  if (charset::getLocaleInfo(locale, LOCALE_IDEFAULTANSICODEPAGE, digits, static_cast<int>(std::size(digits))) == 0)
    return 0;
  const auto codePage = static_cast<UINT>(std::wcstoul(digits, nullptr, 10));
  // 0 means the system's code page, 1 the OEM one.
  if (codePage <= 1 || IsValidCodePage(codePage)) return codePage;
  return 0;
}

}  // namespace fendrel
