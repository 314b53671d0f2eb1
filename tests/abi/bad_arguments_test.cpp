// Invalid arguments: each gives 5, takes nothing from MAPI and reads nothing out of bounds.
#include <cstring>

#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::IsEmpty;

class BadArgumentTest : public JobTest {
 protected:
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders@Reports");
  FileList files{L"report.txt"};
  FendrelJob made = 0;
  FendrelResult* record = nullptr;
};

TEST_F(BadArgumentTest, NoPlaceForTheJobGivesFive) {
  EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), nullptr, &record),
            FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(mapi.counts().sessions, 0u);
}

TEST_F(BadArgumentTest, NoPlaceForTheResultRecordGivesFive) {
  EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), &made, nullptr),
            FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(made, 0u);
  EXPECT_EQ(mapi.counts().sessions, 0u);
}

TEST_F(BadArgumentTest, NoFileListGivesFive) {
  EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, nullptr, &made, &record), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(made, 0u);
}

TEST_F(BadArgumentTest, FileListWithoutItsFilesGivesFive) {
  FendrelFileList list{};
  list.size = sizeof list;
  list.fileCount = 3;
  EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, &list, &made, &record), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(made, 0u);
}

TEST_F(BadArgumentTest, NoExportDescriptionGivesFive) {
  open();
  EXPECT_EQ(plugin().exportToDestination(job, nullptr), FENDREL_INVALID_ARGUMENT);
  EXPECT_THAT(mapi.callsOf("IMAPISession::GetMsgStoresTable"), IsEmpty());
}

TEST_F(BadArgumentTest, ExportDescriptionWithoutItsPathsGivesFive) {
  open();
  FendrelExportDescription description{};
  description.size = sizeof description;
  description.fileCount = 2;
  EXPECT_EQ(plugin().exportToDestination(job, &description), FENDREL_INVALID_ARGUMENT);
}

TEST_F(BadArgumentTest, NoJobGivesFive) { EXPECT_EQ(post(0, {file()}), FENDREL_INVALID_ARGUMENT); }

TEST_F(BadArgumentTest, UnknownJobGivesFive) {
  open();
  EXPECT_EQ(post(job + 0x10000, {file()}), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(plugin().getErrorText(job + 0x10000), nullptr);
}

TEST_F(BadArgumentTest, NoPlaceForTheEncodedBlockGivesFive) {
  open();
  uint16_t size = 0;
  EXPECT_EQ(plugin().encodeOptions(job, nullptr, &size), FENDREL_INVALID_ARGUMENT);
}

TEST_F(BadArgumentTest, NoPlaceForTheEncodedSizeGivesFive) {
  open();
  DestinationOptions* block = nullptr;
  EXPECT_EQ(plugin().encodeOptions(job, &block, nullptr), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(block, nullptr);
}

TEST_F(BadArgumentTest, NoPlaceForTheDecodedRecordGivesFive) {
  open();
  EXPECT_EQ(plugin().decodeOptions(job, nullptr), FENDREL_INVALID_ARGUMENT);
}

TEST_F(BadArgumentTest, BytesThatAreNotReadMayHoldAnything) {
  FendrelFileDescription file;
  std::memset(&file, 0xCC, sizeof file);
  file.nameGiven = 0;
  file.fileNameTemplate = L"sales.pdf";
  const FendrelFileDescription* const descriptions[] = {&file};
  FendrelFileList list;
  std::memset(&list, 0xCC, sizeof list);
  list.fileCount = 1;
  list.files = descriptions;
  ASSERT_EQ(plugin().initExportDestination(nullptr, 0xCCCCCCCC, &options, &list, &made, &record), FENDREL_SUCCESS);
  FendrelExportDescription description;
  std::memset(&description, 0xCC, sizeof description);
  const std::wstring path = this->file();
  const wchar_t* const paths[] = {path.c_str()};
  description.fileCount = 1;
  description.filePaths = paths;
  EXPECT_EQ(plugin().exportToDestination(made, &description), FENDREL_SUCCESS);
  EXPECT_EQ(valueOf(mapi.messages().at(0).properties, PR_SUBJECT_W).text, L"sales.pdf");
  plugin().termExportDestination(made);
}

TEST_F(BadArgumentTest, MissingPathGivesInvalidParameterBeforeAMessageIsCreated) {
  open();
  FilePaths paths({});
  paths.addNull();
  EXPECT_EQ(plugin().exportToDestination(job, paths.record()), FENDREL_FAILED);
  EXPECT_EQ(errorText(job), L"MAPI_E_INVALID_PARAMETER");
  EXPECT_THAT(mapi.messages(), IsEmpty());
}

TEST_F(BadArgumentTest, SurplusFilesGiveInvalidParameterAndTheOthersArePosted) {
  open({L"one.txt", L"two.txt"});
  EXPECT_EQ(postAndRead(job, {file(), file(), file()}), (Answer{FENDREL_FAILED, L"MAPI_E_INVALID_PARAMETER"}));
  EXPECT_EQ(mapi.messages().size(), 2u);
}

TEST_F(BadArgumentTest, SurplusFileOfAJobWithoutFilesGivesInvalidParameter) {
  FileList none;
  ASSERT_EQ(tryToOpen(&options, none), FENDREL_SUCCESS);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_FAILED, L"MAPI_E_INVALID_PARAMETER"}));
  EXPECT_THAT(mapi.messages(), IsEmpty());
}

}  // namespace
}  // namespace fendrel::test
