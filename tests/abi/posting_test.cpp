// How files become messages: the calls and the properties.
#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PostingTest : public JobTest {
 protected:
  std::vector<std::string> linesAfter(std::size_t before, bool releases = false) const {
    std::vector<std::string> lines;
    const auto all = mapi.everything();
    for (std::size_t index = before; index < all.size(); ++index)
      if (all[index].kind == RECORDED_CALL || (releases && all[index].kind == RECORDED_RELEASE))
        lines.push_back(all[index].line());
    return lines;
  }
};

// Replaces the two times, which differ from run to run.
std::string withoutTimes(std::string line) {
  for (const std::string name : {"PR_CLIENT_SUBMIT_TIME=", "PR_MESSAGE_DELIVERY_TIME="}) {
    const auto start = line.find(name);
    if (start == std::string::npos) continue;
    const auto value = start + name.size();
    line.replace(value, line.find(' ', value) - value, "T");
  }
  return line;
}

TEST_F(PostingTest, CallsAreMadeInThisOrder) {
  open({L"sales.pdf"});
  const auto before = mapi.everything().size();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  auto lines = linesAfter(before);
  for (std::string& line : lines) line = withoutTimes(line);
  const std::string message = "Public Folders@Reports@Daily message 1";
  EXPECT_THAT(
      lines,
      ElementsAre(
          "IMAPISession::GetMsgStoresTable [Default] flags=0x0",
          "IMAPITable::Restrict [message stores] restriction=null flags=0x0",
          "IMAPITable::SetColumns [message stores] columns=PR_DISPLAY_NAME_A,PR_ENTRYID flags=0x0",
          "IMAPITable::GetRowCount [message stores] flags=0x0", "IMAPITable::SeekRow [message stores] origin=0 rows=0",
          "IMAPITable::QueryRows [message stores] rows=50 flags=0x0",
          "IMAPISession::OpenMsgStore [Default] window=0x0 entry=\"Public Folders\" interface=IID_IMsgStore flags=0x5",
          "HrGetOneProp [] property=PR_IPM_SUBTREE_ENTRYID",
          "IMsgStore::OpenEntry [Public Folders] entry=\"Public Folders (subtree)\" interface=null flags=0x10",
          "IMAPIFolder::GetHierarchyTable [Public Folders (subtree)] flags=0x0",
          "IMAPITable::Restrict [hierarchy of Public Folders (subtree)] restriction=null flags=0x0",
          "IMAPITable::SetColumns [hierarchy of Public Folders (subtree)] columns=PR_DISPLAY_NAME_A,PR_ENTRYID "
          "flags=0x0",
          "IMAPITable::GetRowCount [hierarchy of Public Folders (subtree)] flags=0x0",
          "IMAPITable::SeekRow [hierarchy of Public Folders (subtree)] origin=0 rows=0",
          "IMAPITable::QueryRows [hierarchy of Public Folders (subtree)] rows=50 flags=0x0",
          "IMsgStore::OpenEntry [Public Folders] entry=\"Public Folders@Reports\" interface=IID_IMAPIFolder flags=0x10",
          "IMAPIFolder::GetHierarchyTable [Public Folders@Reports] flags=0x0",
          "IMAPITable::Restrict [hierarchy of Public Folders@Reports] restriction=null flags=0x0",
          "IMAPITable::SetColumns [hierarchy of Public Folders@Reports] columns=PR_DISPLAY_NAME_A,PR_ENTRYID flags=0x0",
          "IMAPITable::GetRowCount [hierarchy of Public Folders@Reports] flags=0x0",
          "IMAPITable::SeekRow [hierarchy of Public Folders@Reports] origin=0 rows=0",
          "IMAPITable::QueryRows [hierarchy of Public Folders@Reports] rows=50 flags=0x0",
          "IMsgStore::OpenEntry [Public Folders] entry=\"Public Folders@Reports@Daily\" interface=IID_IMAPIFolder "
          "flags=0x1",
          "IMAPIFolder::CreateMessage [Public Folders@Reports@Daily] interface=null flags=0x0",
          "IMessage::SetProps [" + message +
              "] count=13 PR_SUBJECT_W=\"sales.pdf\" PR_MESSAGE_CLASS_W=\"IPM.DOCUMENT.*PDF\" PR_CLIENT_SUBMIT_TIME=T "
              "PR_MESSAGE_DELIVERY_TIME=T PR_SENSITIVITY=0 PR_CONVERSATION_TOPIC_W=\"sales.pdf\" "
              "PR_SENDER_ENTRYID=<00000000ada1> PR_SENDER_NAME_W=\"Ada Lovelace\" "
              "PR_SENDER_SEARCH_KEY=<534d54503a41444100> PR_SENT_REPRESENTING_ENTRYID=<00000000ada1> "
              "PR_SENT_REPRESENTING_NAME_W=\"Ada Lovelace\" PR_SENT_REPRESENTING_SEARCH_KEY=<534d54503a41444100> "
              "PR_IMPORTANCE=1",
          "IMessage::CreateAttach [" + message + "] interface=null flags=0x0",
          "IAttach::SetProps [" + message +
              " attachment 0] count=5 PR_ATTACH_LONG_FILENAME_W=\"sales.pdf\" PR_ATTACH_METHOD=1 "
              "PR_ATTACH_EXTENSION_W=\"pdf\" PR_ATTACH_FILENAME_W=\"sales.pdf\" PR_DISPLAY_NAME_W=\"sales.pdf\"",
          "IAttach::OpenProperty [" + message +
              " attachment 0] property=PR_ATTACH_DATA_BIN interface=IID_IStream options=0x1001 flags=0x3",
          "IStream::Write [" + message + " attachment 0 content] bytes=7",
          "IAttach::SaveChanges [" + message + " attachment 0] flags=0x0",
          "IMessage::SetReadFlag [" + message + "] flags=0x4", "IMessage::SaveChanges [" + message + "] flags=0x0"));
}

TEST_F(PostingTest, FolderIsReleasedBeforeItsStoreAtTheVeryEnd) {
  openPath(L"Public Folders@Reports");
  const auto before = mapi.everything().size();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  const auto lines = linesAfter(before, true);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[lines.size() - 2], "IMAPIFolder::Release [Public Folders@Reports] ");
  EXPECT_EQ(lines[lines.size() - 1], "IMsgStore::Release [Public Folders] ");
}

TEST_F(PostingTest, EachFolderOfThePathIsReleasedBeforeItsChildIsOpened) {
  open();
  const auto before = mapi.everything().size();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  const auto lines = linesAfter(before, true);
  const auto released = std::ranges::find(lines, "IMAPIFolder::Release [Public Folders@Reports] ");
  const auto opened = std::ranges::find_if(lines, [](const std::string& line) {
    return line.find("OpenEntry") != std::string::npos && line.find("@Daily") != std::string::npos;
  });
  ASSERT_NE(released, lines.end());
  ASSERT_NE(opened, lines.end());
  EXPECT_LT(released, opened);
}

TEST_F(PostingTest, StreamIsReleasedWithoutACommitBeforeTheAttachmentIsSaved) {
  open();
  const auto before = mapi.everything().size();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  const auto lines = linesAfter(before, true);
  EXPECT_THAT(mapi.callsOf("IStream::Commit"), IsEmpty());
  const auto released =
      std::ranges::find_if(lines, [](const std::string& line) { return line.starts_with("IStream::Release"); });
  const auto saved =
      std::ranges::find_if(lines, [](const std::string& line) { return line.starts_with("IAttach::SaveChanges"); });
  EXPECT_LT(released, saved);
}

TEST_F(PostingTest, AttachmentIsReleasedBeforeTheMessage) {
  open();
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  std::vector<std::string> releases;
  for (const Call& call : mapi.everything())
    if (call.name == "IAttach::Release" || call.name == "IMessage::Release") releases.push_back(call.name);
  EXPECT_THAT(releases, ElementsAre("IAttach::Release", "IMessage::Release"));
}

TEST_F(PostingTest, MessageIsOrdinaryAndSaved) {
  const PostedMessage message = postOne();
  EXPECT_FALSE(message.associated);
  EXPECT_TRUE(message.saved);
  EXPECT_EQ(message.folder, "Public Folders@Reports@Daily");
  EXPECT_THAT(message.readFlags, ElementsAre(static_cast<uint32_t>(CLEAR_READ_FLAG)));
}

TEST_F(PostingTest, MessageCarriesTheFileAsItsSingleSavedAttachment) {
  const PostedMessage message = postOne(L"sales.pdf", "the bytes");
  ASSERT_EQ(message.attachments.size(), 1u);
  EXPECT_TRUE(message.attachments[0].saved);
  EXPECT_EQ(message.attachments[0].content, bytesOf("the bytes"));
}

TEST_F(PostingTest, MessagePropertiesWithoutASenderAreTheseSeven) {
  world.identity.reset();
  rebuildWorld();
  EXPECT_THAT(tagsOf(postOne().properties),
              ElementsAre(PR_SUBJECT_W, PR_MESSAGE_CLASS_W, PR_CLIENT_SUBMIT_TIME, PR_MESSAGE_DELIVERY_TIME,
                          PR_SENSITIVITY, PR_CONVERSATION_TOPIC_W, PR_IMPORTANCE));
}

TEST_F(PostingTest, DisplayNameCommentAndBodyAreNeverSetOnTheMessage) {
  const PostedMessage message = postOne();
  EXPECT_FALSE(has(message.properties, PR_DISPLAY_NAME_W));
  EXPECT_FALSE(has(message.properties, PR_COMMENT_W));
  EXPECT_FALSE(has(message.properties, PR_BODY_W));
}

TEST_F(PostingTest, SubmitAndDeliveryTimeAreTheSamePresentTimeInUtc) {
  FILETIME before, after;
  GetSystemTimeAsFileTime(&before);
  const PostedMessage message = postOne();
  GetSystemTimeAsFileTime(&after);
  const auto number = [](FILETIME time) {
    return static_cast<int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  };
  const int64_t submitted = valueOf(message.properties, PR_CLIENT_SUBMIT_TIME).number;
  EXPECT_EQ(submitted, valueOf(message.properties, PR_MESSAGE_DELIVERY_TIME).number);
  constexpr int64_t clockStep = 20 * 10'000;  // the system time has millisecond fields
  EXPECT_GE(submitted, number(before) - clockStep);
  EXPECT_LE(submitted, number(after) + clockStep);
}

TEST_F(PostingTest, PropertiesAreBuiltInBuffersOfMapiOfSixteenAndFiveValues) {
  postOne();
  EXPECT_THAT(mapi.linesOf("MAPIAllocateBuffer"),
              ElementsAre("MAPIAllocateBuffer [] bytes=" + std::to_string(16 * sizeof(SPropValue)),
                          "MAPIAllocateBuffer [] bytes=" + std::to_string(5 * sizeof(SPropValue))));
}

TEST_F(PostingTest, ProblemArraysAreFreedAndNoFailure) {
  world.options = RECORDING_PROBLEM_ARRAYS;
  rebuildWorld();
  EXPECT_TRUE(postOne().saved);
  EXPECT_EQ(mapi.counts().buffers, 0u) << mapi.liveObjects();
}

TEST_F(PostingTest, SetPropsThatWarnsIsASuccess) {
  open();
  mapi.fail("IMessage::SetProps", 1, MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_TRUE(mapi.messages().at(0).saved);
}

// ---- The attachment's short file name ----

struct ShortName {
  const char* name;
  const wchar_t* reportName;
  const wchar_t* expected;
};

class ShortNameTest : public PostingTest, public ::testing::WithParamInterface<ShortName> {};

TEST_P(ShortNameTest, KeepsEightCharactersAndTheExtension) {
  const PostedMessage message = postOne(GetParam().reportName);
  const auto& properties = message.attachments.at(0).properties;
  EXPECT_EQ(valueOf(properties, PR_ATTACH_FILENAME_W).text, GetParam().expected);
  EXPECT_EQ(valueOf(properties, PR_ATTACH_LONG_FILENAME_W).text, GetParam().reportName);
  EXPECT_EQ(valueOf(properties, PR_DISPLAY_NAME_W).text, GetParam().reportName);
}

INSTANTIATE_TEST_SUITE_P(Of, ShortNameTest,
                         ::testing::Values(ShortName{"SevenCharacters", L"1234567.pdf", L"1234567.pdf"},
                                           ShortName{"EightCharacters", L"12345678.pdf", L"12345678.pdf"},
                                           ShortName{"NineCharacters", L"123456789.pdf", L"12345678.pdf"},
                                           ShortName{"TenCharacters", L"1234567890.pdf", L"12345678.pdf"},
                                           ShortName{"LongExtension", L"1234567890.document", L"12345678.document"},
                                           ShortName{"SeveralDots", L"quarterly.2024.pdf", L"quarterl.pdf"},
                                           ShortName{"NonAscii", L"Jahresübersicht.pdf", L"Jahresüb.pdf"}),
                         [](const auto& test) { return test.param.name; });

TEST_F(PostingTest, ShortNameWithoutExtension) {
  FileList files;
  files.addGivenName(L"LongNameOnly");
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  ASSERT_EQ(tryToOpen(&options, files), FENDREL_SUCCESS);
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  const auto properties = mapi.messages().at(0).attachments.at(0).properties;
  EXPECT_EQ(valueOf(properties, PR_ATTACH_FILENAME_W).text, L"LongName");
  EXPECT_EQ(valueOf(properties, PR_ATTACH_EXTENSION_W).text, L"");
}

// ---- Several files ----

TEST_F(PostingTest, FilesArePostedInOrderIntoTheFolderThatIsOpenedOnce) {
  open({L"one.pdf", L"two.pdf", L"three.pdf"});
  ASSERT_EQ(post(job, {file(L"1", "1"), file(L"2", "22"), file(L"3", "333")}), FENDREL_SUCCESS);
  std::vector<std::wstring> subjects;
  std::vector<std::size_t> sizes;
  for (const PostedMessage& message : mapi.messages()) {
    subjects.push_back(valueOf(message.properties, PR_SUBJECT_W).text);
    sizes.push_back(message.attachments.at(0).content.size());
  }
  EXPECT_THAT(subjects, ElementsAre(L"one.pdf", L"two.pdf", L"three.pdf"));
  EXPECT_THAT(sizes, ElementsAre(1u, 2u, 3u));
  EXPECT_EQ(mapi.callsOf("IMAPISession::OpenMsgStore").size(), 1u);
}

TEST_F(PostingTest, FileCountZeroOpensAndReleasesTheFolder) {
  open();
  EXPECT_EQ(post(job, {}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.callsOf("IMsgStore::OpenEntry").size(), 3u);
  EXPECT_THAT(mapi.messages(), IsEmpty());
  EXPECT_EQ(mapi.counts().interfaces, 1u) << mapi.liveObjects();  // the session
}

TEST_F(PostingTest, FileCountZeroOfAFolderThatIsNotThereFails) {
  openPath(L"Public Folders@Nowhere");
  EXPECT_EQ(postAndRead(job, {}), (Answer{FENDREL_FAILED, L"MAPI object not found."}));
}

TEST_F(PostingTest, FailureOfTheFirstFileDoesNotStopTheSecondWhoseResultCounts) {
  open({L"one.pdf", L"two.pdf"});
  EXPECT_EQ(postAndRead(job, {missingFile(), file()}), (Answer{FENDREL_SUCCESS, L""}));
  ASSERT_EQ(mapi.messages().size(), 2u);
  EXPECT_FALSE(mapi.messages()[0].saved);
  EXPECT_TRUE(mapi.messages()[1].saved);
}

TEST_F(PostingTest, FailureOfTheLastFileIsTheResult) {
  open({L"one.pdf", L"two.pdf"});
  EXPECT_EQ(postAndRead(job, {file(), missingFile()}), (Answer{FENDREL_FAILED, L"MAPI_E_CALL_FAILED"}));
  EXPECT_TRUE(mapi.messages().at(0).saved);
}

TEST_F(PostingTest, FolderThatCannotBeOpenedPostsNothing) {
  openPath(L"Public Folders@Nowhere", {L"one.pdf", L"two.pdf"});
  EXPECT_EQ(post(job, {file(), file()}), FENDREL_FAILED);
  EXPECT_THAT(mapi.messages(), IsEmpty());
}

TEST_F(PostingTest, JobPostsAgainAndAgain) {
  open();
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.messages().size(), 2u);
}

TEST_F(PostingTest, FewerFilesThanNamesPostsThoseGiven) {
  open({L"one.pdf", L"two.pdf", L"three.pdf"});
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.messages().size(), 1u);
}

// ---- The types that are not folders by path keep document mode when set up silently ----

class SilentType : public PostingTest, public ::testing::WithParamInterface<uint16_t> {};

TEST_P(SilentType, PostsAnOrdinaryDocument) {
  open(unpackedOptions(L"Default", L"", L"Public Folders@Reports", GetParam()), {L"sales.pdf"});
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  const PostedMessage message = mapi.messages().at(0);
  EXPECT_FALSE(message.associated);
  EXPECT_EQ(valueOf(message.properties, PR_MESSAGE_CLASS_W).text, L"IPM.DOCUMENT.*PDF");
  EXPECT_EQ(message.folder,
            GetParam() == FENDREL_PERSONAL_REPORT ? "Mailbox - Ada (common views)" : "Public Folders@Reports");
}

INSTANTIATE_TEST_SUITE_P(Of, SilentType,
                         ::testing::Values(FENDREL_PERSONAL_REPORT, FENDREL_FOLDER_REPORT, FENDREL_REPORT_INSTANCE),
                         [](const auto& test) { return std::to_string(test.param); });

TEST_F(PostingTest, AnyOtherTypeGoesByPath) {
  open(unpackedOptions(L"Default", L"", L"Public Folders@Reports", 7));
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.messages().at(0).folder, "Public Folders@Reports");
}

}  // namespace
}  // namespace fendrel::test
