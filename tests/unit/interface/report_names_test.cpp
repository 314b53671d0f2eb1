// The report name of each file.
#include "report_names.h"

#include <gtest/gtest.h>

using namespace fendrel;

namespace {

std::wstring fromTemplate(const wchar_t* fileNameTemplate) {
  const FendrelFileDescription file{.fileNameTemplate = fileNameTemplate};
  return reportName(&file);
}

std::wstring fromGivenName(const wchar_t* givenName, std::uint32_t nameGiven = 1) {
  const FendrelFileDescription file{
      .nameGiven = nameGiven, .givenName = givenName, .fileNameTemplate = L"template.pdf"};
  return reportName(&file);
}

TEST(ReportName, WithoutADescriptionIsUntitled) { EXPECT_EQ(reportName(nullptr), L"untitled.txt"); }

TEST(ReportName, OfAGivenNameDropsDriveAndDirectory) {
  EXPECT_EQ(fromGivenName(L"C:\\out\\daily\\sales.rpt"), L"sales.rpt");
  EXPECT_EQ(fromGivenName(L"out/sales.rpt"), L"sales.rpt");
}

TEST(ReportName, OfAGivenNameIsTakenAsItIs) {
  EXPECT_EQ(fromGivenName(L"sales"), L"sales") << "no extension is added";
  EXPECT_EQ(fromGivenName(L"s?les.*"), L"s?les.*") << "wildcards are no matter";
  EXPECT_EQ(fromGivenName(L""), L"");
}

TEST(ReportName, OfAMissingGivenNameIsEmpty) { EXPECT_EQ(fromGivenName(nullptr), L""); }

TEST(ReportName, IsGivenWithAnyFlagButZero) {
  EXPECT_EQ(fromGivenName(L"sales.rpt", 0x80000000), L"sales.rpt");
  EXPECT_EQ(fromGivenName(L"sales.rpt", 0), L"template.pdf");
}

TEST(ReportName, HasAtMost260Characters) {
  const std::wstring name(300, L'n');
  EXPECT_EQ(fromGivenName(name.c_str()), name.substr(0, 260));
  EXPECT_EQ(fromTemplate((name + L".rpt").c_str()), name.substr(0, 260));
}

struct Template {
  const char* row;
  const wchar_t* fileNameTemplate;
  const wchar_t* expected;
  friend void PrintTo(const Template& value, std::ostream* out) { *out << value.row; }
};

class ReportNameOfATemplate : public testing::TestWithParam<Template> {};

TEST_P(ReportNameOfATemplate, ReplacesWhatIsMissingOrAWildcard) {
  EXPECT_EQ(fromTemplate(GetParam().fileNameTemplate), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(, ReportNameOfATemplate,
                         testing::Values(Template{"None", nullptr, L"untitled.txt"},
                                         Template{"Empty", L"", L"untitled.txt"},
                                         Template{"Complete", L"sales.rpt", L"sales.rpt"},
                                         Template{"FullPath", L"C:\\out\\sales.rpt", L"sales.rpt"},
                                         Template{"BothWildcards", L"*.*", L"untitled.txt"},
                                         Template{"WildcardExtension", L"sales.*", L"sales.txt"},
                                         Template{"QuestionMarkInTheExtension", L"sales.rp?", L"sales.txt"},
                                         Template{"QuestionMarkInTheName", L"sa?es.rpt", L"untitled.rpt"},
                                         Template{"AsteriskInTheName", L"sales*.rpt", L"untitled.rpt"},
                                         Template{"NoExtension", L"sales", L"sales.txt"},
                                         Template{"NoName", L".rpt", L"untitled.rpt"},
                                         Template{"DotAlone", L"sales.", L"sales."},
                                         Template{"DirectoryAlone", L"C:\\out\\", L"untitled.txt"},
                                         Template{"WildcardInTheDirectory", L"C:\\o*t\\sales.rpt", L"sales.rpt"}),
                         [](const auto& row) { return std::string(row.param.row); });

}  // namespace
