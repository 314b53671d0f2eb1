// Jobs: problems of a job, a run, a watch.
#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>

#include "fendrel_run.h"
#include "started_program.h"

namespace fendrel::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* nightly =
    "folder = 'Public Folders@Reports@Daily'\n"
    "create = true\n"
    "files = 'out/*.csv'\n"
    "archive = 'posted'\n"
    "failed = 'failed'\n"
    "log-file = 'nightly.log'\n"
    "settle = 0\n";

class JobCommand : public FendrelTest {
 protected:
  void SetUp() override {
    addJane();
    std::filesystem::create_directories(folder.path() / L"out");
  }

  std::string job(const std::string& text) const { return newFile(L"nightly.toml", text); }
  std::size_t posted() const {
    const Outcome run = fendrel({"list", daily, "--json"});
    return run.exitCode == 0 ? run.json()["messages"].size() : 0;
  }
  bool exists(std::wstring_view name) const { return std::filesystem::exists(folder.path() / name); }
};

TEST_F(JobCommand, RunPostsAndPutsTheFilesAway) {
  newFile(L"out\\a.csv", "a");
  newFile(L"out\\b.csv", "b");
  newFile(L"out\\c.tmp", "c");
  const Outcome run = fendrel({"run", job(nightly)});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("2 posted, 2 bytes in "));
  EXPECT_EQ(posted(), 2u);
  EXPECT_TRUE(exists(L"posted\\a.csv") && exists(L"posted\\b.csv") && exists(L"out\\c.tmp"));
  EXPECT_FALSE(exists(L"out\\a.csv"));
  EXPECT_THAT(readFile(folder.path() / L"nightly.log"), HasSubstr("\tposted\t"));
}

TEST_F(JobCommand, RunWithoutAFileIsNoFailure) {
  const Outcome run = fendrel({"run", job(nightly)});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.err, HasSubstr("No file matches"));
  EXPECT_THAT(run.out, HasSubstr("There is no file to post."));
}

TEST_F(JobCommand, FileThatWasPostedBeforeIsPutAwayWithoutASecondMessage) {
  newFile(L"out\\a.csv", "a");
  ASSERT_EQ(fendrel({"post", "--to", daily, "--create", inFolder(L"out\\a.csv")}).exitCode, 0);
  EXPECT_EQ(fendrel({"run", job(nightly)}).exitCode, 0);
  EXPECT_EQ(posted(), 1u);
  EXPECT_TRUE(exists(L"posted\\a.csv"));
}

TEST_F(JobCommand, TakenNameInTheArchiveGetsANumber) {
  for (const char* content : {"first", "second"}) {
    newFile(L"out\\a.csv", content);
    ASSERT_EQ(fendrel({"run", job(nightly)}).exitCode, 0);
  }
  EXPECT_EQ(readFile(folder.path() / L"posted" / L"a.csv"), "first");
  EXPECT_EQ(readFile(folder.path() / L"posted" / L"a (2).csv"), "second");
}

// stepped_clock_test tests that old messages are deleted, because it can set the clock.
TEST_F(JobCommand, RetentionKeepsWhatIsNew) {
  newFile(L"out\\a.csv", "a");
  const std::string old = "[retention]\nolder-than = '1h'\nsubject = '*.csv'\n";
  const Outcome run = fendrel({"run", job(nightly + old), "--json"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.json()["deleted"].size(), 0u);
  EXPECT_EQ(posted(), 1u);
}

TEST_F(JobCommand, CheckNamesWhatIsWrongLineByLine) {
  const Outcome run = fendrel({"run", "--check",
                               job("folder = 'Public Folders@Daily'\n"
                                   "files = 'out/*.csv'\n"
                                   "retrys = 3\n"
                                   "wait = 'long'\n"
                                   "create = 'yes'\n"
                                   "[retention]\n"
                                   "older-than = '90 days'\n")});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("nightly.toml:3: 'retrys' is unknown; did you mean 'retries'?"));
  EXPECT_THAT(run.err, HasSubstr("nightly.toml:4: 'wait' is a whole number from 0 to 3600."));
  EXPECT_THAT(run.err, HasSubstr("nightly.toml:5: 'create' is true or false"));
  EXPECT_THAT(run.err, HasSubstr("nightly.toml:7: retention.older-than '90 days' is not an age."));
  EXPECT_THAT(fendrel({"run", "--check", job("files = 'a'\n")}).err, HasSubstr("'folder' is missing"));
  EXPECT_THAT(fendrel({"run", "--check", job("folder = \"x\"\nfiles = \"D:\\reports\"\n")}).err,
              AllOf(HasSubstr("nightly.toml:2: "), HasSubstr("single quotes")));
  EXPECT_EQ(fendrel({"run", inFolder(L"missing.toml")}).exitCode, 2);
  EXPECT_EQ(posted(), 0u);
}

TEST_F(JobCommand, CheckSaysWhatARunWouldDoAndDoesNothing) {
  newFile(L"out\\a.csv", "a");
  const Outcome run = fendrel({"run", "--check", job(nightly)});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, AllOf(HasSubstr("is in order."), HasSubstr("would be made"),
                             HasSubstr("a.csv would be posted to Public Folders@Reports@Daily, 1 byte"),
                             HasSubstr("Files that are posted would be moved to ")));
  EXPECT_EQ(posted(), 0u);
  EXPECT_TRUE(exists(L"out\\a.csv"));
}

TEST_F(JobCommand, ProfileAndPasswordComeFromTheJob) {
  ASSERT_EQ(fendrel({"profile", "add", "night", "--user", "Night Shift", "--password-file", secret("sesame")}).exitCode,
            0);
  newFile(L"out\\a.csv", "a");
  const Outcome run =
      fendrel({"run", job(std::string("profile = 'night'\npassword-file = 'password'\n") + nightly), "--json"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.json()["posting"]["profile"], "night");
}

TEST_F(JobCommand, WatchPostsWhatAppearsOnceItIsComplete) {
  const std::string file = job(nightly);
  StartedProgram watch({"run", "--watch", file}, folder.path());
  newFile(L"out\\a.csv", "a");
  EXPECT_TRUE(comesTrue([&] { return exists(L"posted\\a.csv"); }));
  // A file that is being written is left alone until it is closed.
  const HANDLE writer = CreateFileW((folder.path() / L"out" / L"b.csv").c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(writer, INVALID_HANDLE_VALUE);
  Sleep(3000);
  EXPECT_FALSE(exists(L"posted\\b.csv"));
  CloseHandle(writer);
  EXPECT_TRUE(comesTrue([&] { return exists(L"posted\\b.csv"); }));
  EXPECT_EQ(posted(), 2u);
  // A second run of the same job would post the same files.
  const Outcome second = fendrel({"run", file});
  EXPECT_EQ(second.exitCode, 1);
  EXPECT_THAT(second.err, HasSubstr("is running already"));
  EXPECT_THAT(watch.output(), AllOf(HasSubstr("Watching"), HasSubstr("a.csv -> ")));
}

TEST_F(JobCommand, WatchThatIsStartedAgainPostsNothingTwice) {
  std::string text = nightly;
  text.erase(text.find("archive"), text.find("failed =") - text.find("archive"));
  const std::string file = job(text);
  newFile(L"out\\a.csv", "a");
  for (int round = 0; round < 2; ++round) {
    StartedProgram watch({"run", "--watch", file}, folder.path());
    EXPECT_TRUE(comesTrue([&] {
      return readFile(folder.path() / L"nightly.log").find(round == 0 ? "\tposted\t" : "\tleft out\t") !=
             std::string::npos;
    }));
    watch.kill();
  }
  EXPECT_EQ(posted(), 1u);
}

}  // namespace
}  // namespace fendrel::test
