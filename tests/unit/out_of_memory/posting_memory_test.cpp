// The copy buffer of an attachment without memory.
#include "bound_mapi.h"
#include "failing_memory.h"
#include "report_file.h"

using namespace fendrel;

namespace {

TEST(PostingMemory, MissingCopyBufferIsAnInvalidParameterBeforeAnyCall) {
  const BoundMapi mapi32;
  testing::StrictMock<MockAttachment> attachment;
  HRESULT result = S_OK;
  const auto outcome = withFailingAllocation(1, [&] { result = copyFileIntoAttachment(L"C:\\any.rpt", &attachment); });
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(result, MAPI_E_INVALID_PARAMETER);
}

}  // namespace
