// Splitting file names.
#include "path_parts.h"

#include <gtest/gtest.h>

#include <string>

using namespace fendrel;

namespace {

struct Row {
  const char* row;
  std::wstring path, drive, directory, name, extension;
  friend void PrintTo(const Row& value, std::ostream* out) { *out << value.row; }
};

class SplitPath : public testing::TestWithParam<Row> {};

TEST_P(SplitPath, GivesThePartsThatMakeThePathAgain) {
  const Row& row = GetParam();
  const auto parts = splitPath(row.path);
  EXPECT_EQ(parts.drive, row.drive);
  EXPECT_EQ(parts.directory, row.directory);
  EXPECT_EQ(parts.name, row.name);
  EXPECT_EQ(parts.extension, row.extension);
  EXPECT_EQ(row.drive + row.directory + row.name + row.extension, row.path);
}

INSTANTIATE_TEST_SUITE_P(
    , SplitPath,
    testing::Values(
        Row{"FullPath", L"C:\\out\\daily\\sales.rpt", L"C:", L"\\out\\daily\\", L"sales", L".rpt"},
        Row{"NameOnly", L"sales", L"", L"", L"sales", L""},
        Row{"NameAndExtension", L"sales.rpt", L"", L"", L"sales", L".rpt"}, Row{"Empty", L"", L"", L"", L"", L""},
        Row{"ExtensionOnly", L".rpt", L"", L"", L"", L".rpt"}, Row{"DotAtTheEnd", L"sales.", L"", L"", L"sales", L"."},
        Row{"SeveralDots", L"sales.2024.rpt", L"", L"", L"sales.2024", L".rpt"},
        Row{"DotInTheDirectoryOnly", L"C:\\v1.2\\sales", L"C:", L"\\v1.2\\", L"sales", L""},
        Row{"DirectoryOnly", L"C:\\out\\", L"C:", L"\\out\\", L"", L""}, Row{"DriveOnly", L"C:", L"C:", L"", L"", L""},
        Row{"DriveRelative", L"C:sales.rpt", L"C:", L"", L"sales", L".rpt"},
        Row{"SlashesAndBackslashes", L"/out\\daily/sales.rpt", L"", L"/out\\daily/", L"sales", L".rpt"},
        Row{"NetworkShare", L"\\\\server\\share\\sales.rpt", L"", L"\\\\server\\share\\", L"sales", L".rpt"},
        Row{"ColonFurtherBehind", L"ab:cd.rpt", L"", L"", L"ab:cd", L".rpt"}),
    [](const auto& row) { return std::string(row.param.row); });

TEST(SplitPathOfBytes, WorksOnEightBitText) {
  const auto parts = splitPath(std::string_view("D:\\a\\b.txt"));
  EXPECT_EQ(parts.drive, "D:");
  EXPECT_EQ(parts.directory, "\\a\\");
  EXPECT_EQ(parts.name, "b");
  EXPECT_EQ(parts.extension, ".txt");
}

TEST(ExtensionOf, IsTheTextBehindTheLastDot) { EXPECT_EQ(extensionOf(std::wstring_view(L"sales.2024.rpt")), L"rpt"); }

TEST(ExtensionOf, IsEmptyWithoutADot) { EXPECT_EQ(extensionOf(std::wstring_view(L"sales")), L""); }

TEST(ExtensionOf, IsEmptyBehindALastDot) { EXPECT_EQ(extensionOf(std::wstring_view(L"sales.")), L""); }

TEST(ExtensionOf, IsEmptyForNoName) { EXPECT_EQ(extensionOf(std::wstring_view()), L""); }

}  // namespace
