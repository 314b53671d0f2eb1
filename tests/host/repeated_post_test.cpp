// Repeatable posting: files that the folder holds are left out; and the choice of files.
#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>

#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class RepeatedPost : public FendrelTest {
 protected:
  void SetUp() override { addJane(); }

  Outcome post(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"post", "--to", daily, "--create", "--skip-existing"});
    return fendrel(arguments);
  }
  nlohmann::json listed() const { return fendrel({"list", daily, "--json"}).json()["messages"]; }
  std::string directory(std::wstring_view name) const {
    std::filesystem::create_directories(folder.path() / name);
    return inFolder(name);
  }
};

TEST_F(RepeatedPost, SameCommandAgainPostsNothing) {
  const std::string sales = newFile(L"sales.pdf", "one"), stock = newFile(L"stock.csv", "two");
  ASSERT_EQ(post({sales, stock}).exitCode, 0);
  const Outcome again = post({sales, stock});
  EXPECT_EQ(again.exitCode, 0) << again.err;
  EXPECT_THAT(again.out, HasSubstr("sales.pdf is there already, message of 20"));
  EXPECT_THAT(again.out, HasSubstr("0 posted, 2 left out, 0 bytes in "));
  EXPECT_EQ(listed().size(), 2u);
  const auto document = post({sales, stock, "--json"}).json();
  EXPECT_EQ(document["leftOut"], 2);
  EXPECT_EQ(document["files"][0]["result"], "left out");
  EXPECT_EQ(document["files"][0]["file"], sales);
}

TEST_F(RepeatedPost, ChangedFileOfTheSameSizeIsPosted) {
  const std::string sales = newFile(L"sales.pdf", std::string(100'000, 'a') + 'b');
  ASSERT_EQ(post({sales}).exitCode, 0);
  newFile(L"sales.pdf", std::string(100'000, 'a') + 'c');
  EXPECT_THAT(post({sales}).out, HasSubstr("sales.pdf -> "));
  EXPECT_EQ(listed().size(), 2u);
  EXPECT_THAT(post({sales}).out, HasSubstr("is there already"));
  newFile(L"sales.pdf", std::string(100'000, 'a') + 'b');  // as the older message has it
  EXPECT_THAT(post({sales}).out, HasSubstr("is there already"));
}

TEST_F(RepeatedPost, FileNamedTwiceIsPostedOnceWithAWord) {
  const std::string sales = newFile(L"sales.pdf", "one");
  const std::string other = inFolder(L"..\\") + utf8(folder.path().filename().wstring()) + "\\sales.pdf";
  const Outcome run = post({sales, other});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.err, HasSubstr("is named twice and is posted once"));
  EXPECT_EQ(listed().size(), 1u);
}

TEST_F(RepeatedPost, TwoFilesOfOneNameAndContentAreTwoMessagesInEveryRun) {
  directory(L"one");
  directory(L"two");
  const std::string first = newFile(L"one\\same.csv", "1"), second = newFile(L"two\\same.csv", "1");
  ASSERT_EQ(post({first}).exitCode, 0);
  EXPECT_EQ(post({first, second}).exitCode, 0);
  EXPECT_EQ(post({first, second}).exitCode, 0);
  EXPECT_EQ(listed().size(), 2u);
}

TEST_F(RepeatedPost, DryRunPostsNothingAndMakesNoFolder) {
  const std::string sales = newFile(L"sales.pdf", "one");
  const Outcome run = post({sales, "--dry-run"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, AllOf(HasSubstr("Folder Public Folders@Reports@Daily would be made"),
                             HasSubstr("sales.pdf would be posted to Public Folders@Reports@Daily, 3 bytes")));
  EXPECT_EQ(fendrel({"list", daily}).exitCode, 5);
  ASSERT_EQ(post({sales}).exitCode, 0);
  EXPECT_THAT(post({sales, "--dry-run"}).out, HasSubstr("is there already"));
}

TEST_F(RepeatedPost, NamesComeFromAFileOrFromStandardInput) {
  newFile(L"a.csv", "a");
  newFile(L"b.csv", "b");
  EXPECT_EQ(post({"--files-from", newFile(L"names", "a.csv\r\n\nb.csv\n")}).exitCode, 0);
  EXPECT_EQ(listed().size(), 2u);
  newFile(L"c d.csv", "c");
  const Outcome run =
      fendrelReading(std::string("c d.csv\0a.csv\0", 14), {"post", "--to", daily, "--files-from", "-", "-0"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(listed().size(), 4u);
  EXPECT_THAT(post({"--files-from", newFile(L"names", "missing.csv\n")}).err, HasSubstr("missing.csv"));
}

TEST_F(RepeatedPost, DirectoryIsPostedWithWhatIsBelow) {
  directory(L"out\\deep");
  newFile(L"out\\a.pdf", "a");
  newFile(L"out\\deep\\b.pdf", "b");
  newFile(L"out\\deep\\b.tmp", "t");
  const Outcome refused = post({inFolder(L"out")});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, HasSubstr("--recursive"));
  const Outcome run = post({"-r", inFolder(L"out"), "--exclude", "*.tmp"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(listed().size(), 2u);
  EXPECT_THAT(post({"-r", inFolder(L"out"), "--include", "*.tmp"}).out, HasSubstr("b.tmp -> "));
}

TEST_F(RepeatedPost, PatternWithoutAMatchSaysSo) {
  const Outcome run = post({"*.pdf"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("No file matches '*.pdf'."));
}

TEST_F(RepeatedPost, StandardInputIsPostedUnderItsName) {
  const std::string text(300'000, 'x');
  const Outcome run = fendrelReading(text, {"post", "--to", daily, "--create", "-", "--name", "piped.csv"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  const auto messages = listed();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0]["subject"], "piped.csv");
  EXPECT_EQ(messages[0]["attachments"][0]["size"], 300'000);
  EXPECT_THAT(fendrelReading("x", {"post", "--to", daily, "-"}).err, HasSubstr("--name"));
}

TEST_F(RepeatedPost, PipeAndDeviceAreRefusedWithWords) {
  const std::string name = R"(\\.\pipe\fendrel-test-)" + std::to_string(GetCurrentProcessId());
  const HANDLE pipe = CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 0, 0, 0, nullptr);
  ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
  const Outcome piped = post({name});
  CloseHandle(pipe);
  EXPECT_EQ(piped.exitCode, 1);
  EXPECT_THAT(piped.err, HasSubstr("it is a pipe, not a file"));
  const Outcome device = post({R"(\\.\NUL)"});
  EXPECT_EQ(device.exitCode, 1);
  EXPECT_THAT(device.err, HasSubstr("it is a device, not a file"));
}

TEST_F(RepeatedPost, JsonLinesTellEveryEvent) {
  const Outcome run = post({newFile(L"a.csv", "12"), inFolder(L"missing.csv"), "--json-lines"});
  EXPECT_EQ(run.exitCode, 3);
  std::vector<nlohmann::json> lines;
  std::size_t start = 0;
  for (std::size_t end = run.out.find('\n'); end != std::string::npos; end = run.out.find('\n', start = end + 1))
    lines.push_back(nlohmann::json::parse(run.out.substr(start, end - start)));
  std::vector<std::string> events;
  for (const auto& line : lines) events.push_back(line["event"]);
  EXPECT_EQ(events, (std::vector<std::string>{"failed", "folder made", "folder made", "posted", "total"}));
  EXPECT_EQ(lines[0]["error"]["name"], "ERROR_FILE_NOT_FOUND");
  EXPECT_EQ(lines[3]["size"], 2);
  EXPECT_EQ(lines[4]["exitCode"], 3);
}

TEST_F(RepeatedPost, LogIsAppendedToWithALineAnEvent) {
  const std::string log = inFolder(L"nightly.log"), sales = newFile(L"sales.pdf", "one");
  ASSERT_EQ(post({sales, "--log-file", log, "--quiet"}).out, "");
  ASSERT_EQ(post({sales, inFolder(L"missing.pdf"), "--log-file", log}).exitCode, 3);
  const std::string text = readFile(folder.path() / L"nightly.log");
  EXPECT_THAT(text, HasSubstr("Z\tinfo\tposted\t" + sales + "\tsales.pdf -> Public Folders@Reports@Daily, 3 bytes\n"));
  EXPECT_THAT(text, HasSubstr("\tinfo\tleft out\t" + sales + "\t"));
  EXPECT_THAT(text, HasSubstr("\terror\tfailed\t" + inFolder(L"missing.pdf") + "\t"));
  EXPECT_THAT(text, HasSubstr("\tinfo\ttotal\t\t0 posted, 1 left out, 1 failed, "));
  const Outcome refused = post({sales, "--log-file", inFolder(L"no\\such\\directory.log")});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, HasSubstr("Log file "));
}

TEST_F(RepeatedPost, PasswordComesFromACommand) {
  ASSERT_EQ(fendrel({"profile", "password", "jane", "--new-file", secret("sesame")}).exitCode, 0);
  EXPECT_EQ(fendrel({"folders"}).exitCode, 4);
  const Outcome run = fendrel({"folders", "--password-command", "echo sesame"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  const Outcome failed = fendrel({"folders", "--password-command", "exit 7"});
  EXPECT_EQ(failed.exitCode, 2);
  EXPECT_THAT(failed.err, HasSubstr("ended with exit code 7"));
}

}  // namespace
}  // namespace fendrel::test
