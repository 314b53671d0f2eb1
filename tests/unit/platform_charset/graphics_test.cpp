// Fonts and device contexts, on both paths.
#include "charset_graphics.h"

#include <cwchar>

#include "charset_test.h"
#include "page_end.h"
#include "temp_folder.h"

namespace fendrel::test {
namespace {

std::wstring faceOf(HFONT font) {
  LOGFONTW description{};
  EXPECT_NE(GetObjectW(font, sizeof description, &description), 0);
  DeleteObject(font);
  return description.lfFaceName;
}

std::wstring nativeFace() { return isDoubleByte() ? L"ＭＳ ゴシック" : L"Schöne Schrift"; }

HFONT makeFont(const wchar_t* face) {
  return charset::createFont(-12, 0, 0, 0, FW_BOLD, TRUE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                             CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH, face);
}

TEST(CharsetFont, CreateFontTakesTheSameFaceNameOnBothPaths) {
  EXPECT_EQ(faceOf(makeFont(nativeFace().c_str())), nativeFace());
  const AnsiPath ansi;
  EXPECT_EQ(faceOf(makeFont(nativeFace().c_str())), nativeFace());
  EXPECT_EQ(faceOf(makeFont(nullptr)), L"");
}

LOGFONTW description() {
  LOGFONTW font{};
  font.lfHeight = -16;
  font.lfWeight = FW_BOLD;
  font.lfItalic = TRUE;
  font.lfCharSet = DEFAULT_CHARSET;
  std::wcscpy(font.lfFaceName, nativeFace().c_str());
  return font;
}

TEST(CharsetFont, CreateFontIndirectTakesTheSameDescriptionOnBothPaths) {
  const LOGFONTW font = description();
  EXPECT_EQ(faceOf(charset::createFontIndirect(&font)), nativeFace());
  const AnsiPath ansi;
  EXPECT_EQ(faceOf(charset::createFontIndirect(&font)), nativeFace());
}

TEST(CharsetFont, CreateFontIndirectOfAFaceThatFillsItsFieldWithoutTerminatorFailsOnTheAnsiPath) {
  const AnsiPath ansi;
  LOGFONTW font = description();
  std::wmemset(font.lfFaceName, L'x', LF_FACESIZE);
  EXPECT_EQ(charset::createFontIndirect(&font), nullptr);
  EXPECT_EQ(charset::createFontIndirect(nullptr), nullptr);
}

TEST(CharsetFont, FontObjectIsTheSameOnBothPaths) {
  const LOGFONTW font = description();
  const HFONT made = CreateFontIndirectW(&font);
  LOGFONTW wide{}, ansi{};
  EXPECT_EQ(charset::getFontObject(made, sizeof wide, &wide), static_cast<int>(sizeof wide));
  const AnsiPath path;
  EXPECT_EQ(charset::getFontObject(made, sizeof ansi, &ansi), static_cast<int>(sizeof ansi));
  EXPECT_EQ(ansi.lfHeight, wide.lfHeight);
  EXPECT_EQ(ansi.lfWeight, wide.lfWeight);
  EXPECT_EQ(ansi.lfItalic, wide.lfItalic);
  EXPECT_STREQ(ansi.lfFaceName, wide.lfFaceName);
  DeleteObject(made);
}

TEST(CharsetFont, FontObjectWritesNoMoreThanItsSize) {
  const AnsiPath path;
  const LOGFONTW font = description();
  const HFONT made = CreateFontIndirectW(&font);
  LOGFONTW part{};
  part.lfWidth = 4711;
  EXPECT_EQ(charset::getFontObject(made, sizeof part.lfHeight, &part), static_cast<int>(sizeof part.lfHeight));
  EXPECT_EQ(part.lfHeight, -16);
  EXPECT_EQ(part.lfWidth, 4711);
  EXPECT_EQ(charset::getFontObject(made, 0, nullptr), static_cast<int>(sizeof(LOGFONTW)));
  DeleteObject(made);
  EXPECT_EQ(charset::getFontObject(nullptr, sizeof part, &part), 0);
}

TEST(CharsetDevice, CreateMetaFileWritesAFileOfANativeNameOnBothPaths) {
  const TempFolder folder;
  const std::wstring path = folder.file(nativeText() + L".wmf");
  const auto draw = [&] {
    const HDC context = charset::createMetaFile(path.c_str());
    EXPECT_NE(context, nullptr);
    DeleteMetaFile(CloseMetaFile(context));
    const bool written = GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    DeleteFileW(path.c_str());
    return written;
  };
  EXPECT_TRUE(draw());
  const AnsiPath ansi;
  EXPECT_TRUE(draw());
}

TEST(CharsetDevice, CreateICOpensTheDisplayOnBothPaths) {
  DEVMODEW mode{};
  mode.dmSize = sizeof mode;
  std::wcscpy(mode.dmDeviceName, L"DISPLAY");
  for (const DEVMODEW* settings : {static_cast<const DEVMODEW*>(nullptr), static_cast<const DEVMODEW*>(&mode)}) {
    const HDC wide = charset::createIC(L"DISPLAY", nullptr, nullptr, settings);
    EXPECT_NE(wide, nullptr);
    DeleteDC(wide);
    const AnsiPath path;
    const HDC ansi = charset::createIC(L"DISPLAY", nullptr, nullptr, settings);
    EXPECT_NE(ansi, nullptr);
    DeleteDC(ansi);
  }
}

// Records of older systems are shorter.
TEST(CharsetDevice, CreateICReadsAsManyBytesOfTheSettingsAsTheyHave) {
  for (const std::size_t size : {sizeof(DEVMODEW), offsetof(DEVMODEW, dmICMMethod), offsetof(DEVMODEW, dmFormName)}) {
    DEVMODEW mode{};
    mode.dmSize = static_cast<WORD>(size);
    std::wcscpy(mode.dmDeviceName, L"DISPLAY");
    const AtPageEnd settings(std::as_bytes(std::span(&mode, 1)).first(size));
    const AnsiPath path;
    const HDC context =
        charset::createIC(L"DISPLAY", nullptr, nullptr, reinterpret_cast<const DEVMODEW*>(settings.get()));
    EXPECT_NE(context, nullptr) << size;
    DeleteDC(context);
  }
}

TEST(CharsetDevice, CreateICOfSettingsWithoutTheirSizeFailsOnTheAnsiPath) {
  const AnsiPath path;
  const DEVMODEW mode{};
  EXPECT_EQ(charset::createIC(L"DISPLAY", nullptr, nullptr, &mode), nullptr);
}

TEST(CharsetDevice, CreateICOfADeviceNameThatDoesNotFitFailsOnTheAnsiPath) {
  const AnsiPath path;
  DEVMODEW mode{};
  mode.dmSize = sizeof mode;
  std::wmemset(mode.dmDeviceName, L'x', CCHDEVICENAME);
  EXPECT_EQ(charset::createIC(L"DISPLAY", nullptr, nullptr, &mode), nullptr);
}

TEST(CharsetDevice, TextMetricsAreTheSameOnBothPaths) {
  const HDC context = CreateCompatibleDC(nullptr);
  TEXTMETRICW wide{}, ansi{};
  EXPECT_TRUE(charset::getTextMetrics(context, &wide));
  const AnsiPath path;
  EXPECT_TRUE(charset::getTextMetrics(context, &ansi));
  EXPECT_EQ(ansi.tmHeight, wide.tmHeight);
  EXPECT_EQ(ansi.tmAveCharWidth, wide.tmAveCharWidth);
  EXPECT_EQ(ansi.tmItalic, wide.tmItalic);
  EXPECT_EQ(ansi.tmPitchAndFamily, wide.tmPitchAndFamily);
  EXPECT_EQ(ansi.tmCharSet, wide.tmCharSet);
  EXPECT_FALSE(charset::getTextMetrics(context, nullptr));
  EXPECT_FALSE(charset::getTextMetrics(nullptr, &ansi));
  DeleteDC(context);
}

TEST(CharsetDevice, CharWidthsOfPlainLettersAreTheSameOnBothPaths) {
  const HDC context = CreateCompatibleDC(nullptr);
  int wide[26] = {}, ansi[26] = {};
  EXPECT_TRUE(charset::getCharWidth(context, L'a', L'z', wide));
  EXPECT_GT(wide[0], 0);
  const AnsiPath path;
  EXPECT_TRUE(charset::getCharWidth(context, L'a', L'z', ansi));
  EXPECT_TRUE(std::equal(std::begin(wide), std::end(wide), std::begin(ansi)));
  DeleteDC(context);
}

}  // namespace
}  // namespace fendrel::test
