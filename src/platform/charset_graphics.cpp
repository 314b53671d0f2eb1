#include "charset_graphics.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <cwchar>

#include "charset_ansi.h"

namespace fendrel::charset {
namespace {

// Converts a name into a field of fixed size, with its terminator. False if it does not convert or fit.
template <std::size_t size>
bool toField(const wchar_t* text, char (&field)[size]) noexcept {
  const AnsiArgument ansi(text);
  if (!ansi.isOk() || std::strlen(ansi.get()) >= size) return false;
  std::strcpy(field, ansi.get());
  return true;
}

// The fields before the face name are the same in both forms.
static_assert(offsetof(LOGFONTA, lfFaceName) == offsetof(LOGFONTW, lfFaceName));
constexpr std::size_t logFontNumbers = offsetof(LOGFONTW, lfFaceName);

// Copies the device's settings after its names, up to the record's size, which is smaller on older systems. The
// driver's own bytes after them are not passed on.
bool toAnsi(const DEVMODEW& given, DEVMODEA& ansi) noexcept {
  if (given.dmSize < offsetof(DEVMODEW, dmFields)) return false;
  const bool hasForm = given.dmSize >= offsetof(DEVMODEW, dmLogPixels);
  const std::size_t size = hasForm ? std::min<std::size_t>(given.dmSize, sizeof given)
                                   : std::min<std::size_t>(given.dmSize, offsetof(DEVMODEW, dmFormName));
  DEVMODEW mode{};
  std::memcpy(&mode, &given, size);
  wchar_t device[CCHDEVICENAME + 1] = {}, form[CCHFORMNAME + 1] = {};
  std::wmemcpy(device, mode.dmDeviceName, CCHDEVICENAME);
  std::wmemcpy(form, mode.dmFormName, CCHFORMNAME);
  if (!toField(device, reinterpret_cast<char(&)[CCHDEVICENAME]>(ansi.dmDeviceName)) ||
      !toField(form, reinterpret_cast<char(&)[CCHFORMNAME]>(ansi.dmFormName)))
    return false;
  const auto copy = [&](std::size_t from, std::size_t to, std::size_t bytes) {
    std::memcpy(reinterpret_cast<char*>(&ansi) + to, reinterpret_cast<const char*>(&mode) + from, bytes);
  };
  copy(offsetof(DEVMODEW, dmSpecVersion), offsetof(DEVMODEA, dmSpecVersion),
       offsetof(DEVMODEW, dmFormName) - offsetof(DEVMODEW, dmSpecVersion));
  copy(offsetof(DEVMODEW, dmLogPixels), offsetof(DEVMODEA, dmLogPixels),
       sizeof(DEVMODEW) - offsetof(DEVMODEW, dmLogPixels));
  ansi.dmSize = static_cast<WORD>(size - CCHDEVICENAME - (hasForm ? CCHFORMNAME : 0));  // a name takes half the bytes
  ansi.dmDriverExtra = 0;
  return true;
}

wchar_t widened(BYTE character) noexcept {
  const char text[] = {static_cast<char>(character), 0};
  wchar_t wide[2] = {};
  return MultiByteToWideChar(CP_ACP, 0, text, 1, wide, 1) == 1 ? wide[0] : character;
}

}  // namespace

HFONT createFont(int height, int width, int escapement, int orientation, int weight, DWORD italic, DWORD underline,
                 DWORD strikeOut, DWORD characterSet, DWORD outputPrecision, DWORD clipPrecision, DWORD quality,
                 DWORD pitchAndFamily, const wchar_t* faceName) noexcept {
  if (!g_bUseAnsi)
    return CreateFontW(height, width, escapement, orientation, weight, italic, underline, strikeOut, characterSet,
                       outputPrecision, clipPrecision, quality, pitchAndFamily, faceName);
  const AnsiArgument face(faceName);
  if (!face.isOk()) return nullptr;
  return CreateFontA(height, width, escapement, orientation, weight, italic, underline, strikeOut, characterSet,
                     outputPrecision, clipPrecision, quality, pitchAndFamily, face.get());
}

HFONT createFontIndirect(const LOGFONTW* font) noexcept {
  if (!g_bUseAnsi) return CreateFontIndirectW(font);
  if (!font) return nullptr;
  LOGFONTA ansi{};
  std::memcpy(&ansi, font, logFontNumbers);
  wchar_t face[LF_FACESIZE + 1] = {};
  std::wmemcpy(face, font->lfFaceName, LF_FACESIZE);
  return toField(face, ansi.lfFaceName) ? CreateFontIndirectA(&ansi) : nullptr;
}

int getFontObject(HFONT font, int size, LOGFONTW* result) noexcept {
  if (!g_bUseAnsi) return GetObjectW(font, size, result);
  if (!result) return GetObjectA(font, 0, nullptr) == 0 ? 0 : static_cast<int>(sizeof(LOGFONTW));
  LOGFONTA ansi{};
  LOGFONTW wide{};
  if (size < 0 || GetObjectA(font, sizeof ansi, &ansi) == 0) return 0;
  std::memcpy(&wide, &ansi, logFontNumbers);
  if (copyBack(ansi.lfFaceName, wide.lfFaceName, LF_FACESIZE) < 0) return 0;
  const int written = std::min(size, static_cast<int>(sizeof wide));
  std::memcpy(result, &wide, static_cast<std::size_t>(written));
  return written;
}

HDC createMetaFile(const wchar_t* file) noexcept {
  if (!g_bUseAnsi) return CreateMetaFileW(file);
  const AnsiArgument ansi(file);
  return ansi.isOk() ? CreateMetaFileA(ansi.get()) : nullptr;
}

HDC createIC(const wchar_t* driver, const wchar_t* device, const wchar_t* port, const DEVMODEW* mode) noexcept {
  if (!g_bUseAnsi) return CreateICW(driver, device, port, mode);
  const AnsiArgument ansiDriver(driver), ansiDevice(device), ansiPort(port);
  DEVMODEA ansiMode{};
  if (!ansiDriver.isOk() || !ansiDevice.isOk() || !ansiPort.isOk()) return nullptr;
  if (mode && !toAnsi(*mode, ansiMode)) return nullptr;
  return CreateICA(ansiDriver.get(), ansiDevice.get(), ansiPort.get(), mode ? &ansiMode : nullptr);
}

BOOL getTextMetrics(HDC context, TEXTMETRICW* metrics) noexcept {
  if (!g_bUseAnsi) return GetTextMetricsW(context, metrics);
  TEXTMETRICA ansi{};
  if (!metrics || !GetTextMetricsA(context, &ansi)) return FALSE;
  std::memcpy(metrics, &ansi, offsetof(TEXTMETRICA, tmFirstChar));
  metrics->tmFirstChar = widened(ansi.tmFirstChar);
  metrics->tmLastChar = widened(ansi.tmLastChar);
  metrics->tmDefaultChar = widened(ansi.tmDefaultChar);
  metrics->tmBreakChar = widened(ansi.tmBreakChar);
  metrics->tmItalic = ansi.tmItalic;
  metrics->tmUnderlined = ansi.tmUnderlined;
  metrics->tmStruckOut = ansi.tmStruckOut;
  metrics->tmPitchAndFamily = ansi.tmPitchAndFamily;
  metrics->tmCharSet = ansi.tmCharSet;
  return TRUE;
}

BOOL getCharWidth(HDC context, UINT first, UINT last, int* widths) noexcept {
  return g_bUseAnsi ? GetCharWidthA(context, first, last, widths) : GetCharWidthW(context, first, last, widths);
}

}  // namespace fendrel::charset
