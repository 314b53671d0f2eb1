// A host that calls in a wrong order or at a wrong moment: the documented code, and no call of MAPI without an object.
#include <cstring>

#include "abi_test.h"
#include "page_end.h"

namespace fendrel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class UnrulyHost : public JobTest {
 protected:
  // The calls from a position in the record on, without memory functions.
  std::vector<std::string> linesFrom(std::size_t first) const {
    std::vector<std::string> lines;
    const auto all = mapi.everything();
    for (std::size_t index = first; index < all.size(); ++index)
      if (all[index].kind != RECORDED_MEMORY) lines.push_back(all[index].line());
    return lines;
  }

  uint32_t encode(FendrelJob of) {
    DestinationOptions* block = nullptr;
    uint16_t size = 0;
    return plugin().encodeOptions(of, &block, &size);
  }
  uint32_t decode(FendrelJob of) {
    DestinationOptions* options = nullptr;
    const uint32_t code = plugin().decodeOptions(of, &options);
    plugin().freeOptionsW(0, options);
    return code;
  }

  void expectUnknown(FendrelJob unknown) {
    const std::size_t before = mapi.everything().size();
    EXPECT_EQ(post(unknown, {file()}), FENDREL_INVALID_ARGUMENT);
    EXPECT_EQ(encode(unknown), FENDREL_INVALID_ARGUMENT);
    EXPECT_EQ(decode(unknown), FENDREL_INVALID_ARGUMENT);
    EXPECT_EQ(plugin().getErrorText(unknown), nullptr);
    EXPECT_EQ(end(unknown), FENDREL_SUCCESS);
    EXPECT_EQ(mapi.everything().size(), before) << "MAPI is called";
  }

  // The fixture stops the module once more.
  void startAgain() { EXPECT_EQ(plugin().initialize(), FENDREL_SUCCESS); }
};

using Stop = UnrulyHost;

TEST_F(Stop, TheLastOneEndsTheJobsThatAreLeftTheNewestFirst) {
  open(unpackedOptions(L"Default", L"", L"Public Folders"));
  open(unpackedOptions(L"Ada", L"secret", L"Public Folders"));
  const std::size_t before = mapi.everything().size();
  EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  EXPECT_THAT(linesFrom(before), ElementsAre("IMAPISession::Logoff [Ada] window=0x0 flags=0x0 reserved=0x0",
                                             "IMAPISession::Release [Ada] ", "MAPIUninitialize [] ",
                                             "IMAPISession::Logoff [Default] window=0x0 flags=0x0 reserved=0x0",
                                             "IMAPISession::Release [Default] ", "MAPIUninitialize [] "));
  startAgain();
}

TEST_F(Stop, AJobOfBeforeIsUnknownAfterTheLastOne) {
  const FendrelJob old = open();
  plugin().terminate();
  expectUnknown(old);
  startAgain();
  expectUnknown(old);
}

TEST_F(Stop, OneOfTwoEndsNothing) {
  startAgain();
  open();
  EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
}

TEST_F(Stop, WithoutMapiNoJobIsMade) {
  plugin().terminate();
  FileList files{L"report.txt"};
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), &job, &result), FENDREL_FAILED);
  EXPECT_THAT(mapi.everything(), IsEmpty());
  startAgain();
}

using Interruption = UnrulyHost;

TEST_F(Interruption, OfAnExportRefusesFurtherCallsOnItsJob) {
  open();
  bool interrupted = false;
  mapi.interrupt("IMAPIFolder::CreateMessage", 1, [&] {
    interrupted = true;
    EXPECT_EQ(post(job, {file(L"inner")}), FENDREL_INVALID_ARGUMENT);
    EXPECT_EQ(encode(job), FENDREL_INVALID_ARGUMENT);
    EXPECT_EQ(decode(job), FENDREL_INVALID_ARGUMENT);
    EXPECT_EQ(plugin().getErrorText(job), nullptr);
  });
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_TRUE(interrupted);
  EXPECT_EQ(mapi.messages().size(), 1u);
  EXPECT_EQ(encode(job), FENDREL_SUCCESS);
}

TEST_F(Interruption, OfAnExportLeavesOtherJobsToTheHost) {
  const FendrelJob other = openPath(L"Mailbox - Ada@Inbox");
  const FendrelJob outer = open();
  mapi.interrupt("IMAPIFolder::CreateMessage", 1, [&] {
    EXPECT_EQ(post(other, {file(L"inner")}), FENDREL_SUCCESS);
    EXPECT_EQ(end(other), FENDREL_SUCCESS);
  });
  EXPECT_EQ(post(outer, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.messages().size(), 2u);
}

TEST_F(Interruption, AnEndInsideAnExportIsCarriedOutWhenThatReturns) {
  open();
  std::size_t ended = 0;
  mapi.interrupt("IMAPIFolder::CreateMessage", 1, [&] {
    const std::size_t before = mapi.everything().size();
    EXPECT_EQ(end(job), FENDREL_SUCCESS);
    EXPECT_EQ(end(job), FENDREL_SUCCESS);
    EXPECT_EQ(mapi.everything().size(), before) << "MAPI is called";
    ended = before;
  });
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  ASSERT_NE(ended, 0u);
  EXPECT_TRUE(mapi.messages().at(0).saved);
  const auto lines = linesFrom(ended);
  ASSERT_GE(lines.size(), 3u);
  EXPECT_THAT(lines[lines.size() - 3], StartsWith("IMAPISession::Logoff"));
  EXPECT_EQ(lines.back(), "MAPIUninitialize [] ");
  expectUnknown(job);
}

TEST_F(Interruption, TheLastStopInsideAnExportEndsItsJobWhenThatReturns) {
  const FendrelJob other = openPath(L"Mailbox - Ada@Inbox");
  const FendrelJob outer = open();
  mapi.interrupt("IMAPIFolder::CreateMessage", 1, [&] {
    EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
    EXPECT_EQ(mapi.counts().sessions, 1u);  // the other job's was logged off
    FileList files{L"report.txt"};
    DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
    FendrelJob late = 0;
    FendrelResult* record = nullptr;
    EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), &late, &record), FENDREL_FAILED);
  });
  EXPECT_EQ(post(outer, {file()}), FENDREL_SUCCESS);
  EXPECT_TRUE(mapi.messages().at(0).saved);
  EXPECT_EQ(mapi.counts().sessions, 0u);
  expectUnknown(outer);
  expectUnknown(other);
  startAgain();
}

TEST_F(Interruption, AStartAfterTheLastStopInsideAnExportKeepsTheModule) {
  const FendrelJob outer = open();
  mapi.interrupt("IMAPIFolder::CreateMessage", 1, [&] {
    EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
    startAgain();
  });
  EXPECT_EQ(post(outer, {file()}), FENDREL_SUCCESS);
  expectUnknown(outer);
  EXPECT_EQ(post(open(), {file()}), FENDREL_SUCCESS);
}

TEST_F(Interruption, TheLastStopInsideASetUpLeavesNoJob) {
  for (const bool startsAgain : {false, true}) {
    mapi.interrupt("IMAPISession::QueryIdentity", 1, [&] {
      EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
      if (startsAgain) startAgain();
    });
    FileList files{L"report.txt"};
    DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
    FendrelJob made = 17;
    EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), &made, &result), FENDREL_FAILED);
    EXPECT_EQ(made, 0u);
    EXPECT_EQ(mapi.counts().sessions, 0u);
    EXPECT_EQ(mapi.counts().initialised, 0);
    if (!startsAgain) startAgain();
  }
}

TEST_F(Interruption, OfALogoffFindsItsJobEnded) {
  const FendrelJob first = open();
  const FendrelJob second = open();
  mapi.interrupt("IMAPISession::Logoff", 1, [&] {
    expectUnknown(second);
    EXPECT_EQ(end(first), FENDREL_SUCCESS);
  });
  EXPECT_EQ(end(second), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.counts().initialised, 0);
}

TEST_F(Interruption, TheLastStopInsideALogoffWaitsForIt) {
  open();
  mapi.interrupt("IMAPISession::Logoff", 1, [&] { EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS); });
  EXPECT_EQ(end(job), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.counts().initialised, 0);
  startAgain();
}

// Texts of an unpacked record without terminator.
class EndlessText : public UnrulyHost {
 protected:
  static std::span<const std::byte> bytes(std::u16string_view text) { return std::as_bytes(std::span(text)); }
  AtPageEnd endless{bytes(u"Default")};
  wchar_t* text() { return reinterpret_cast<wchar_t*>(endless.get()); }
};

TEST_F(EndlessText, OfARecordIsAnInvalidArgument) {
  FileList files{L"report.txt"};
  for (wchar_t* DestinationOptions::*field :
       {&DestinationOptions::profileName, &DestinationOptions::profilePassword, &DestinationOptions::folderPath}) {
    DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
    options.*field = text();
    EXPECT_EQ(tryToOpen(&options, files), FENDREL_INVALID_ARGUMENT);
    EXPECT_EQ(options.version, FENDREL_OPTIONS_VERSION);
    DestinationOptionsA* converted = nullptr;
    EXPECT_EQ(plugin().optionsW2A(&options, &converted, nullptr), FENDREL_INVALID_ARGUMENT);
  }
}

TEST_F(EndlessText, OfAnAnsiRecordIsAnInvalidArgument) {
  DestinationOptionsA options{};
  options.version = FENDREL_OPTIONS_VERSION;
  options.profileName = reinterpret_cast<char*>(endless.get() + 1);
  std::memset(endless.get(), 'x', 14);
  DestinationOptions* converted = nullptr;
  EXPECT_EQ(plugin().optionsA2W(&options, &converted, nullptr), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(converted, nullptr);
}

TEST_F(EndlessText, TextThatEndsWithItsPageIsTaken) {
  AtPageEnd whole(bytes({u"Default", 8}));
  open(unpackedOptions(reinterpret_cast<wchar_t*>(whole.get()), L"", L"Public Folders@Reports"));
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
}

}  // namespace
}  // namespace fendrel::test
