// Comment and body from a report file's tagged items.
#include <gmock/gmock.h>

#include "failing_memory.h"
#include "report_naming.h"
#include "temp_folder.h"
#include "tlv_file.h"

using namespace fendrel;
using testing::Eq;
using testing::Optional;

namespace {

class ReportTextsOf : public testing::Test {
 protected:
  // Makes a report of these items.
  std::wstring report(std::initializer_list<std::pair<std::uint16_t, std::wstring>> items) {
    const std::wstring path = folder_.file(L"report.rpt");
    std::unique_ptr<TLVFile> stream;
    EXPECT_EQ(CreateTLVFile(path.c_str(), openForReadWrite, 0, stream), fileSuccess);
    for (const auto& [tag, text] : items)
      EXPECT_EQ(stream->WriteItem(tag, static_cast<std::uint16_t>(text.size() * sizeof(wchar_t)), text.data()),
                fileSuccess);
    return path;
  }

  static ReportTexts read(const std::wstring& path) {
    ReportTexts texts;
    readReportTexts(path.c_str(), texts);
    return texts;
  }

  TempFolder folder_;
};

TEST_F(ReportTextsOf, CommentAndBodyAreTaken) {
  const ReportTexts texts = read(report({{7, L"other"}, {4121, L"Comment"}, {4122, L"Body"}}));
  EXPECT_THAT(texts.comment, Optional(Eq(L"Comment")));
  EXPECT_THAT(texts.body, Optional(Eq(L"Body")));
}

TEST_F(ReportTextsOf, TextEndsAtItsTerminator) {
  const ReportTexts texts =
      read(report({{4121, std::wstring(L"Comment\0rest", 12)}, {4122, std::wstring(L"Body\0", 5)}}));
  EXPECT_THAT(texts.comment, Optional(Eq(L"Comment")));
  EXPECT_THAT(texts.body, Optional(Eq(L"Body")));
}

TEST_F(ReportTextsOf, FirstCommentCounts) {
  EXPECT_THAT(read(report({{4121, L"first"}, {4121, L"second"}, {4122, L"b"}})).comment, Optional(Eq(L"first")));
}

TEST_F(ReportTextsOf, EmptyCommentIsNone) {
  const ReportTexts texts = read(report({{4121, L""}, {4121, L"second"}, {4122, L"b"}}));
  EXPECT_EQ(texts.comment, std::nullopt);
}

TEST_F(ReportTextsOf, NothingBehindTheBodyIsRead) {
  const ReportTexts texts = read(report({{4122, L"Body"}, {4121, L"Comment"}}));
  EXPECT_EQ(texts.comment, std::nullopt);
  EXPECT_THAT(texts.body, Optional(Eq(L"Body")));
}

TEST_F(ReportTextsOf, ReportWithoutTheItemsHasNeither) {
  const ReportTexts texts = read(report({{7, L"other"}}));
  EXPECT_EQ(texts.comment, std::nullopt);
  EXPECT_EQ(texts.body, std::nullopt);
}

TEST_F(ReportTextsOf, MissingFileHasNeither) {
  const ReportTexts texts = read(folder_.file(L"missing.rpt"));
  EXPECT_EQ(texts.comment, std::nullopt);
  EXPECT_EQ(texts.body, std::nullopt);
}

TEST_F(ReportTextsOf, CommentBeforeATruncatedItemIsKept) {
  const std::wstring path = report({{4121, L"Comment"}, {4122, L"Body"}});
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  SetFilePointer(file, -2, nullptr, FILE_END);
  SetEndOfFile(file);
  CloseHandle(file);
  const ReportTexts texts = read(path);
  EXPECT_THAT(texts.comment, Optional(Eq(L"Comment")));
  EXPECT_EQ(texts.body, std::nullopt);
}

// A text without memory is left out, and the others are taken.
class ReportTextsRuntimeHeap : public ReportTextsOf {};

TEST_F(ReportTextsRuntimeHeap, TextWithoutMemoryIsLeftOut) {
  const std::wstring path = report({{4121, std::wstring(100, L'c')}, {4122, std::wstring(100, L'b')}});
  int withoutComment = 0, withoutBody = 0, nth = 1;
  for (; nth < 100; ++nth) {
    SCOPED_TRACE(nth);
    ReportTexts texts;
    const auto outcome = withFailingAllocation(nth, [&] { readReportTexts(path.c_str(), texts); });
    if (texts.comment) {
      EXPECT_EQ(*texts.comment, std::wstring(100, L'c'));
    }
    if (texts.body) {
      EXPECT_EQ(*texts.body, std::wstring(100, L'b'));
    }
    withoutComment += !texts.comment && texts.body;
    withoutBody += texts.comment && !texts.body;
    if (!outcome.failed) break;
  }
  EXPECT_LT(nth, 100);
  EXPECT_EQ(withoutComment, 1);
  EXPECT_GT(withoutBody, 0);
}

}  // namespace
