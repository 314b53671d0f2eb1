// Posting one report: the calls, their order, and where a failure ends them.
#include "report_message.h"

#include <filesystem>
#include <fstream>

#include "posting_world.h"
#include "temp_folder.h"

using namespace fendrel;
using testing::_;
using testing::InSequence;
using testing::Return;
using testing::StrictMock;

namespace {

class ReportMessage : public testing::Test {
 protected:
  ReportMessage() : path(temporary.file(L"sales.rpt")) { std::ofstream(std::filesystem::path(path)) << "the report"; }

  HRESULT post(bool associated = false) {
    return postReport(&folder, associated, {path.c_str(), L"sales.rpt", L"rpt", messageClass, sender, texts});
  }

  // Expects the calls up to one of them, which is left to the test.
  void expectMessage() { EXPECT_CALL(folder, CreateMessage(nullptr, 0, _)).WillOnce(handsOut(message)); }
  void expectProperties() {
    expectMessage();
    EXPECT_CALL(message, SetProps).WillOnce(Return(S_OK));
  }
  void expectAttachment() {
    expectProperties();
    EXPECT_CALL(message, CreateAttach(nullptr, 0, _, _)).WillOnce(handsOut(attachment));
  }
  void expectAttachmentProperties() {
    expectAttachment();
    EXPECT_CALL(attachment, SetProps).WillOnce(Return(S_OK));
  }
  void expectCopy() {
    expectAttachmentProperties();
    EXPECT_CALL(attachment, OpenProperty).WillOnce(handsOut(stream));
    EXPECT_CALL(stream, Write(_, 10, testing::NotNull())).WillOnce(Return(S_OK));
    EXPECT_CALL(attachment, SaveChanges(0)).WillOnce(Return(S_OK));
  }

  BoundMapi mapi32;
  TempFolder temporary;
  const std::wstring path;
  wchar_t messageClass[256] = L"IPM.Document.*rpt";
  SenderIdentity sender;
  ReportTexts texts;
  StrictMock<MockFolder> folder;
  StrictMock<MockMessage> message;
  StrictMock<MockAttachment> attachment;
  StrictMock<MockStream> stream;
  InSequence order;
};

TEST_F(ReportMessage, IsMadeCompleteBeforeItIsSaved) {
  expectCopy();
  EXPECT_CALL(message, SetReadFlag(CLEAR_READ_FLAG)).WillOnce(Return(S_OK));
  EXPECT_CALL(message, SaveChanges(0)).WillOnce(Return(S_OK));
  EXPECT_EQ(post(), S_OK);
  EXPECT_EQ(mapi32.heap.liveBlocks(), 0u);
}

TEST_F(ReportMessage, AllocatesRoomForSixteenAndForFiveProperties) {
  expectCopy();
  EXPECT_CALL(message, SetReadFlag).WillOnce(Return(S_OK));
  EXPECT_CALL(message, SaveChanges).WillOnce(Return(S_OK));
  post();
  EXPECT_THAT(mapi32.heap.allocations(), testing::ElementsAre(16 * sizeof(SPropValue), 5 * sizeof(SPropValue)));
}

TEST_F(ReportMessage, AssociatedOneIsCreatedAsSuch) {
  EXPECT_CALL(folder, CreateMessage(nullptr, MAPI_ASSOCIATED, _)).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_EQ(post(true), MAPI_E_NO_ACCESS);
}

TEST_F(ReportMessage, ResultsOfReadFlagAndSavingAreNotLookedAt) {
  expectCopy();
  EXPECT_CALL(message, SetReadFlag).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_CALL(message, SaveChanges).WillOnce(Return(MAPI_E_NOT_ENOUGH_DISK));
  EXPECT_EQ(post(), S_OK);
}

TEST_F(ReportMessage, WithoutAFolderIsAnInvalidParameter) {
  EXPECT_EQ(postReport(nullptr, false, {path.c_str(), L"a.rpt", L"rpt", messageClass, sender, texts}),
            MAPI_E_INVALID_PARAMETER);
}

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

TEST_F(ReportMessage, ThatIsCreatedAsNothingIsAnInvalidParameter) {
  EXPECT_CALL(folder, CreateMessage).WillOnce(Return(S_OK));
  EXPECT_EQ(post(), MAPI_E_INVALID_PARAMETER);
}

TEST_F(ReportMessage, WithoutMemoryForItsPropertiesIsNotSaved) {
  expectMessage();
  mapi32.heap.failAllocation(1);
  EXPECT_EQ(post(), MAPI_E_NOT_ENOUGH_MEMORY);
}

TEST_F(ReportMessage, WithRefusedPropertiesIsNotSaved) {
  expectMessage();
  EXPECT_CALL(message, SetProps).WillOnce(Return(MAPI_E_NO_ACCESS));
  EXPECT_EQ(post(), MAPI_E_NO_ACCESS);
}

TEST_F(ReportMessage, WithoutAnAttachmentIsNotSaved) {
  expectProperties();
  EXPECT_CALL(message, CreateAttach).WillOnce(Return(MAPI_E_NO_SUPPORT));
  EXPECT_EQ(post(), MAPI_E_NO_SUPPORT);
}

TEST_F(ReportMessage, WhoseAttachmentIsCreatedAsNothingIsNotSaved) {
  expectProperties();
  EXPECT_CALL(message, CreateAttach).WillOnce(Return(S_OK));
  EXPECT_EQ(post(), MAPI_E_INVALID_PARAMETER);
}

TEST_F(ReportMessage, WithoutMemoryForTheAttachmentsPropertiesIsNotSaved) {
  expectAttachment();
  mapi32.heap.failAllocation(2);
  EXPECT_EQ(post(), MAPI_E_NOT_ENOUGH_MEMORY);
}

TEST_F(ReportMessage, WithRefusedAttachmentPropertiesIsNotSaved) {
  expectAttachment();
  EXPECT_CALL(attachment, SetProps).WillOnce(Return(MAPI_E_CORRUPT_DATA));
  EXPECT_EQ(post(), MAPI_E_CORRUPT_DATA);
}

TEST_F(ReportMessage, WhoseFileIsNotCopiedIsNotSaved) {
  expectAttachmentProperties();
  EXPECT_CALL(attachment, OpenProperty).WillOnce(Return(MAPI_E_NOT_ENOUGH_DISK));
  EXPECT_EQ(post(), MAPI_E_NOT_ENOUGH_DISK);
}

}  // namespace
