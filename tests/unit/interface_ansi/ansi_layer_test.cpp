// The ANSI layer over the test's fake wide functions, on a heap whose freed blocks are unreadable.
#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <thread>

#include "ansi_layer.h"
#include "ansi_text.h"
#include "fake_wide.h"
#include "guarded_heap.h"

namespace fendrel::test {
namespace {

using testing::ElementsAre;

constexpr uint32_t context = 4711;

// A packed record of one profile name, as the wide encoder makes it.
struct EncodedBlock {
  DestinationOptions header{};
  wchar_t profileName[8] = L"Default";

  EncodedBlock() {
    header.version = 1;
    header.profileNameOffset = 48;
    header.destinationType = FENDREL_PERSONAL_REPORT;
    header.packedSize = sizeof(EncodedBlock);
  }
};

DestinationOptions* decodedRecord() {
  auto* const record = static_cast<DestinationOptions*>(std::calloc(1, sizeof(DestinationOptions)));
  record->version = 1;
  record->profileName = _wcsdup(L"Default");
  record->folderPath = _wcsdup(L"Public Folders@Reports");
  return record;
}

bool isReadable(const void* address) {
  MEMORY_BASIC_INFORMATION pages{};
  VirtualQuery(address, &pages, sizeof pages);
  return pages.State == MEM_COMMIT && pages.Protect == PAGE_READWRITE;
}

class AnsiLayer : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(attachAnsiLayer(GetModuleHandleW(nullptr))); }
  static void TearDownTestSuite() { detachAnsiLayer(); }

  void SetUp() override {
    fake = FakeWide();
    // The fake's records must not allocate during a test.
    fake.ended.reserve(1000);
    fake.freedWide.reserve(1000);
    fake.freedAnsi.reserve(1000);
  }
  void TearDown() override {
    guardedHeapFail(0);
    if (job != 0) NRVTermExportDestination(job);
    fake = FakeWide();
  }

  uint32_t tryToOpen(DestinationOptionsA* options = nullptr) {
    job = 17;
    const uint32_t code = NRVInitExportDestination(nullptr, context, options, &files, &job, &result);
    if (code != FENDREL_SUCCESS) {
      EXPECT_EQ(job, 0u);
    }
    return code;
  }
  void open() { ASSERT_EQ(tryToOpen(), FENDREL_SUCCESS); }
  void end() {
    NRVTermExportDestination(job);
    job = 0;
  }

  FendrelFileListA files{.size = sizeof files};
  FendrelJob job = 0;
  FendrelResultA* result = nullptr;
};

TEST_F(AnsiLayer, ForwardsWhatHasNoTextUnchanged) {
  EXPECT_EQ(NRVInitialize(), 1u);
  EXPECT_EQ(NRVTerminate(), 0u);
  EXPECT_EQ(NRVGetVersion(), 0x0123);
  EXPECT_EQ(IsThreadSafe(), 41u);
  EXPECT_EQ(InitPerThread(), 42u);
  EXPECT_EQ(UninitPerThread(), 43u);
}

TEST_F(AnsiLayer, PassesWindowAndContextOn) {
  const auto window = reinterpret_cast<HWND>(static_cast<INT_PTR>(0x1234));
  ASSERT_EQ(NRVInitExportDestination(window, context, nullptr, &files, &job, &result), FENDREL_SUCCESS);
  EXPECT_EQ(fake.parentWindow, window);
  EXPECT_EQ(fake.hostValue, context);
}

TEST_F(AnsiLayer, ConvertsEveryTextOfTheFileListAndCopiesTheRest) {
  FendrelFileDescriptionA file{.size = 1, .nameGiven = 0xABCD1234, .givenName = "given"};
  for (int at = 0; at < 4; ++at) file.unread1[at] = at % 2 == 0 ? "even" : nullptr;
  file.fileNameTemplate = "template";
  file.unread2 = "last";
  const FendrelFileDescriptionA* const entries[] = {&file, nullptr};
  files.size = 2;
  files.unread1 = 0x11223344;
  files.unread2 = 0x5566778899AABBCC;
  files.fileCount = 2;
  files.files = entries;
  files.unread3[0] = "first";
  files.unread3[2] = "third";
  files.unread4 = 0xDDEEFF;
  bool looked = false;
  fake.lookAtFiles = [&](const FendrelFileList* wide) {
    looked = true;
    EXPECT_EQ(wide->size, 64);
    EXPECT_EQ(wide->unread1, 0x11223344u);
    EXPECT_EQ(wide->unread2, 0x5566778899AABBCCu);
    ASSERT_EQ(wide->fileCount, 2);
    EXPECT_EQ(wide->files[1], nullptr);
    const FendrelFileDescription& first = *wide->files[0];
    EXPECT_EQ(first.size, 64);
    EXPECT_EQ(first.nameGiven, 0xABCD1234u);
    EXPECT_STREQ(first.givenName, L"given");
    EXPECT_STREQ(first.unread1[0], L"even");
    EXPECT_EQ(first.unread1[1], nullptr);
    EXPECT_STREQ(first.unread1[2], L"even");
    EXPECT_EQ(first.unread1[3], nullptr);
    EXPECT_STREQ(first.fileNameTemplate, L"template");
    EXPECT_STREQ(first.unread2, L"last");
    EXPECT_STREQ(wide->unread3[0], L"first");
    EXPECT_EQ(wide->unread3[1], nullptr);
    EXPECT_STREQ(wide->unread3[2], L"third");
    EXPECT_EQ(wide->unread4, 0xDDEEFFu);
  };
  open();
  EXPECT_TRUE(looked);
}

TEST_F(AnsiLayer, NullFileListAndNullArrayStayNull) {
  files.fileCount = 3;
  fake.lookAtFiles = [](const FendrelFileList* wide) {
    EXPECT_EQ(wide->fileCount, 3);
    EXPECT_EQ(wide->files, nullptr);
  };
  open();
  end();
  fake.lookAtFiles = [](const FendrelFileList* wide) { EXPECT_EQ(wide, nullptr); };
  EXPECT_EQ(NRVInitExportDestination(nullptr, context, nullptr, nullptr, &job, &result), FENDREL_SUCCESS);
}

TEST_F(AnsiLayer, ConvertsThePathsOfAnExportAndCopiesTheRest) {
  open();
  const char* const paths[] = {"one", nullptr, "three"};
  FendrelExportDescriptionA description{.size = 1, .fileCount = 3, .filePaths = paths};
  for (uint64_t at = 0; at < 6; ++at) description.unread[at] = at + 1;
  bool looked = false;
  fake.lookAtExport = [&](const FendrelExportDescription* wide) {
    looked = true;
    EXPECT_EQ(wide->size, 64);
    ASSERT_EQ(wide->fileCount, 3);
    EXPECT_STREQ(wide->filePaths[0], L"one");
    EXPECT_EQ(wide->filePaths[1], nullptr);
    EXPECT_STREQ(wide->filePaths[2], L"three");
    EXPECT_THAT(wide->unread, ElementsAre(1, 2, 3, 4, 5, 6));
  };
  EXPECT_EQ(NRVExportToDestination(job, &description), FENDREL_SUCCESS);
  EXPECT_TRUE(looked);
  fake.lookAtExport = [](const FendrelExportDescription* wide) { EXPECT_EQ(wide, nullptr); };
  EXPECT_EQ(NRVExportToDestination(job, nullptr), FENDREL_SUCCESS);
  description.filePaths = nullptr;
  fake.lookAtExport = [](const FendrelExportDescription* wide) { EXPECT_EQ(wide->filePaths, nullptr); };
  EXPECT_EQ(NRVExportToDestination(job, &description), FENDREL_SUCCESS);
}

TEST_F(AnsiLayer, ConvertsTheStringsOfAResultAndCopiesTheRest) {
  const wchar_t* const strings[] = {L"one", nullptr};
  fake.result.size = 5;
  fake.result.count = 2;
  fake.result.strings = strings;
  for (uint64_t at = 0; at < 12; ++at) fake.result.reserved[at] = at;
  open();
  EXPECT_EQ(result->size, 112);
  ASSERT_EQ(result->count, 2);
  EXPECT_STREQ(result->strings[0], "one");
  EXPECT_EQ(result->strings[1], nullptr);
  EXPECT_THAT(result->reserved, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
}

TEST_F(AnsiLayer, DestinationListOfAnyLengthIsConverted) {
  FendrelDestination first{.size = 1, .name = L"First", .reserved = 9}, second{.size = 1, .name = L"Second"};
  const FendrelDestination* const unnamed[] = {nullptr};
  FendrelDestinationList list{.size = 1, .count = 1, .destinations = unnamed};
  first.name = nullptr;
  const FendrelDestination* const both[] = {&first, &second};
  list = {.size = 1, .count = 2, .destinations = both};
  fake.list = &list;
  const FendrelDestinationListA* answer = NRVGetExportDestinations();
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer->size, 16);
  EXPECT_EQ(answer->count, 2);
  EXPECT_EQ(answer->destinations[0]->size, 24);
  EXPECT_EQ(answer->destinations[0]->name, nullptr);
  EXPECT_EQ(answer->destinations[0]->reserved, 9u);
  EXPECT_STREQ(answer->destinations[1]->name, "Second");
  first.name = L"First";  // initialised now
  answer = NRVGetExportDestinations();
  EXPECT_STREQ(answer->destinations[0]->name, "First");
  first.name = nullptr;
  EXPECT_EQ(NRVGetExportDestinations(), answer) << "kept from the first list with names on";
}

TEST_F(AnsiLayer, OptionsReachTheWideFunctionWithVersion2AndAreFreedWithTheContext) {
  char profile[] = "Default";
  DestinationOptionsA options{};
  options.version = 3;
  options.profileName = profile;
  fake.lookAtOptions = [](const DestinationOptions* wide) {
    EXPECT_EQ(wide->version, 2);
    EXPECT_STREQ(wide->profileName, L"Default");
  };
  EXPECT_EQ(tryToOpen(&options), FENDREL_SUCCESS);
  EXPECT_EQ(options.version, 3);
  EXPECT_THAT(fake.freedWide, ElementsAre(context));
}

TEST_F(AnsiLayer, ASetUpThatFailsLeavesNothingBehind) {
  open();
  end();
  char profile[] = "Default";
  DestinationOptionsA options{};
  options.version = 2;
  options.profileName = profile;
  const std::size_t before = guardedHeapLiveBlocks();
  fake.initCode = FENDREL_CANCELLED;
  EXPECT_EQ(tryToOpen(&options), FENDREL_CANCELLED);
  fake.initCode = FENDREL_SUCCESS;
  options.version = 1;
  EXPECT_EQ(tryToOpen(&options), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(guardedHeapLiveBlocks(), before);
}

TEST_F(AnsiLayer, TheEndOfAJobFreesAllItHandedOut) {
  EncodedBlock encoded;
  fake.encoded = &encoded.header;
  fake.errorText = L"words";
  open();
  DestinationOptionsA* block = nullptr;
  uint16_t size = 0;
  ASSERT_EQ(NRVEncodeDestinationOptions(job, &block, &size), FENDREL_SUCCESS);
  const char* const text = NRVGetErrorText(job);
  const FendrelResultA* const record = result;
  EXPECT_TRUE(isReadable(block) && isReadable(text) && isReadable(record));
  end();
  EXPECT_FALSE(isReadable(block));
  EXPECT_FALSE(isReadable(text));
  EXPECT_FALSE(isReadable(record));
  EXPECT_THAT(fake.freedAnsi, ElementsAre(context));
  EXPECT_THAT(fake.ended, ElementsAre(fakeJob));
}

TEST_F(AnsiLayer, TheEndOfAJobAnswersTheWideResult) {
  open();
  fake.termCode = 1234;
  EXPECT_EQ(NRVTermExportDestination(job), 1234u);
  job = 0;
}

TEST_F(AnsiLayer, TwoEncodingsInARow_TheFirstBlockIsFreedByTheSecond) {
  EncodedBlock encoded;
  fake.encoded = &encoded.header;
  open();
  DestinationOptionsA *first = nullptr, *second = nullptr;
  uint16_t size = 0;
  ASSERT_EQ(NRVEncodeDestinationOptions(job, &first, &size), FENDREL_SUCCESS);
  EXPECT_EQ(encoded.header.version, 1) << "the wide block lives on as it was";
  ASSERT_EQ(NRVEncodeDestinationOptions(job, &second, &size), FENDREL_SUCCESS);
  EXPECT_FALSE(isReadable(first));
  EXPECT_TRUE(isReadable(second));
  EXPECT_THAT(fake.freedAnsi, ElementsAre(context));
  EXPECT_EQ(size, 2 * (8 + 24));
}

TEST_F(AnsiLayer, ErrorTextTwice_TheFirstStringIsFreedByTheSecond) {
  fake.errorText = L"words";
  open();
  const char* const first = NRVGetErrorText(job);
  const char* const second = NRVGetErrorText(job);
  EXPECT_FALSE(isReadable(first));
  EXPECT_STREQ(second, "words");
  fake.errorText = nullptr;
  EXPECT_EQ(NRVGetErrorText(job), nullptr);
  EXPECT_FALSE(isReadable(second));
}

TEST_F(AnsiLayer, TheEncodersCodeGoesBeforeTheConversions) {
  EncodedBlock encoded;
  fake.encoded = &encoded.header;
  fake.encodeCode = 99;
  open();
  DestinationOptionsA* block = nullptr;
  uint16_t size = 0;
  EXPECT_EQ(NRVEncodeDestinationOptions(job, &block, &size), 99u);
  EXPECT_NE(block, nullptr);
  fake.encoded = nullptr;
  EXPECT_EQ(NRVEncodeDestinationOptions(job, &block, &size), 99u);
  EXPECT_EQ(block, nullptr);
}

TEST_F(AnsiLayer, TheEncodersSizeNeedNotBeAskedFor) {
  EncodedBlock encoded;
  fake.encoded = &encoded.header;
  open();
  DestinationOptionsA* block = nullptr;
  EXPECT_EQ(NRVEncodeDestinationOptions(job, &block, nullptr), FENDREL_SUCCESS);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(block) + block->profileNameOffset), "Default");
}

TEST_F(AnsiLayer, ThePlaceOfTheBlockIsNullAfterAFailureWithoutASize) {
  fake.encodeCode = FENDREL_OUT_OF_MEMORY;
  open();
  auto* block = reinterpret_cast<DestinationOptionsA*>(-1);
  EXPECT_EQ(NRVEncodeDestinationOptions(job, &block, nullptr), FENDREL_OUT_OF_MEMORY);
  EXPECT_EQ(block, nullptr);
}

TEST_F(AnsiLayer, ABlockThatCannotBeConvertedIsNotHandedOut) {
  EncodedBlock encoded;
  encoded.header.profileNameOffset = 7;  // inside the header
  fake.encoded = &encoded.header;
  open();
  auto* block = reinterpret_cast<DestinationOptionsA*>(-1);
  uint16_t size = 0;
  EXPECT_EQ(NRVEncodeDestinationOptions(job, &block, &size), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(encoded.header.version, 1);
}

TEST_F(AnsiLayer, ADecodedRecordIsConvertedAndTheWideOneFreedWithTheContext) {
  fake.makeDecoded = decodedRecord;
  open();
  DestinationOptionsA* record = nullptr;
  ASSERT_EQ(NRVDecodeDestinationOptions(job, &record), FENDREL_SUCCESS);
  EXPECT_EQ(record->version, 1);
  EXPECT_STREQ(record->profileName, "Default");
  EXPECT_EQ(record->profilePassword, nullptr);
  EXPECT_STREQ(record->folderPath, "Public Folders@Reports");
  EXPECT_THAT(fake.freedWide, ElementsAre(context));
  EXPECT_EQ(NRVFreeDestinationOptions(99, record), FENDREL_SUCCESS);
  EXPECT_THAT(fake.freedAnsi, ElementsAre(99u));
}

TEST_F(AnsiLayer, ADecoderThatFailsGivesItsCodeAndNoRecord) {
  fake.decodeCode = FENDREL_OUT_OF_MEMORY;
  open();
  auto* record = reinterpret_cast<DestinationOptionsA*>(-1);
  EXPECT_EQ(NRVDecodeDestinationOptions(job, &record), FENDREL_OUT_OF_MEMORY);
  EXPECT_EQ(record, nullptr);
  EXPECT_THAT(fake.freedWide, testing::IsEmpty());
}

TEST_F(AnsiLayer, ADecodedRecordThatIsRefusedIsNotHandedOutAndIsFreed) {
  fake.makeDecoded = [] {
    auto* const record = static_cast<DestinationOptions*>(std::calloc(1, sizeof(DestinationOptions)));
    record->profileNameOffset = 48;  // of a block whose size has wrapped to 0
    return record;
  };
  open();
  auto* record = reinterpret_cast<DestinationOptionsA*>(-1);
  EXPECT_EQ(NRVDecodeDestinationOptions(job, &record), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(record, nullptr);
  EXPECT_THAT(fake.freedWide, ElementsAre(context));
}

TEST_F(AnsiLayer, ThePreviousBlockIsFreedAlsoWhenTheNewOneCannotBeConverted) {
  EncodedBlock encoded;
  fake.encoded = &encoded.header;
  open();
  DestinationOptionsA *first = nullptr, *second = nullptr;
  uint16_t size = 0;
  ASSERT_EQ(NRVEncodeDestinationOptions(job, &first, &size), FENDREL_SUCCESS);
  encoded.header.profileNameOffset = 7;  // inside the header
  EXPECT_EQ(NRVEncodeDestinationOptions(job, &second, &size), FENDREL_INVALID_ARGUMENT);
  EXPECT_FALSE(isReadable(first));
}

TEST_F(AnsiLayer, TheWideJobEndsBeforeWhatTheHostWasGivenIsFreed) {
  EncodedBlock encoded;
  fake.encoded = &encoded.header;
  open();
  DestinationOptionsA* block = nullptr;
  uint16_t size = 0;
  ASSERT_EQ(NRVEncodeDestinationOptions(job, &block, &size), FENDREL_SUCCESS);
  bool wasReadable = false;
  fake.atEnd = [&] { wasReadable = isReadable(block) && isReadable(result); };
  end();
  EXPECT_TRUE(wasReadable);
  EXPECT_FALSE(isReadable(block));
}

TEST_F(AnsiLayer, TextIsInTheCodePageOfTheCallingThread) {
  const LCID before = GetThreadLocale();
  SetThreadLocale(MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT));
  EXPECT_EQ(chooseAnsiCodePage(), UINT{CP_THREAD_ACP});
  EXPECT_STREQ(ansiFromWide(L"日本").get(), "\x93\xFA\x96\x7B");
  EXPECT_STREQ(wideFromAnsiHost("\x93\xFA\x96\x7B").get(), L"日本");
  SetThreadLocale(before);
}

TEST_F(AnsiLayer, NullTextsStayNullAndEmptyOnesEmpty) {
  EXPECT_EQ(ansiFromWide(nullptr), nullptr);
  EXPECT_EQ(wideFromAnsiHost(nullptr), nullptr);
  EXPECT_STREQ(ansiFromWide(L"").get(), "");
  EXPECT_STREQ(wideFromAnsiHost("").get(), L"");
}

// Lets every allocation of a call fail once. Each returns 2 and leaves no block; `undo` releases a success.
template <class Call, class Undo>
void failEachAllocation(Call call, Undo undo) {
  for (std::size_t nth = 1; nth < 100; ++nth) {
    const std::size_t before = guardedHeapLiveBlocks();
    guardedHeapFail(nth);
    const uint32_t code = call();
    guardedHeapFail(0);
    if (code == FENDREL_SUCCESS) {
      EXPECT_GT(nth, 1u) << "nothing was allocated";
      undo();
      return;
    }
    EXPECT_EQ(code, FENDREL_OUT_OF_MEMORY) << "allocation " << nth;
    EXPECT_EQ(guardedHeapLiveBlocks(), before) << "allocation " << nth;
  }
  ADD_FAILURE() << "never succeeds";
}

class AnsiLayerWithoutMemory : public AnsiLayer {
 protected:
  void SetUp() override {
    AnsiLayer::SetUp();
    // Creates permanent allocations now: tables, and those of the first exception.
    open();
    end();
    guardedHeapFail(1);
    EXPECT_EQ(tryToOpen(), FENDREL_OUT_OF_MEMORY);
  }
};

TEST_F(AnsiLayerWithoutMemory, ASetUpAnswers2AndEndsTheWideJobThatItCannotHandOut) {
  FendrelFileDescriptionA file{.size = 64, .nameGiven = 1, .givenName = "given", .fileNameTemplate = "template"};
  const FendrelFileDescriptionA* const entries[] = {&file};
  files.fileCount = 1;
  files.files = entries;
  const wchar_t* const strings[] = {L"one"};
  fake.result.count = 1;
  fake.result.strings = strings;
  char profile[] = "Default", path[] = "Public Folders@Reports";
  DestinationOptionsA options{};
  options.profileName = profile;
  options.folderPath = path;
  fake.ended.clear();
  failEachAllocation(
      [&] {
        options.version = 2;
        return tryToOpen(&options);
      },
      [&] { end(); });
  EXPECT_GE(fake.ended.size(), 3u) << "some jobs fail after the wide set-up";
  EXPECT_THAT(fake.ended, testing::Each(fakeJob));
}

TEST_F(AnsiLayerWithoutMemory, AnExportAnswers2) {
  open();
  const char* const paths[] = {"one", "two"};
  const FendrelExportDescriptionA description{.size = 64, .fileCount = 2, .filePaths = paths};
  failEachAllocation([&] { return NRVExportToDestination(job, &description); }, [] {});
}

TEST_F(AnsiLayerWithoutMemory, AnEncodingAnswers2) {
  EncodedBlock encoded;
  fake.encoded = &encoded.header;
  open();
  DestinationOptionsA* block = nullptr;
  uint16_t size = 0;
  failEachAllocation([&] { return NRVEncodeDestinationOptions(job, &block, &size); }, [] {});
  EXPECT_EQ(encoded.header.version, 1);
}

TEST_F(AnsiLayerWithoutMemory, ADecodingAnswers2AndFreesTheWideRecord) {
  DestinationOptions* made = nullptr;
  fake.makeDecoded = [&] { return std::exchange(made, nullptr); };
  open();
  DestinationOptionsA* record = nullptr;
  for (std::size_t nth = 1;; ++nth) {
    ASSERT_LT(nth, 20u);
    const std::size_t before = guardedHeapLiveBlocks();
    made = decodedRecord();
    guardedHeapFail(nth);
    const uint32_t code = NRVDecodeDestinationOptions(job, &record);
    guardedHeapFail(0);
    if (code == FENDREL_SUCCESS) break;
    EXPECT_EQ(code, FENDREL_OUT_OF_MEMORY);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(guardedHeapLiveBlocks(), before);
  }
  NRVFreeDestinationOptions(context, record);
}

TEST_F(AnsiLayerWithoutMemory, AnErrorTextThatCannotBeConvertedIsNull) {
  fake.errorText = L"words";
  open();
  guardedHeapFail(1);
  EXPECT_EQ(NRVGetErrorText(job), nullptr);
  guardedHeapFail(0);
  EXPECT_STREQ(NRVGetErrorText(job), "words");
}

// Detaches and attaches again, as unloading and loading do.
TEST_F(AnsiLayer, DetachFreesTheCachedList) {
  const FendrelDestination destination{.size = 24, .name = L"Named"};
  const FendrelDestination* const entries[] = {&destination};
  const FendrelDestinationList list{.size = 16, .count = 1, .destinations = entries};
  fake.list = &list;
  const FendrelDestinationListA* const answer = NRVGetExportDestinations();
  EXPECT_TRUE(isReadable(answer));
  detachAnsiLayer();
  EXPECT_FALSE(isReadable(answer));
  ASSERT_TRUE(attachAnsiLayer(GetModuleHandleW(nullptr)));
  const FendrelDestinationListA* const again = NRVGetExportDestinations();
  EXPECT_STREQ(again->destinations[0]->name, "Named");
  EXPECT_EQ(NRVGetExportDestinations(), again);
}

// Both threads find no list; one of them must wait until the other has made it.
TEST_F(AnsiLayer, TheListIsBuiltOnceByThreadsThatAskAtOnce) {
  detachAnsiLayer();
  ASSERT_TRUE(attachAnsiLayer(GetModuleHandleW(nullptr)));
  const FendrelDestination destination{.size = 24, .name = L"Named"};
  const FendrelDestination* const entries[] = {&destination};
  const FendrelDestinationList list{.size = 16, .count = 1, .destinations = entries};
  fake.list = &list;
  fake.listDelay = 200;
  constexpr int count = 4;
  // Not std::barrier: with this compiler's library for Windows a thread sometimes does not wake up.
  const std::unique_ptr<void, decltype(&CloseHandle)> start(CreateEventW(nullptr, TRUE, FALSE, nullptr), &CloseHandle);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < count; ++thread)
    threads.emplace_back([&] {
      WaitForSingleObject(start.get(), INFINITE);
      EXPECT_NE(NRVGetExportDestinations(), nullptr);
    });
  SetEvent(start.get());
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(fake.listsAsked, 1);
}

// The system's own library has none of the names; detaching after the refusal is what the loader does.
TEST(AnsiLayerAttach, AModuleWithoutTheWideExportsIsRefusedAndMayBeDetached) {
  EXPECT_FALSE(attachAnsiLayer(GetModuleHandleW(L"kernel32.dll")));
  detachAnsiLayer();
}

}  // namespace
}  // namespace fendrel::test
