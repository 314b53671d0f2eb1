// An export on a system without wide functions.
#include "charset_mode.h"
#include "posting_fixture.h"

using namespace fendrel;

namespace {

class AnsiPosting : public PostingFixture {
 protected:
  AnsiPosting() { g_bUseAnsi = true; }
  ~AnsiPosting() override { g_bUseAnsi = false; }
};

TEST_F(AnsiPosting, ClassIsUpperCasedThroughTheCodePage) {
  addFile(
      L"sales.gr\xF6\xDF"
      L"e");
  EXPECT_EQ(post(), 0u);
  EXPECT_EQ(message(0).find(PR_MESSAGE_CLASS_W)->text,
            L"IPM.DOCUMENT.*GR\xD6\xDF"
            L"E");
}

TEST_F(AnsiPosting, FileIsFoundByItsConvertedName) {
  addFile(L"sales.txt", "the content");
  EXPECT_EQ(post(), 0u);
  EXPECT_EQ(message(0).content, "the content");
}

}  // namespace
