// The report name of each file, seen as the long file name of its attachment.
#include "abi_test.h"

namespace fendrel::test {
namespace {

struct NameCase {
  const char* name;
  const wchar_t* fileNameTemplate;
  const wchar_t* expected;
};

class ReportNameTest : public JobTest {
 protected:
  std::wstring nameOf(FileList& files) {
    DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
    EXPECT_EQ(tryToOpen(&options, files), FENDREL_SUCCESS);
    EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
    const auto messages = mapi.messages();
    EXPECT_EQ(messages.size(), 1u);
    if (messages.empty()) return L"(nothing was posted)";
    EXPECT_EQ(valueOf(messages[0].properties, PR_SUBJECT_W).text,
              valueOf(messages[0].attachments.at(0).properties, PR_ATTACH_LONG_FILENAME_W).text);
    return valueOf(messages[0].properties, PR_SUBJECT_W).text;
  }
};

class TemplateName : public ReportNameTest, public ::testing::WithParamInterface<NameCase> {};

TEST_P(TemplateName, GivesTheReportName) {
  FileList files{GetParam().fileNameTemplate};
  EXPECT_EQ(nameOf(files), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Of, TemplateName,
    ::testing::Values(NameCase{"NameAndExtension", L"sales.pdf", L"sales.pdf"},
                      NameCase{"FullPathLosesDriveAndDirectory", L"C:\\out\\2024\\sales.pdf", L"sales.pdf"},
                      NameCase{"ForwardSlashesAreDirectoriesToo", L"out/2024/sales.pdf", L"sales.pdf"},
                      NameCase{"BothWildcards", L"*.*", L"untitled.txt"},
                      NameCase{"WildcardExtensionKeepsTheFileName", L"sales.*", L"sales.txt"},
                      NameCase{"PartlyWildcardExtension", L"sales.p?f", L"sales.txt"},
                      NameCase{"QuestionMarkInTheFileNameKeepsTheExtension", L"sal?s.pdf", L"untitled.pdf"},
                      NameCase{"AsteriskInTheFileNameKeepsTheExtension", L"sal*.pdf", L"untitled.pdf"},
                      NameCase{"NoExtension", L"sales", L"sales.txt"}, NameCase{"NoFileName", L".pdf", L"untitled.pdf"},
                      NameCase{"EmptyTemplate", L"", L"untitled.txt"},
                      NameCase{"DirectoryOnly", L"C:\\out\\", L"untitled.txt"},
                      NameCase{"SeveralDots", L"sales.2024.pdf", L"sales.2024.pdf"},
                      NameCase{"NoTemplateAtAll", nullptr, L"untitled.txt"}),
    [](const auto& test) { return test.param.name; });

TEST_F(ReportNameTest, MissingDescriptionGivesUntitled) {
  FileList files;
  files.addNothing();
  EXPECT_EQ(nameOf(files), L"untitled.txt");
}

TEST_F(ReportNameTest, GivenFullPathYieldsItsFileNameAndExtensionOnly) {
  FileList files;
  files.addGivenName(L"D:\\deep\\down\\Quarter 3.xlsx", L"unused.pdf");
  EXPECT_EQ(nameOf(files), L"Quarter 3.xlsx");
}

TEST_F(ReportNameTest, GivenNameWithoutExtensionGetsNone) {
  FileList files;
  files.addGivenName(L"D:\\deep\\notes");
  EXPECT_EQ(nameOf(files), L"notes");
}

TEST_F(ReportNameTest, GivenNameKeepsItsWildcards) {
  FileList files;
  files.addGivenName(L"a?b.*");
  EXPECT_EQ(nameOf(files), L"a?b.*");
}

TEST_F(ReportNameTest, MissingGivenNameGivesAnEmptyName) {
  FileList files;
  files.addGivenName(nullptr, L"unused.pdf");
  EXPECT_EQ(nameOf(files), L"");
}

TEST_F(ReportNameTest, IsAtMost260CharactersLong) {
  const std::wstring given = std::wstring(400, L'n') + L".pdf";
  FileList files;
  files.addGivenName(given.c_str());
  EXPECT_EQ(nameOf(files), std::wstring(260, L'n'));
}

TEST_F(ReportNameTest, NonAsciiNamesAreKept) {
  FileList files{L"Überblick 日報.pdf"};
  EXPECT_EQ(nameOf(files), L"Überblick 日報.pdf");
}

TEST_F(ReportNameTest, EachFileHasItsOwn) {
  FileList files{L"one.rpt", L"*.*"};
  files.addNothing();
  files.addGivenName(L"four.doc");
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  ASSERT_EQ(tryToOpen(&options, files), FENDREL_SUCCESS);
  ASSERT_EQ(post(job, {file(), file(), file(), file()}), FENDREL_SUCCESS);
  std::vector<std::wstring> names;
  for (const PostedMessage& message : mapi.messages()) names.push_back(valueOf(message.properties, PR_SUBJECT_W).text);
  EXPECT_THAT(names, ::testing::ElementsAre(L"one.rpt", L"untitled.txt", L"untitled.txt", L"four.doc"));
}

TEST_F(ReportNameTest, NamesAreCopiedWhileTheJobIsCreated) {
  std::wstring text = L"sales.pdf";
  {
    FileList files{text.c_str()};
    DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
    ASSERT_EQ(tryToOpen(&options, files), FENDREL_SUCCESS);
  }
  text = L"other.doc";
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(valueOf(mapi.messages().at(0).properties, PR_SUBJECT_W).text, L"sales.pdf");
}

}  // namespace
}  // namespace fendrel::test
