// fendrel.exe with failures inside an export: the plug-in runs on the recording MAPI double, which fails where the test
// wants it to. The program's code runs in this process instead of fendrel.exe.
#include <gmock/gmock.h>
#include <windows.h>
// after windows.h
#include <mapidefs.h>
// after mapidefs.h
#include <mapicode.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>

#include "command_line.h"
#include "recording_client.h"
#include "temp_folder.h"
#include "text.h"

namespace fendrel::test {
namespace {

using testing::HasSubstr;

// Catches what is written to one of the standard handles into a file.
class Caught {
 public:
  Caught(DWORD which, const std::filesystem::path& file)
      : standard(which),
        before(GetStdHandle(which)),
        path(file),
        handle(CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr)) {
    SetStdHandle(standard, handle);
  }
  ~Caught() {
    SetStdHandle(standard, before);
    CloseHandle(handle);
  }
  Caught(const Caught&) = delete;
  Caught& operator=(const Caught&) = delete;

  std::string text() const {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  DWORD standard;
  HANDLE before;
  std::filesystem::path path;
  HANDLE handle;
};

struct Outcome {
  host::ExitCode exitCode;
  std::string out, err;
};

class RefusedPost : public testing::Test {
 protected:
  RefusedPost() {
    mapi().reset(standardWorld());
    for (const wchar_t* name : {L"sales.pdf", L"stock.csv"}) std::ofstream(folder.path() / name) << "content";
  }

  // One per process: the program keeps its library.
  static RecordingMapi& mapi() {
    static RecordingMapi loaded;
    return loaded;
  }

  // Once loaded, the double is the system's MAPI.
  Outcome doctor(const std::string& path = "Public Folders@Reports@Daily") {
    return run({"doctor", "--mapi", "system", "--profile", "Default", "--to", path});
  }

  Outcome post(std::vector<std::string> files, std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {
        "post", "--mapi", "system", "--profile", "Default", "--to", "Public Folders@Reports@Daily"};
    for (const std::string& file : files) arguments.push_back(host::toUtf8((folder.path() / file).wstring()));
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments);
  }

  Outcome run(const std::vector<std::string>& arguments) {
    const Caught out(STD_OUTPUT_HANDLE, folder.path() / L"out"), err(STD_ERROR_HANDLE, folder.path() / L"err");
    const host::ExitCode code = host::run(arguments);
    return {code, out.text(), err.text()};
  }

  static std::size_t savedMessages() {
    const std::vector<PostedMessage> all = mapi().messages();
    return static_cast<std::size_t>(std::ranges::count_if(all, &PostedMessage::saved));
  }

  TempFolder folder;
};

TEST_F(RefusedPost, MessageThatTheStoreDidNotKeepIsNoSuccess) {
  mapi().failEvery("IMessage::SaveChanges", MAPI_E_NOT_ENOUGH_DISK);
  const Outcome outcome = post({"sales.pdf"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::failed);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr("sales.pdf was not posted. The plug-in reported success, but folder "
                                     "'Public Folders@Reports@Daily' did not keep the message."));
}

TEST_F(RefusedPost, FolderWithoutTheRightToPostIsNamedWithTheWayOut) {
  mapi().failEvery("IMAPIFolder::CreateMessage", MAPI_E_NO_ACCESS);
  const Outcome outcome = post({"sales.pdf"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::folderRefused);
  EXPECT_THAT(outcome.err, HasSubstr("sales.pdf was not posted. Folder 'Public Folders@Reports@Daily' refused the "
                                     "message: no right to do this (MAPI_E_NO_ACCESS, 0x80070005). Ask the owner"));
}

TEST_F(RefusedPost, EveryRefusedFileIsNamed) {
  mapi().failEvery("IMAPIFolder::CreateMessage", MAPI_E_NO_ACCESS);
  const Outcome outcome = post({"sales.pdf", "stock.csv"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::folderRefused);
  EXPECT_THAT(outcome.err, HasSubstr("sales.pdf was not posted."));
  EXPECT_THAT(outcome.err, HasSubstr("stock.csv was not posted."));
}

TEST_F(RefusedPost, FilesTogetherAreEachLookedFor) {
  mapi().failEvery("IMAPIFolder::CreateMessage", MAPI_E_CORRUPT_DATA);
  const Outcome outcome = post({"sales.pdf", "stock.csv"}, {"--together"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::damageFound);
  EXPECT_THAT(outcome.err, HasSubstr("sales.pdf was not posted."));
  EXPECT_THAT(outcome.err, HasSubstr("stock.csv was not posted."));
  EXPECT_THAT(outcome.err, HasSubstr("(MAPI_E_CORRUPT_DATA, 0x8004011B)"));
}

TEST_F(RefusedPost, FullDiskIsNamed) {
  mapi().failEvery("IStream::Write", MAPI_E_NOT_ENOUGH_DISK);
  const Outcome outcome = post({"sales.pdf"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::failed);
  EXPECT_THAT(outcome.err, HasSubstr("not enough disk space (MAPI_E_NOT_ENOUGH_DISK, 0x8004010D). Make room"));
}

TEST_F(RefusedPost, CodeWithoutANameIsShownAsANumber) {
  mapi().failEvery("IMAPIFolder::CreateMessage", static_cast<HRESULT>(0x80049999));
  const Outcome outcome = post({"sales.pdf"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::failed);
  EXPECT_THAT(outcome.err, HasSubstr("error 0x80049999"));
}

TEST_F(RefusedPost, CancellingIsNoFailure) {
  mapi().failEvery("IMAPIFolder::CreateMessage", MAPI_E_USER_CANCEL);
  EXPECT_EQ(post({"sales.pdf"}).exitCode, host::ExitCode::cancelled);
}

TEST_F(RefusedPost, LogonRefusedToThePluginAloneNamesTheProfile) {
  mapi().fail("MAPILogonEx", 2, MAPI_E_LOGON_FAILED);  // the first is the program's own
  const Outcome outcome = post({"sales.pdf"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::mapiUnusable);
  EXPECT_THAT(outcome.err, HasSubstr("The plug-in cannot use profile 'Default' (plug-in code -1)."));
}

TEST_F(RefusedPost, RefusedLogonIsNamed) {
  mapi().failEvery("MAPILogonEx", MAPI_E_LOGON_FAILED);
  const Outcome outcome = post({"sales.pdf"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::mapiUnusable);
  EXPECT_THAT(outcome.err, HasSubstr("Profile 'Default' cannot be used: logon failed"));
}

TEST_F(RefusedPost, BusyStoreIsTriedAgainUntilItIsNot) {
  mapi().fail("IMAPIFolder::CreateMessage", 1, MAPI_E_BUSY);
  const Outcome outcome = post({"sales.pdf", "stock.csv"}, {"--retries", "2", "--wait", "0", "--json"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::done) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("the store is busy (MAPI_E_BUSY"));
  EXPECT_THAT(outcome.err, HasSubstr("Trying again in 0 seconds (1 of 2)."));
  const auto document = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(document["posted"], 2);
  EXPECT_FALSE(document["files"][0].contains("error"));
  EXPECT_EQ(savedMessages(), 2u);
}

TEST_F(RefusedPost, StoreThatStaysBusyIsAFailureThatMayPass) {
  mapi().failEvery("IMAPIFolder::CreateMessage", MAPI_E_BUSY);
  const Outcome outcome = post({"sales.pdf", "stock.csv"}, {"--retries", "2", "--wait", "0", "--json"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::failed);
  EXPECT_THAT(outcome.err, HasSubstr("(2 of 2)"));
  const auto document = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(document["failed"], 2);
  EXPECT_EQ(document["files"][1]["error"]["retryable"], true);
  EXPECT_EQ(document["files"][1]["error"]["name"], "MAPI_E_BUSY");
}

TEST_F(RefusedPost, RefusalThatStaysIsNotTriedAgain) {
  mapi().failEvery("IMAPIFolder::CreateMessage", MAPI_E_NO_ACCESS);
  const Outcome outcome = post({"sales.pdf"}, {"--retries", "2", "--wait", "0", "--json"});
  EXPECT_THAT(outcome.err, testing::Not(HasSubstr("Trying again")));
  EXPECT_EQ(nlohmann::json::parse(outcome.out)["files"][0]["error"]["retryable"], false);
}

TEST_F(RefusedPost, LogonServerThatIsDownForAMomentIsTriedAgain) {
  mapi().fail("MAPILogonEx", 1, MAPI_E_NETWORK_ERROR);
  const Outcome outcome = post({"sales.pdf"}, {"--retries", "1", "--wait", "0"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::done) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("MAPI_E_NETWORK_ERROR"));
}

TEST_F(RefusedPost, MessageThatTheStoreDidNotKeepAtFirstIsThereOnce) {
  mapi().fail("IMessage::SaveChanges", 1, MAPI_E_NOT_ENOUGH_DISK);
  const Outcome outcome = post({"sales.pdf"}, {"--retries", "1", "--wait", "0"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::done) << outcome.err;
}

// The server is lost after the message was saved and before the program could look for it.
TEST_F(RefusedPost, FileWhoseMessageCouldNotBeLookedForIsNotPostedTwice) {
  mapi().fail("IMAPIFolder::GetContentsTable", 2, MAPI_E_NETWORK_ERROR);  // the first one finds what was there before
  const Outcome outcome = post({"sales.pdf"}, {"--retries", "1", "--wait", "0"});
  EXPECT_EQ(outcome.exitCode, host::ExitCode::done) << outcome.err;
  EXPECT_EQ(savedMessages(), 1u);
}

TEST_F(RefusedPost, SkipExistingReadsTheAttachmentBack) {
  EXPECT_EQ(post({"sales.pdf"}).exitCode, host::ExitCode::done);
  const Outcome again = post({"sales.pdf"}, {"--skip-existing"});
  EXPECT_EQ(again.exitCode, host::ExitCode::done) << again.err;
  EXPECT_THAT(again.out, HasSubstr("sales.pdf is there already, message of "));
  EXPECT_EQ(savedMessages(), 1u);
}

// The doctor's crosses that only MAPI itself can cause.
TEST_F(RefusedPost, DoctorHasNoCrossForAMapiThatWorks) {
  const Outcome outcome = doctor();
  EXPECT_EQ(outcome.exitCode, host::ExitCode::done) << outcome.out;
}

TEST_F(RefusedPost, DoctorNamesAMapiThatDoesNotStart) {
  mapi().failEvery("MAPIInitialize", MAPI_E_UNCONFIGURED);
  const Outcome outcome = doctor();
  EXPECT_EQ(outcome.exitCode, host::ExitCode::mapiUnusable);
  EXPECT_THAT(outcome.out, HasSubstr("\xE2\x9C\x97 Initialise     MAPI did not start"));
}

TEST_F(RefusedPost, DoctorNamesAStoreThatCannotBeOpened) {
  mapi().failEvery("IMAPISession::OpenMsgStore", MAPI_E_FAILONEPROVIDER);
  const Outcome outcome = doctor();
  EXPECT_EQ(outcome.exitCode, host::ExitCode::failed);
  EXPECT_THAT(outcome.out, HasSubstr("\xE2\x9C\x97 Stores         Message store 'Mailbox - Ada' cannot be opened"));
}

TEST_F(RefusedPost, DoctorNamesAProfileWithoutAStore) {
  World world = standardWorld();
  world.stores.clear();
  world.folders.clear();
  mapi().reset(world);
  const Outcome outcome = doctor();
  EXPECT_EQ(outcome.exitCode, host::ExitCode::mapiUnusable);
  EXPECT_THAT(outcome.out, HasSubstr("The profile has no message store."));
}

TEST_F(RefusedPost, DoctorNamesAFolderWithoutTheRightToPost) {
  mapi().failEvery("IMAPIFolder::CreateMessage", MAPI_E_NO_ACCESS);
  const Outcome outcome = doctor();
  EXPECT_EQ(outcome.exitCode, host::ExitCode::folderRefused);
  EXPECT_THAT(outcome.out, HasSubstr("\xE2\x9C\x97 Right to post  No message can be made in"));
}

// The program itself runs with UTF-8 as its code page where the system can; this process has the system's own.
TEST_F(RefusedPost, DoctorNamesANameOutsideTheCodePage) {
  if (GetACP() == CP_UTF8) GTEST_SKIP() << "every name is in the code page 65001";
  World world = standardWorld();
  const int store = world.addStore(L"Archive");
  world.addFolder(store, World::subtree, L"\u5831\u544A");
  mapi().reset(world);
  const Outcome outcome = doctor("Archive@\xE5\xA0\xB1\xE5\x91\x8A");
  EXPECT_EQ(outcome.exitCode, host::ExitCode::folderRefused);
  EXPECT_THAT(outcome.out, HasSubstr("characters that this system's code page"));
}

TEST_F(RefusedPost, NothingStaysOpenAfterAFailure) {
  mapi().failEvery("IMAPIFolder::CreateMessage", MAPI_E_NO_ACCESS);
  post({"sales.pdf", "stock.csv"});
  const RecordingCounts counts = mapi().counts();
  EXPECT_EQ(counts.interfaces, 0u);
  EXPECT_EQ(counts.buffers, 0u);
  EXPECT_EQ(counts.sessions, 0u);
  EXPECT_EQ(counts.initialised, 0);
}

}  // namespace
}  // namespace fendrel::test
