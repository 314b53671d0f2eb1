// Failures of an export as codes and words.
#include "abi_test.h"

namespace fendrel::test {
namespace {

class MappedFailure : public JobTest, public ::testing::WithParamInterface<Mapped> {};

TEST_P(MappedFailure, OfTheLastFileGivesItsCodeAndWords) {
  open();
  mapi.fail("IMAPIFolder::CreateMessage", 1, GetParam().result);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{GetParam().code, GetParam().text}));
}

TEST_P(MappedFailure, OfTheFolderGivesItsCodeAndWords) {
  open();
  mapi.fail("IMsgStore::OpenEntry", 3, GetParam().result);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{GetParam().code, GetParam().text}));
}

TEST_P(MappedFailure, WithoutWordsLeavesThoseOfTheFailureBefore) {
  open();
  ASSERT_EQ(postAndRead(job, {missingFile()}), (Answer{FENDREL_FAILED, L"MAPI_E_CALL_FAILED"}));
  mapi.fail("IMAPIFolder::CreateMessage", 1, GetParam().result);
  const std::wstring expected = *GetParam().text ? GetParam().text : L"MAPI_E_CALL_FAILED";
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{GetParam().code, expected}));
}

INSTANTIATE_TEST_SUITE_P(With, MappedFailure, ::testing::ValuesIn(mappedResults),
                         [](const auto& test) { return test.param.name; });

TEST_F(JobTest, UnknownResultIsWrittenInEightUpperCaseDigits) {
  open();
  mapi.fail("IMAPIFolder::CreateMessage", 1, static_cast<HRESULT>(0x800400ab));
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_FAILED, L"Error code 0x800400AB returned."}));
}

TEST_F(JobTest, WarningOfAnyCallIsNoFailure) {
  open();
  mapi.fail("IMAPIFolder::CreateMessage", 1, MAPI_W_PARTIAL_COMPLETION);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_SUCCESS, L""}));
}

TEST_F(JobTest, ErrorTextStaysAfterALaterSuccess) {
  open();
  ASSERT_EQ(post(job, {missingFile()}), FENDREL_FAILED);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_SUCCESS, L"MAPI_E_CALL_FAILED"}));
}

TEST_F(JobTest, ErrorTextIsReplacedByTheNextFailuresWords) {
  open();
  ASSERT_EQ(post(job, {missingFile()}), FENDREL_FAILED);
  mapi.fail("IMAPIFolder::CreateMessage", 1, MAPI_E_NO_ACCESS);
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_FAILED, L"No access right to post file to Exchange Folders."}));
}

TEST_F(JobTest, ErrorTextIsAtTheSameAddressAsLongAsTheJobLives) {
  open();
  const wchar_t* const before = plugin().getErrorText(job);
  ASSERT_EQ(post(job, {missingFile()}), FENDREL_FAILED);
  EXPECT_EQ(plugin().getErrorText(job), before);
}

TEST_F(JobTest, FailureOfAFileThatIsNotTheLastLeavesNoWords) {
  open({L"one.txt", L"two.txt"});
  mapi.fail("IMAPIFolder::CreateMessage", 1, MAPI_E_NO_ACCESS);
  EXPECT_EQ(postAndRead(job, {file(), file()}), (Answer{FENDREL_SUCCESS, L""}));
}

}  // namespace
}  // namespace fendrel::test
