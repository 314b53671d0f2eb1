#include <gmock/gmock.h>
#include <mapitags.h>

#include "progress.h"
#include "property_names.h"
#include "property_text.h"

namespace fendrel::host {
namespace {

TEST(Progress, BarShowsShareFilesBytesRateAndName) {
  EXPECT_EQ(Progress::render("posted", 5, 10, 5u << 20, 10u << 20, 2.0, "sales.pdf", 200),
            "[##########..........]  50 %  5 of 10 files posted, 5.0 MiB, 2.5 MiB/s, 0:02 left  sales.pdf");
}

TEST(Progress, BarOfEmptyFilesCountsFiles) {
  EXPECT_EQ(Progress::render("saved", 1, 4, 0, 0, 0.1, "", 200), "[#####...............]  25 %  1 of 4 files saved");
}

TEST(Progress, BarKeepsToTheWidth) {
  const std::string text = Progress::render("posted", 1, 2, 1, 2, 0.1, std::string(500, 'n'), 79);
  EXPECT_EQ(text.size(), 78u + 3u);  // the ellipsis takes one column and three bytes
}

std::uint64_t g_bytesRead = 0;

TEST(Progress, BytesThatTheProcessReadsCountWhileAFileIsPosted) {
  using testing::HasSubstr;
  g_bytesRead = 100;
  Progress progress("posted", 2, 8u << 20, [] { return g_bytesRead; });
  progress.startUntoldFile("a.pdf", 6u << 20);
  EXPECT_THAT(progress.text(), HasSubstr("  0 %  0 of 2 files posted  a.pdf"));
  g_bytesRead += 2u << 20;
  EXPECT_THAT(progress.text(), HasSubstr(" 25 %  0 of 2 files posted, 2.0 MiB"));
  g_bytesRead += 40u << 20;
  EXPECT_THAT(progress.text(), HasSubstr(" 75 %  0 of 2 files posted, 6.0 MiB")) << "never more than the file has";
  progress.endFile();
  g_bytesRead += 1u << 20;
  EXPECT_THAT(progress.text(), HasSubstr(" 75 %  1 of 2 files posted, 6.0 MiB"));
}

TEST(PropertyNames, NameIsFoundWhateverTheType) {
  EXPECT_EQ(propertyName(PR_SUBJECT_W), "PR_SUBJECT");
  EXPECT_EQ(propertyName(PR_SUBJECT_A), "PR_SUBJECT");
  EXPECT_EQ(propertyName(PROP_TAG(PT_ERROR, PROP_ID(PR_ATTACH_DATA_BIN))), "PR_ATTACH_DATA_BIN");
  EXPECT_EQ(propertyName(0x66EE0003), "0x66EE");
  EXPECT_EQ(propertyTypeName(PR_SUBJECT_W), "PT_UNICODE");
  EXPECT_EQ(propertyTypeName(0x66EE1003), "PT_MV_LONG");
  EXPECT_EQ(propertyTypeName(0x66EE0099), "0x0099");
}

TEST(PropertyText, LongBinaryIsCutInTextAndWholeInJson) {
  std::vector<BYTE> bytes(30, 0xAB);
  SPropValue value{};
  value.ulPropTag = PR_SEARCH_KEY;
  value.Value.bin = {30, bytes.data()};
  const PropertyText text = propertyText(value);
  EXPECT_EQ(text.value, "ABABABABABABABABABABABABABABABABABABABABABABABAB... (30 bytes)");
  EXPECT_EQ(text.json.get<std::string>().size(), 60u);
}

TEST(PropertyText, ErrorsAreNamed) {
  SPropValue value{};
  value.ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(PR_BODY));
  value.Value.err = static_cast<SCODE>(0x8004010F);
  EXPECT_EQ(propertyText(value).value, "MAPI_E_NOT_FOUND");
}

TEST(PropertyText, TextIsShownOnOneLineAndKeptWhole) {
  wchar_t body[] = L"two\nlines";
  SPropValue value{};
  value.ulPropTag = PR_BODY_W;
  value.Value.lpszW = body;
  EXPECT_EQ(propertyText(value).value, "two\xEF\xBF\xBDlines");
  EXPECT_EQ(propertyText(value).json, "two\nlines");
}

}  // namespace
}  // namespace fendrel::host
