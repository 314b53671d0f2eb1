// Posting one report with missing arguments.
#include "report_message.h"

#include <filesystem>
#include <fstream>

#include "posting_world.h"
#include "temp_folder.h"

using namespace fendrel;
using testing::_;
using testing::StrictMock;

namespace {

class ReportMessage : public testing::Test {
 protected:
  ReportMessage() : path(temporary.file(L"sales.rpt")) { std::ofstream(std::filesystem::path(path)) << "the report"; }

  void expectMessage() { EXPECT_CALL(folder, CreateMessage(nullptr, 0, _)).WillOnce(handsOut(message)); }

  BoundMapi mapi32;
  TempFolder temporary;
  const std::wstring path;
  wchar_t messageClass[256] = L"IPM.Document.*rpt";
  SenderIdentity sender;
  ReportTexts texts;
  StrictMock<MockFolder> folder;
  StrictMock<MockMessage> message;
};

TEST_F(ReportMessage, WithoutAPathIsAnInvalidParameterAndNoMessage) {
  EXPECT_EQ(postReport(&folder, false, {nullptr, L"a.rpt", L"rpt", messageClass, sender, texts}),
            MAPI_E_INVALID_PARAMETER);
}

TEST_F(ReportMessage, WithoutANameIsAnInvalidParameterBeforeAnythingIsSet) {
  expectMessage();
  EXPECT_EQ(postReport(&folder, false, {path.c_str(), nullptr, L"rpt", messageClass, sender, texts}),
            MAPI_E_INVALID_PARAMETER);
}

TEST_F(ReportMessage, WithoutAClassIsAnInvalidParameterBeforeAnythingIsSet) {
  expectMessage();
  EXPECT_EQ(postReport(&folder, false, {path.c_str(), L"a.rpt", L"rpt", nullptr, sender, texts}),
            MAPI_E_INVALID_PARAMETER);
}

}  // namespace
