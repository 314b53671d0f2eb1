// A mail system that returns success without an object.
#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

const Answer invalidParameter{FENDREL_FAILED, L"MAPI_E_INVALID_PARAMETER"};

struct Nothing {
  const char* row;
  const char* call;
  Answer answer;
};

class OpensAsNothing : public JobTest, public ::testing::WithParamInterface<Nothing> {};

TEST_P(OpensAsNothing, AndTheFileIsNotPosted) {
  open();
  mapi.answer(GetParam().call, 1, RECORDING_NOTHING);
  EXPECT_EQ(postAndRead(job, {file()}), GetParam().answer);
  for (const PostedMessage& message : mapi.messages()) EXPECT_FALSE(message.saved);
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS) << "the next export is as any other";
}

INSTANTIATE_TEST_SUITE_P(What, OpensAsNothing,
                         ::testing::Values(Nothing{"Store", "IMAPISession::OpenMsgStore", callFailed},
                                           Nothing{"Folder", "IMsgStore::OpenEntry", notFound},
                                           Nothing{"Message", "IMAPIFolder::CreateMessage", invalidParameter},
                                           Nothing{"Attachment", "IMessage::CreateAttach", invalidParameter},
                                           Nothing{"Stream", "IAttach::OpenProperty", callFailed}),
                         [](const auto& test) { return std::string(test.param.row); });

TEST_F(JobTest, DefaultStoreThatOpensAsNothingIsNotFound) {
  open(unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT));
  mapi.answer("IMAPISession::OpenMsgStore", 1, RECORDING_NOTHING);
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
}

TEST_F(JobTest, LogonThatOpensNothingIsAFailure) {
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  FileList files{L"report.txt"};
  mapi.answer("MAPILogonEx", 1, RECORDING_NOTHING);
  EXPECT_EQ(tryToOpen(&options, files), FENDREL_FAILED);
}

TEST_F(JobTest, UserThatOpensAsNothingPostsWithoutSender) {
  mapi.answer("IMAPISession::OpenEntry", 1, RECORDING_NOTHING);
  open();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_THAT(tagsOf(mapi.messages().at(0).properties), Not(Contains(PR_SENDER_ENTRYID)));
}

// An empty identifier would open the store's root.
TEST_F(JobTest, FolderWithoutAnIdentifierIsNotFound) {
  open();
  constexpr int entryIdColumn = 1;
  mapi.answer("IMAPITable::QueryRows", 2, RECORDING_ERROR_VALUES, entryIdColumn);
  EXPECT_EQ(postAndRead(job, {file()}), notFound);
  EXPECT_THAT(mapi.messages(), IsEmpty());
}

}  // namespace
}  // namespace fendrel::test
