// Logging on, the profile's name and the user's identity.
#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const wchar_t* target = L"Public Folders@Reports";

class LogonTest : public JobTest {
 protected:
  uint32_t logOn(const wchar_t* profile = L"Default", const wchar_t* password = L"") {
    FileList files{L"report.txt"};
    DestinationOptions options = unpackedOptions(profile, password, target);
    return tryToOpen(&options, files);
  }

  uint32_t logOnInteractively() {
    FileList files{L"report.txt"};
    return tryToOpen(nullptr, files);
  }

  // The job's profile name; nothing if it has none.
  std::optional<std::wstring> profileName() {
    DestinationOptions* options = nullptr;
    EXPECT_EQ(plugin().decodeOptions(job, &options), FENDREL_SUCCESS);
    if (!options) return std::nullopt;
    const auto name = options->profileName ? std::optional<std::wstring>(options->profileName) : std::nullopt;
    plugin().freeOptionsW(0, options);
    return name;
  }

  bool postsWithSender() {
    EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
    const auto messages = mapi.messages();
    return !messages.empty() && has(messages[0].properties, PR_SENDER_NAME_W);
  }
};

TEST_F(LogonTest, SilentLogonUsesProfileAndPasswordWithoutUserInterface) {
  ASSERT_EQ(logOn(L"Ada", L"secret"), FENDREL_SUCCESS);
  EXPECT_THAT(mapi.linesOf("MAPILogonEx"),
              ElementsAre("MAPILogonEx [] window=0x0 profile=\"Ada\" password=\"secret\" flags=0x80008022"));
}

TEST_F(LogonTest, SilentLogonPassesAnEmptyPasswordAsItIs) {
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_THAT(mapi.linesOf("MAPILogonEx"),
              ElementsAre("MAPILogonEx [] window=0x0 profile=\"Default\" password=\"\" flags=0x80008022"));
}

TEST_F(LogonTest, InteractiveLogonHasNoNamesAndShowsTheLogonDialog) {
  mapi.fail("MAPILogonEx", 1, MAPI_E_USER_CANCEL);
  EXPECT_EQ(logOnInteractively(), FENDREL_CANCELLED);
  EXPECT_THAT(mapi.linesOf("MAPILogonEx"),
              ElementsAre("MAPILogonEx [] window=0x0 profile=null password=null flags=0x80008023"));
}

TEST_F(LogonTest, FailedInteractiveLogonGivesMinusOne) {
  mapi.fail("MAPILogonEx", 1, MAPI_E_LOGON_FAILED);
  EXPECT_EQ(logOnInteractively(), FENDREL_FAILED);
}

TEST_F(LogonTest, ActiveWindowIsPassedAsThirtyTwoBits) {
  const HWND window =
      CreateWindowW(L"STATIC", L"host", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(window, nullptr);
  SetActiveWindow(window);
  const HWND active = GetActiveWindow();
  const uint32_t code = logOn();
  DestroyWindow(window);
  ASSERT_EQ(code, FENDREL_SUCCESS);
  ASSERT_EQ(active, window) << "this system lets the test activate no window";
  char expected[64];
  snprintf(expected, sizeof expected, "MAPILogonEx [] window=0x%lx ",
           static_cast<unsigned long>(reinterpret_cast<uintptr_t>(active)));
  EXPECT_THAT(mapi.linesOf("MAPILogonEx").at(0), StartsWith(expected));
}

TEST_F(LogonTest, CallsAreMadeInThisOrder) {
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_THAT(
      mapi.lines(),
      ElementsAre("MAPIInitialize [] record=null",
                  "MAPILogonEx [] window=0x0 profile=\"Default\" password=\"\" flags=0x80008022",
                  "IMAPISession::GetStatusTable [Default] flags=0x0", "IMAPITable::GetRowCount [status] flags=0x0",
                  "IMAPITable::Restrict [status] restriction=null flags=0x0",
                  "IMAPITable::SetColumns [status] columns=PR_RESOURCE_TYPE,PR_DISPLAY_NAME_A flags=0x0",
                  "IMAPITable::GetRowCount [status] flags=0x0", "IMAPITable::SeekRow [status] origin=0 rows=0",
                  "IMAPITable::QueryRows [status] rows=50 flags=0x0", "IMAPISession::QueryIdentity [Default] ",
                  "IMAPISession::OpenEntry [Default] entry=<00000000ada1> interface=null flags=0x10",
                  "IMailUser::GetProps [user] tags=PR_DISPLAY_NAME_A,PR_SEARCH_KEY flags=0x0"));
}

TEST_F(LogonTest, NothingButTheSessionIsHeldAfterwards) {
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.counts().interfaces, 1u) << mapi.liveObjects();
  EXPECT_EQ(mapi.counts().buffers, 0u) << mapi.liveObjects();
}

// ---- The profile's name ----

TEST_F(LogonTest, ProfileNameIsThatOfTheSubsystemRow) {
  world.statusRows = {{{MAPI_SUBSYSTEM, L"The real one"}}};
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_EQ(profileName(), L"The real one");
}

TEST_F(LogonTest, FirstSubsystemRowWithANameWins) {
  world.statusRows = {{{MAPI_SPOOLER, L"Spooler"},
                       {MAPI_SUBSYSTEM, nullptr},
                       {0, L"No type"},
                       {MAPI_SUBSYSTEM, L"First"},
                       {MAPI_SUBSYSTEM, L"Second"}}};
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_EQ(profileName(), L"First");
}

TEST_F(LogonTest, SubsystemRowIsFoundBehindTheFirstFifty) {
  world.statusRows.emplace(60, RecordingStatusRow{MAPI_SPOOLER, L"Spooler"});
  world.statusRows->push_back({MAPI_SUBSYSTEM, L"Behind"});
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_EQ(profileName(), L"Behind");
  EXPECT_EQ(mapi.callsOf("IMAPITable::QueryRows").size(), 2u);
}

TEST_F(LogonTest, ProfileNameIsConvertedFromTheAnsiCodePage) {
  world.statusRows = {{{MAPI_SUBSYSTEM, localName()}}};
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_EQ(profileName(), localName());
}

TEST_F(LogonTest, StatusTableWithoutRowsLeavesTheJobWithoutAProfileName) {
  world.statusRows.emplace();
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_EQ(profileName(), std::nullopt);
  EXPECT_THAT(mapi.callsOf("IMAPITable::SetColumns"), IsEmpty());
  EXPECT_THAT(mapi.callsOf("IMAPISession::QueryIdentity"), IsEmpty());
}

TEST_F(LogonTest, FailingRowCountCountsAsAFailureOfTheTable) {
  mapi.fail("IMAPITable::GetRowCount", 1, MAPI_E_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(logOn(), FENDREL_OUT_OF_MEMORY);
}

TEST_F(LogonTest, StatusRowsWithoutNamesFail) {
  world.statusRows = {{{MAPI_SUBSYSTEM, nullptr}}};
  rebuildWorld();
  EXPECT_EQ(logOn(), FENDREL_FAILED);
}

TEST_F(LogonTest, NoSubsystemRowFails) {
  world.statusRows = {{{MAPI_SPOOLER, L"Spooler"}}};
  rebuildWorld();
  EXPECT_EQ(logOn(), FENDREL_FAILED);
}

TEST_F(LogonTest, StatusRowWithoutATypeIsPassedOver) {
  world.statusRows = {{{0, L"Nobody"}}};
  rebuildWorld();
  EXPECT_EQ(logOn(), FENDREL_FAILED);
}

TEST_F(LogonTest, FailedProfileLookupLogsTheSessionOff) {
  mapi.fail("IMAPISession::GetStatusTable", 1, MAPI_E_NO_SUPPORT);
  EXPECT_EQ(logOn(), FENDREL_FAILED);
  EXPECT_EQ(mapi.callsOf("IMAPISession::Logoff").size(), 1u);
}

TEST_F(LogonTest, BusyTableThatCompletesInTimeSucceeds) {
  mapi.fail("IMAPITable::SetColumns", 1, MAPI_E_BUSY);
  EXPECT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_THAT(mapi.linesOf("IMAPITable::WaitForCompletion"),
              ElementsAre("IMAPITable::WaitForCompletion [status] flags=0x0 timeout=5000"));
  EXPECT_EQ(mapi.callsOf("IMAPITable::SetColumns").size(), 1u);
  EXPECT_EQ(profileName(), L"Default");
}

TEST_F(LogonTest, BusyTableThatDoesNotCompleteFailsWithTheWaitsResult) {
  mapi.fail("IMAPITable::SetColumns", 1, MAPI_E_BUSY);
  mapi.fail("IMAPITable::WaitForCompletion", 1, MAPI_E_NOT_ENOUGH_DISK);
  EXPECT_EQ(logOn(), FENDREL_NOT_ENOUGH_DISK);
}

TEST_F(LogonTest, BusySeekThatCompletesInTimeSucceeds) {
  mapi.fail("IMAPITable::SeekRow", 1, MAPI_E_BUSY);
  EXPECT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_EQ(profileName(), L"Default");
}

TEST_F(LogonTest, FailingRestrictWithoutARestrictionIsIgnored) {
  mapi.fail("IMAPITable::Restrict", 1, MAPI_E_NO_SUPPORT);
  EXPECT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_EQ(profileName(), L"Default");
}

// ---- Codes ----

class FailedLogon : public LogonTest, public ::testing::WithParamInterface<Mapped> {};

TEST_P(FailedLogon, GivesTheMappedCode) {
  mapi.fail("MAPILogonEx", 1, GetParam().result);
  EXPECT_EQ(logOn(), GetParam().code);
}

TEST_P(FailedLogon, GivesTheMappedCodeInteractivelyToo) {
  mapi.fail("MAPILogonEx", 1, GetParam().result);
  EXPECT_EQ(logOnInteractively(), GetParam().code);
}

TEST_P(FailedLogon, OfTheStatusTableGivesTheMappedCode) {
  mapi.fail("IMAPISession::GetStatusTable", 1, GetParam().result);
  EXPECT_EQ(logOn(), GetParam().code);
}

TEST_P(FailedLogon, OfTheStatusRowsGivesTheMappedCode) {
  mapi.fail("IMAPITable::QueryRows", 1, GetParam().result);
  EXPECT_EQ(logOn(), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(With, FailedLogon, ::testing::ValuesIn(mappedResults),
                         [](const auto& test) { return test.param.name; });

TEST_F(LogonTest, WrongPasswordGivesMinusOne) { EXPECT_EQ(logOn(L"Ada", L"wrong"), FENDREL_FAILED); }

TEST_F(LogonTest, UnknownProfileGivesMinusOne) { EXPECT_EQ(logOn(L"Nobody", L""), FENDREL_FAILED); }

TEST_F(LogonTest, WarningOfTheLogonIsASuccess) {
  mapi.fail("MAPILogonEx", 1, MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(logOn(), FENDREL_SUCCESS);
}

// ---- The identity ----

TEST_F(LogonTest, SenderIsTheLoggedOnUser) {
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  const PostedMessage message = mapi.messages().at(0);
  const std::vector<uint8_t> entryId = {0, 0, 0, 0, 0xAD, 0xA1};
  const std::vector<uint8_t> searchKey = {'S', 'M', 'T', 'P', ':', 'A', 'D', 'A', 0};
  EXPECT_EQ(valueOf(message.properties, PR_SENDER_ENTRYID).bytes, entryId);
  EXPECT_EQ(valueOf(message.properties, PR_SENDER_NAME_W).text, L"Ada Lovelace");
  EXPECT_EQ(valueOf(message.properties, PR_SENDER_SEARCH_KEY).bytes, searchKey);
  EXPECT_EQ(valueOf(message.properties, PR_SENT_REPRESENTING_ENTRYID).bytes, entryId);
  EXPECT_EQ(valueOf(message.properties, PR_SENT_REPRESENTING_NAME_W).text, L"Ada Lovelace");
  EXPECT_EQ(valueOf(message.properties, PR_SENT_REPRESENTING_SEARCH_KEY).bytes, searchKey);
}

TEST_F(LogonTest, UsersNameIsConvertedFromTheAnsiCodePage) {
  world.identity->name = localName();
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  ASSERT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(valueOf(mapi.messages().at(0).properties, PR_SENDER_NAME_W).text, localName());
}

TEST_F(LogonTest, FailingIdentityQueryPostsWithoutSender) {
  mapi.failEvery("IMAPISession::QueryIdentity", MAPI_E_NOT_FOUND);
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_FALSE(postsWithSender());
  EXPECT_THAT(mapi.callsOf("IMAPISession::OpenEntry"), IsEmpty());
}

TEST_F(LogonTest, UserThatCannotBeOpenedPostsWithoutSender) {
  mapi.failEvery("IMAPISession::OpenEntry", MAPI_E_NO_ACCESS);
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_FALSE(postsWithSender());
}

TEST_F(LogonTest, UserWithoutReadablePropertiesPostsWithoutSender) {
  mapi.failEvery("IMailUser::GetProps", MAPI_E_CALL_FAILED);
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_FALSE(postsWithSender());
}

TEST_F(LogonTest, EmptyEntryIdentifierPostsWithoutSender) {
  world.identity->entryIdSize = 0;
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_FALSE(postsWithSender());
}

TEST_F(LogonTest, UserWithoutNamePostsWithoutSender) {
  world.identity->name = nullptr;
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_FALSE(postsWithSender());
}

TEST_F(LogonTest, UserWithoutSearchKeyPostsWithoutSender) {
  world.identity->searchKeyPresent = 0;
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_FALSE(postsWithSender());
}

TEST_F(LogonTest, EmptySearchKeyPostsWithoutSender) {
  world.identity->searchKeySize = 0;
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_FALSE(postsWithSender());
}

TEST_F(LogonTest, UserWithAnEmptyNameStillIsASender) {
  world.identity->name = L"";
  rebuildWorld();
  ASSERT_EQ(logOn(), FENDREL_SUCCESS);
  EXPECT_TRUE(postsWithSender());
}

}  // namespace
}  // namespace fendrel::test
