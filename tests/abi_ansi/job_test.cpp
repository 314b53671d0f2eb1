// Jobs of the ANSI set: set-up, posting, texts, handles.
#include <cstring>

#include "ansi_test.h"

namespace fendrel::test {
namespace {

TEST_F(AnsiJobTest, TheTestRunsWithTheCodePageThatItIsMeantFor) {
  char locale[32] = {};
  GetEnvironmentVariableA("LC_ALL", locale, sizeof locale);
  EXPECT_EQ(GetACP(), std::string_view(locale) == "ja_JP.UTF-8" ? 932u : 1252u);
  EXPECT_EQ(wide(ansi(nativePath()).c_str()), nativePath());
}

TEST_F(AnsiJobTest, AFileOfNativeNameIsPostedIntoAFolderOfNativeName) {
  open({nativeFile()});
  EXPECT_EQ(post(job, {file(nativeFile(), "bytes of the report")}), FENDREL_SUCCESS);
  const auto messages = mapi.messages();
  ASSERT_EQ(messages.size(), 1u);
  const std::wstring folder = nativeStore() + L"@" + nativeFolder();
  char expected[256] = {};
  WideCharToMultiByte(CP_UTF8, 0, folder.c_str(), -1, expected, sizeof expected, nullptr, nullptr);
  EXPECT_EQ(messages[0].folder, expected);
  ASSERT_EQ(messages[0].attachments.size(), 1u);
  EXPECT_EQ(messages[0].attachments[0].content, bytesOf("bytes of the report"));
  EXPECT_TRUE(messages[0].saved);
}

TEST_F(AnsiJobTest, TheReportNameOfTheMessageIsTheConvertedTemplate) {
  open({nativeFile()});
  post(job, {file(L"other.bin")});
  const auto messages = mapi.messages();
  ASSERT_EQ(messages.size(), 1u);
  bool found = false;
  for (const Value& property : messages[0].properties) found = found || property.text == nativeFile();
  EXPECT_TRUE(found) << "no property holds the report name";
}

TEST_F(AnsiJobTest, TheProfileIsLoggedOnToByItsConvertedName) {
  open();
  EXPECT_THAT(mapi.linesOf("MAPILogonEx"), testing::SizeIs(1));
}

TEST_F(AnsiJobTest, TheHostsOptionsAreAsBeforeAfterTheSetUp) {
  AnsiOptionsRecord options(nativeProfile(), L"", nativePath());
  const DestinationOptionsA before = *options.get();
  EXPECT_EQ(tryToOpen(options.get()), FENDREL_SUCCESS);
  EXPECT_EQ(std::memcmp(options.get(), &before, sizeof before), 0);
}

TEST_F(AnsiJobTest, OptionsOfVersion1AreRefusedWith5) {
  AnsiOptionsRecord options(nativeProfile(), L"", nativePath());
  options.get()->version = 1;
  EXPECT_EQ(tryToOpen(options.get()), FENDREL_INVALID_ARGUMENT);
  EXPECT_THAT(mapi.linesOf("MAPILogonEx"), testing::IsEmpty());
}

TEST_F(AnsiJobTest, AFailedSetUpLeavesTheJobAt0AndNoWrapperBehind) {
  AnsiOptionsRecord options(L"No such profile", L"", nativePath());
  EXPECT_NE(tryToOpen(options.get()), FENDREL_SUCCESS);
  EXPECT_EQ(job, 0u);
  EXPECT_EQ(result, nullptr);
  unmatchedInitialisations = 1;
  EXPECT_EQ(mapi.counts().sessions, 0u);
}

TEST_F(AnsiJobTest, TheWideResultIsReturnedUnchanged) {
  AnsiOptionsRecord options(L"No such profile", L"", nativePath());
  FileList files{L"report.txt"};
  const std::wstring path = nativePath();
  DestinationOptions wideOptions = unpackedOptions(L"No such profile", L"", path.c_str());
  FendrelJob wideJob = 0;
  FendrelResult* wideResult = nullptr;
  const uint32_t expected =
      plugin().initExportDestination(nullptr, 0, &wideOptions, files.record(), &wideJob, &wideResult);
  EXPECT_EQ(tryToOpen(options.get()), expected);
  unmatchedInitialisations = 2;
}

TEST_F(AnsiJobTest, ResultRecordHas112BytesAndNoStrings) {
  open();
  EXPECT_EQ(result->size, 112);
  EXPECT_EQ(result->count, 0);
  EXPECT_EQ(result->strings, nullptr);
  EXPECT_THAT(result->reserved, testing::Each(0u));
}

TEST_F(AnsiJobTest, NullOutArgumentsAreRefusedWith5) {
  AnsiOptionsRecord options(nativeProfile(), L"", nativePath());
  AnsiFileList files{L"report.txt"};
  EXPECT_EQ(host().initExportDestination(nullptr, 0, options.get(), files.get(), nullptr, &result),
            FENDREL_INVALID_ARGUMENT);
  job = 17;
  EXPECT_EQ(host().initExportDestination(nullptr, 0, options.get(), files.get(), &job, nullptr),
            FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(job, 0u);
  EXPECT_THAT(mapi.calls(), testing::IsEmpty());
}

TEST_F(AnsiJobTest, ANullFileListIsRefusedWith5) {
  AnsiOptionsRecord options(nativeProfile(), L"", nativePath());
  EXPECT_EQ(host().initExportDestination(nullptr, 0, options.get(), nullptr, &job, &result), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(job, 0u);
  EXPECT_THAT(mapi.calls(), testing::IsEmpty());
}

TEST_F(AnsiJobTest, AFileListWithoutItsArrayIsRefusedWith5) {
  AnsiOptionsRecord options(nativeProfile(), L"", nativePath());
  AnsiFileList files{L"report.txt"};
  files.get()->files = nullptr;
  EXPECT_EQ(host().initExportDestination(nullptr, 0, options.get(), files.get(), &job, &result),
            FENDREL_INVALID_ARGUMENT);
}

TEST_F(AnsiJobTest, ANullFileDescriptionStaysNull) {
  AnsiOptionsRecord options(nativeProfile(), L"", nativePath());
  const FendrelFileDescriptionA* const files[] = {nullptr};
  FendrelFileListA list{};
  list.size = sizeof list;
  list.fileCount = 1;
  list.files = files;
  ASSERT_EQ(host().initExportDestination(nullptr, 0, options.get(), &list, &job, &result), FENDREL_SUCCESS);
  EXPECT_EQ(post(job, {file(L"a.txt")}), FENDREL_SUCCESS);
  EXPECT_EQ(end(job), FENDREL_SUCCESS);
}

TEST_F(AnsiJobTest, ANullExportDescriptionIsRefusedWith5) {
  open();
  EXPECT_EQ(host().exportToDestination(job, nullptr), FENDREL_INVALID_ARGUMENT);
  FendrelExportDescriptionA description{};
  description.fileCount = 1;
  EXPECT_EQ(host().exportToDestination(job, &description), FENDREL_INVALID_ARGUMENT);
}

TEST_F(AnsiJobTest, ErrorTextIsEmptyBeforeAFailure) {
  open();
  EXPECT_STREQ(host().getErrorText(job), "");
}

TEST_F(AnsiJobTest, ErrorTextIsTheConvertedWideText) {
  open(L"Default", L"", L"Public Folders@No such folder");
  EXPECT_EQ(post(job, {file(L"a.txt")}), FENDREL_FAILED);
  EXPECT_STREQ(host().getErrorText(job), "MAPI object not found.");
}

TEST_F(AnsiJobTest, ErrorTextAskedForTwiceIsRightBothTimes) {
  open(L"Default", L"", L"Public Folders@No such folder");
  post(job, {file(L"a.txt")});
  const std::string first = host().getErrorText(job);
  EXPECT_EQ(first, host().getErrorText(job));
}

class AnsiHandles : public AnsiJobTest {};

TEST_F(AnsiHandles, AreNeverAddressesAndNeverThoseOfTheWideSet) {
  open();
  EXPECT_EQ(plugin().getErrorText(job), nullptr);
  const FendrelJob first = job;
  open();
  EXPECT_NE(job, first);
}

TEST_F(AnsiHandles, OfTheWideSetAreUnknown) {
  FileList files{L"report.txt"};
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders@Reports");
  FendrelJob wideJob = 0;
  FendrelResult* wideResult = nullptr;
  ASSERT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), &wideJob, &wideResult),
            FENDREL_SUCCESS);
  EXPECT_EQ(host().getErrorText(wideJob), nullptr);
  EXPECT_EQ(host().termExportDestination(wideJob), FENDREL_SUCCESS);
  EXPECT_NE(plugin().getErrorText(wideJob), nullptr) << "the wide job lives on";
  plugin().termExportDestination(wideJob);
}

struct Unknown {
  const char* name;
  FendrelJob handle;
};
class UnknownAnsiHandle : public AnsiJobTest, public testing::WithParamInterface<Unknown> {};

TEST_P(UnknownAnsiHandle, IsAnsweredLikeANullOne) {
  const FendrelJob unknown = GetParam().handle;
  EXPECT_EQ(host().getErrorText(unknown), nullptr);
  EXPECT_EQ(post(unknown, {file(L"a.txt")}), FENDREL_INVALID_ARGUMENT);
  auto* block = reinterpret_cast<DestinationOptionsA*>(-1);
  uint16_t size = 4711;
  EXPECT_EQ(host().encodeOptions(unknown, &block, &size), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(size, 4711);
  block = reinterpret_cast<DestinationOptionsA*>(-1);
  EXPECT_EQ(host().decodeOptions(unknown, &block), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(block, nullptr);
  EXPECT_THAT(mapi.calls(), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Handles, UnknownAnsiHandle,
                         testing::Values(Unknown{"Null", 0}, Unknown{"NeverGiven", 0x7654321}),
                         [](const auto& row) { return row.param.name; });

TEST_F(AnsiHandles, ThatEndedAreUnknownAndASecondEndTouchesNothing) {
  const FendrelJob ended = open();
  EXPECT_EQ(end(ended), FENDREL_SUCCESS);
  const int before = mapi.counts().initialised;
  EXPECT_EQ(host().termExportDestination(ended), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.counts().initialised, before);
  EXPECT_EQ(host().getErrorText(ended), nullptr);
}

TEST_F(AnsiHandles, TheNullOneEndsNoJobButLetsMapiGo) {
  AnsiOptionsRecord options(L"No such profile", L"", nativePath());
  tryToOpen(options.get());
  EXPECT_EQ(mapi.counts().initialised, 1);
  EXPECT_EQ(host().termExportDestination(0), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.counts().initialised, 0);
}

}  // namespace
}  // namespace fendrel::test
