#include "paths.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "failure.h"
#include "temp_folder.h"
#include "text.h"

namespace fendrel::host {
namespace {

TEST(Paths, ShortPathStaysAndLongPathGetsItsPrefix) {
  const std::wstring tail(300, L'x');
  EXPECT_EQ(longPath(L"C:\\a"), L"C:\\a");
  EXPECT_EQ(longPath(L"C:\\" + tail), L"\\\\?\\C:\\" + tail);
  EXPECT_EQ(longPath(L"\\\\server\\share\\" + tail), L"\\\\?\\UNC\\server\\share\\" + tail);
  EXPECT_EQ(longPath(L"\\\\?\\C:\\" + tail), L"\\\\?\\C:\\" + tail);
}

TEST(Paths, FileNameStandsBehindTheLastSeparator) {
  EXPECT_EQ(fileNameOf(L"C:\\a\\sales.pdf"), L"sales.pdf");
  EXPECT_EQ(fileNameOf(L"a/sales.pdf"), L"sales.pdf");
  EXPECT_EQ(fileNameOf(L"C:sales.pdf"), L"sales.pdf");
  EXPECT_EQ(fileNameOf(L"sales.pdf"), L"sales.pdf");
}

TEST(Paths, FullPathOfALongRelativePathIsWhole) {
  const std::string part(200, 'y');
  const std::wstring full = fullPath(part + "/" + part + "/./" + part);
  EXPECT_TRUE(full.ends_with(toWide(part + "\\" + part + "\\" + part))) << toUtf8(full);
  EXPECT_EQ(full[1], L':');
}

TEST(Paths, EmptyPathIsRefused) { EXPECT_THROW(fullPath(""), Failure); }

TEST(Paths, UnixShellPathIsOnWinesDriveForUnixFiles) {
  SetEnvironmentVariableW(L"FENDREL_SHELL", L"unix");
  EXPECT_EQ(fullPath("/home/x/file.pdf"), L"Z:\\home\\x\\file.pdf");
  EXPECT_EQ(joinedForDisplay("out", "a.pdf"), "out/a.pdf");
  SetEnvironmentVariableW(L"FENDREL_SHELL", nullptr);
  EXPECT_EQ(joinedForDisplay("out", "a.pdf"), "out\\a.pdf");
}

struct NameCase {
  const wchar_t* attached;
  const wchar_t* file;
};
void PrintTo(const NameCase& each, std::ostream* out) { *out << toUtf8(each.attached); }

class SafeFileName : public testing::TestWithParam<NameCase> {};

TEST_P(SafeFileName, NeverLeavesTheDirectoryAndCanBeMade) {
  EXPECT_EQ(safeFileName(GetParam().attached), GetParam().file);
}

INSTANTIATE_TEST_SUITE_P(Names, SafeFileName,
                         testing::Values(NameCase{L"sales.pdf", L"sales.pdf"},
                                         NameCase{L"..\\..\\evil.exe", L".._.._evil.exe"},
                                         NameCase{L"/etc/passwd", L"_etc_passwd"}, NameCase{L"a:b.txt", L"a_b.txt"},
                                         NameCase{L"..", L"attachment"}, NameCase{L"", L"attachment"},
                                         NameCase{L"report. ", L"report"}, NameCase{L"con.txt", L"_con.txt"},
                                         NameCase{L"LPT1", L"_LPT1"}, NameCase{L"nul .txt", L"_nul .txt"},
                                         NameCase{L"console.txt", L"console.txt"}, NameCase{L"a\nb?.csv", L"a_b_.csv"},
                                         NameCase{L"\u65E5\u672C.pdf", L"\u65E5\u672C.pdf"}));

TEST(Paths, TooLongFileNameIsCutBeforeItsExtension) {
  const std::wstring safe = safeFileName(std::wstring(400, L'n') + L".pdf");
  EXPECT_EQ(safe.size(), 240u);
  EXPECT_TRUE(safe.ends_with(L"n.pdf"));
}

TEST(Paths, NumberStandsBeforeTheExtension) {
  EXPECT_EQ(numberedFileName(L"report.pdf", 2), L"report (2).pdf");
  EXPECT_EQ(numberedFileName(L"report", 3), L"report (3)");
  EXPECT_EQ(numberedFileName(L".profile", 2), L".profile (2)");
}

}  // namespace
}  // namespace fendrel::host
