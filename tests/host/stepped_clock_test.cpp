// A clock that is set back between two messages: no posted message may count as lost. The program's code runs in this
// process, with the plug-in and the local store.
#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>

#include "build_paths.h"
#include "command_line.h"
#include "import_hook.h"
#include "temp_folder.h"
#include "text.h"

namespace fendrel::test {
namespace {

// An hour before the clock that the program and the store see.
void WINAPI anHourAgo(SYSTEMTIME* time) {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  constexpr ULONGLONG hour = 36'000'000'000;
  ULARGE_INTEGER ticks{.u = {now.dwLowDateTime, now.dwHighDateTime}};
  ticks.QuadPart -= hour;
  const FILETIME then{ticks.u.LowPart, ticks.u.HighPart};
  FileTimeToSystemTime(&then, time);
}

class SteppedClock : public testing::Test {
 protected:
  SteppedClock() {
    // Once loaded by its path, it is what requests for the system's MAPI get.
    static const HMODULE store = LoadLibraryW(buildFile(L"bin/store/MAPI32.DLL").c_str());
    static const HMODULE plugin = LoadLibraryW(buildFile(L"tests/FENDREL.DLL").c_str());
    EXPECT_NE(store, nullptr);
    EXPECT_NE(plugin, nullptr);
    plugIn = plugin;
    SetEnvironmentVariableW(L"FENDREL_STORE", (folder.path() / L"store.db").c_str());
    EXPECT_EQ(host::run({"profile", "add", "jane", "--mapi", "system"}), host::ExitCode::done);
    std::ofstream(folder.path() / L"sales.pdf") << "content";
  }
  ~SteppedClock() override { SetEnvironmentVariableW(L"FENDREL_STORE", nullptr); }

  host::ExitCode post() const {
    return host::run({"post", "--mapi", "system", "--profile", "jane", "--to", "Public Folders@Reports", "--create",
                      host::toUtf8((folder.path() / L"sales.pdf").wstring())});
  }

  TempFolder folder;
  HMODULE plugIn = nullptr;
};

TEST_F(SteppedClock, MessageOfAnEarlierTimeIsFound) {
  const ImportHook setBack("KERNEL32.dll", "GetSystemTime", anHourAgo, plugIn);
  EXPECT_EQ(post(), host::ExitCode::done);
}

TEST_F(SteppedClock, FilesOfOneNameAreFoundOneAfterTheOther) {
  ASSERT_EQ(post(), host::ExitCode::done);
  const ImportHook setBack("KERNEL32.dll", "GetSystemTime", anHourAgo, plugIn);
  EXPECT_EQ(post(), host::ExitCode::done);
  EXPECT_EQ(post(), host::ExitCode::done);
}

TEST_F(SteppedClock, RetentionOfAJobDeletesWhatIsTooOldAndNothingElse) {
  {
    const ImportHook setBack("KERNEL32.dll", "GetSystemTime", anHourAgo, plugIn);
    ASSERT_EQ(post(), host::ExitCode::done);
  }
  std::ofstream(folder.path() / L"stock.csv") << "new";
  std::ofstream(folder.path() / L"nightly.toml") << "mapi = 'system'\nprofile = 'jane'\n"
                                                    "folder = 'Public Folders@Reports'\nfiles = 'stock.csv'\n"
                                                    "[retention]\nolder-than = '1h'\n";
  const auto numberIsThere = [](const char* number) {
    return host::run({"list", "--mapi", "system", "--profile", "jane", "Public Folders@Reports", number});
  };
  EXPECT_EQ(host::run({"run", "--check", host::toUtf8((folder.path() / L"nightly.toml").wstring())}),
            host::ExitCode::done);
  EXPECT_EQ(host::run({"run", host::toUtf8((folder.path() / L"nightly.toml").wstring())}), host::ExitCode::done);
  EXPECT_EQ(numberIsThere("1"), host::ExitCode::done);
  EXPECT_EQ(numberIsThere("2"), host::ExitCode::folderRefused);
  EXPECT_EQ(host::run({"delete", "--mapi", "system", "--profile", "jane", "Public Folders@Reports", "--subject",
                       "stock.csv", "--yes"}),
            host::ExitCode::done);
  EXPECT_EQ(numberIsThere("1"), host::ExitCode::folderRefused);
}

}  // namespace
}  // namespace fendrel::test
