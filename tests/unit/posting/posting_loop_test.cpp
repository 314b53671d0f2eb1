// Posting the files of one call in document mode.
#include "posting_loop.h"

#include <filesystem>
#include <fstream>

#include "posting_fixture.h"

using namespace fendrel;
using testing::DoDefault;
using testing::Return;

namespace {

class DocumentMode : public PostingFixture {
 protected:
  DocumentMode() { destination.type = FENDREL_REPORT_INSTANCE; }
};

TEST_F(DocumentMode, NoFilesOpenTheFolderAndPostNothing) {
  EXPECT_CALL(world.session, OpenMsgStore).Times(1).WillRepeatedly(DoDefault());
  EXPECT_EQ(post(), 0u);
  EXPECT_TRUE(world.top.messages.empty());
}

TEST_F(DocumentMode, EveryFileBecomesAnOrdinaryMessage) {
  addFile(L"sales.rpt", "the sales");
  addFile(L"stock.rpt", "the stock");
  EXPECT_EQ(post(), 0u);
  ASSERT_EQ(world.top.messages.size(), 2u);
  EXPECT_EQ(message(0).flags, 0u);
  EXPECT_EQ(message(0).find(PR_SUBJECT_W)->text, L"sales.rpt");
  EXPECT_EQ(message(0).content, "the sales");
  EXPECT_EQ(message(1).find(PR_SUBJECT_W)->text, L"stock.rpt");
  EXPECT_EQ(message(1).content, "the stock");
  EXPECT_TRUE(message(0).saved);
  EXPECT_TRUE(message(1).saved);
  EXPECT_EQ(message(0).find(PR_DISPLAY_NAME_W), nullptr);
  EXPECT_STREQ(errorText.get(), L"");
}

TEST_F(DocumentMode, ClassesGatherTheExtensionsOfTheFilesBefore) {
  addFile(L"a.rpt");
  addFile(L"b.pdf");
  addFile(L"c");
  addFile(L"d.x");
  EXPECT_EQ(post(), 0u);
  EXPECT_EQ(message(0).find(PR_MESSAGE_CLASS_W)->text, L"IPM.DOCUMENT.*RPT");
  EXPECT_EQ(message(1).find(PR_MESSAGE_CLASS_W)->text, L"IPM.DOCUMENT.*RPTPDF");
  EXPECT_EQ(message(2).find(PR_MESSAGE_CLASS_W)->text, L"IPM.DOCUMENT.*RPTPDF");
  EXPECT_EQ(message(3).find(PR_MESSAGE_CLASS_W)->text, L"IPM.DOCUMENT.*RPTPDFX");
}

TEST_F(DocumentMode, ClassOfTheNextCallBeginsAnew) {
  addFile(L"a.rpt");
  post();
  post();
  EXPECT_EQ(message(1).find(PR_MESSAGE_CLASS_W)->text, L"IPM.DOCUMENT.*RPT");
}

TEST_F(DocumentMode, ClassEndsAt255Characters) {
  addFile(L"a." + std::wstring(200, L'x'));
  addFile(L"b." + std::wstring(200, L'y'));
  EXPECT_EQ(post(), 0u);
  EXPECT_EQ(message(1).find(PR_MESSAGE_CLASS_W)->text,
            L"IPM.DOCUMENT.*" + std::wstring(200, L'X') + std::wstring(41, L'Y'));
}

TEST_F(DocumentMode, ExtensionIsSetOnTheAttachmentWithoutItsDot) {
  addFile(L"a.b.Rpt");
  addFile(L"noextension");
  post();
  EXPECT_EQ(message(0).attachmentProperties[2].text, L"Rpt");
  EXPECT_EQ(message(1).attachmentProperties[2].text, L"");
}

TEST_F(DocumentMode, FailedFileDoesNotStopTheOnesBehindIt) {
  addFile(L"a.rpt");
  addMissingFile(L"b.rpt");
  addFile(L"c.rpt");
  EXPECT_EQ(post(), 0u) << "the result is that of the last file";
  ASSERT_EQ(world.top.messages.size(), 3u);
  EXPECT_TRUE(message(0).saved);
  EXPECT_FALSE(message(1).saved);
  EXPECT_TRUE(message(2).saved);
  EXPECT_STREQ(errorText.get(), L"") << "only the last file's result is mapped";
}

TEST_F(DocumentMode, FailedFilesExtensionStaysInTheClass) {
  addMissingFile(L"a.rpt");
  addFile(L"b.pdf");
  post();
  EXPECT_EQ(message(1).find(PR_MESSAGE_CLASS_W)->text, L"IPM.DOCUMENT.*RPTPDF");
}

TEST_F(DocumentMode, FailureOfTheLastFileIsTheResult) {
  addFile(L"a.rpt");
  addMissingFile(L"b.rpt");
  EXPECT_EQ(post(), FENDREL_FAILED);
  EXPECT_STREQ(errorText.get(), L"MAPI_E_CALL_FAILED");
  EXPECT_TRUE(message(0).saved);
}

TEST_F(DocumentMode, FailureIsMappedToTheHostsCode) {
  addFile(L"a.rpt");
  EXPECT_CALL(world.top, CreateMessage).WillOnce(Return(MAPI_E_NOT_ENOUGH_DISK));
  EXPECT_EQ(post(), FENDREL_NOT_ENOUGH_DISK);
  EXPECT_STREQ(errorText.get(), L"");
}

TEST_F(DocumentMode, FileWithoutANameIsAnInvalidParameterAndTheOthersArePosted) {
  addFile(L"a.rpt");
  addFile(L"b.rpt");
  fileNames.pop_back();
  EXPECT_EQ(post(), FENDREL_FAILED);
  EXPECT_STREQ(errorText.get(), L"MAPI_E_INVALID_PARAMETER");
  ASSERT_EQ(world.top.messages.size(), 1u);
  EXPECT_TRUE(message(0).saved);
}

TEST_F(DocumentMode, FileWithoutAPathIsAnInvalidParameter) {
  fileNames.push_back(L"a.rpt");
  paths.push_back(nullptr);
  addFile(L"b.rpt");
  EXPECT_EQ(post(), 0u);
  EXPECT_EQ(world.top.messages.size(), 1u);
  fileNames.pop_back();
  paths.pop_back();
  EXPECT_EQ(post(), FENDREL_FAILED);
  EXPECT_STREQ(errorText.get(), L"MAPI_E_INVALID_PARAMETER");
}

TEST_F(DocumentMode, FewerFilesThanNamesPostTheFirstOnes) {
  addFile(L"a.rpt");
  fileNames.push_back(L"b.rpt");
  EXPECT_EQ(post(), 0u);
  EXPECT_EQ(world.top.messages.size(), 1u);
}

TEST_F(DocumentMode, FolderThatDoesNotOpenPostsNothing) {
  addFile(L"a.rpt");
  destination.folderPath = L"Nowhere";
  EXPECT_EQ(post(), FENDREL_FAILED);
  EXPECT_STREQ(errorText.get(), L"MAPI object not found.");
  EXPECT_TRUE(world.top.messages.empty());
}

TEST_F(DocumentMode, WithoutAPathTheCallFails) {
  destination.folderPath.reset();
  EXPECT_EQ(post(), FENDREL_FAILED);
  EXPECT_STREQ(errorText.get(), L"MAPI_E_CALL_FAILED");
}

TEST_F(DocumentMode, SenderGoesIntoEveryMessage) {
  sender = {{std::byte{'i'}}, L"Ann", {std::byte{'k'}}};
  addFile(L"a.rpt");
  addFile(L"b.rpt");
  post();
  EXPECT_EQ(message(0).find(PR_SENDER_NAME_W)->text, L"Ann");
  EXPECT_EQ(message(1).find(PR_SENDER_NAME_W)->text, L"Ann");
}

TEST_F(DocumentMode, FolderAndStoreAreReleasedAtTheEnd) {
  addFile(L"a.rpt");
  post();
  EXPECT_FALSE(world.top.isHeld());
  EXPECT_FALSE(world.store.isHeld());
  EXPECT_FALSE(world.session.isHeld());
  EXPECT_EQ(world.mapi32.heap.liveBlocks(), 0u);
}

}  // namespace
