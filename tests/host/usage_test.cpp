// Help, wrong usage, and missing files.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "build_paths.h"
#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::HasSubstr;
using testing::IsSupersetOf;

class Usage : public FendrelTest {
 protected:
  // Every command that the parser knows: "post", "store check".
  std::vector<std::string> knownCommands() const {
    const std::string script = fendrel({"completion", "bash"}).out;
    const std::regex entry("'([a-z -]+)'\\) path=");
    std::vector<std::string> commands;
    for (std::sregex_iterator at(script.begin(), script.end(), entry), end; at != end; ++at)
      commands.push_back((*at)[1].str());
    return commands;
  }

  Outcome helpOf(const std::string& command) const {
    std::vector<std::string> words = {"help"};
    std::istringstream text(command);
    for (std::string word; text >> word;) words.push_back(word);
    return fendrel(words);
  }
};

TEST_F(Usage, VersionIsOneLine) {
  const Outcome run = fendrel({"--version"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out.find("fendrel 1."), 0u) << run.out;
}

TEST_F(Usage, HelpShowsEveryCommandAndTheExitCodes) {
  const Outcome run = fendrel({"--help"});
  EXPECT_EQ(run.exitCode, 0);
  const auto commands = knownCommands();
  EXPECT_THAT(commands, IsSupersetOf({"post", "doctor", "store check"}));
  for (const std::string& command : commands) {
    if (command.find(' ') == std::string::npos) {
      EXPECT_THAT(run.out, HasSubstr("\n  " + command + " "));
    }
  }
  for (const char* word : {"Exit codes", "FENDREL_PASSWORD"}) EXPECT_THAT(run.out, HasSubstr(word));
  EXPECT_EQ(run.err, "");
}

TEST_F(Usage, HelpOfACommandHasAnExample) {
  const Outcome run = fendrel({"post", "--help"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("Usage: fendrel post [OPTIONS] [FILE...]"));
  EXPECT_THAT(run.out, HasSubstr("fendrel post --to \"Public Folders@Reports@Daily\" --create sales.pdf"));
}

TEST_F(Usage, NoHelpLineIsWiderThanATerminalOfAHundredAndTenColumns) {
  for (const std::string& command : knownCommands()) {
    const Outcome run = helpOf(command);
    EXPECT_EQ(run.exitCode, 0) << command;
    EXPECT_THAT(run.out, HasSubstr("Usage: fendrel " + command)) << "of a command that is known";
    std::size_t start = 0;
    for (std::size_t end = run.out.find('\n'); end != std::string::npos; end = run.out.find('\n', start = end + 1))
      EXPECT_LE(end - start, 110u) << run.out.substr(start, end - start);
  }
}

TEST_F(Usage, NoCommandIsWrongUsage) {
  const Outcome run = fendrel({});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("Missing command after"));
}

TEST_F(Usage, UnknownCommandIsNamed) {
  const Outcome run = fendrel({"psot"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("Unknown command 'psot'; did you mean 'post'?"));
}

TEST_F(Usage, UnknownOptionIsNamed) {
  const Outcome run = fendrel({"folders", "--fast"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--fast"));
  EXPECT_THAT(run.err, HasSubstr("fendrel folders --help"));
}

TEST_F(Usage, NearOptionIsNamed) {
  EXPECT_THAT(fendrel({"folders", "--jsno"}).err, HasSubstr("Unknown option '--jsno'; did you mean '--json'?"));
  EXPECT_THAT(fendrel({"post", "--skip-existng", "a"}).err, HasSubstr("did you mean '--skip-existing'?"));
}

TEST_F(Usage, HelpIsACommandToo) {
  EXPECT_EQ(fendrel({"help", "post"}).out, fendrel({"post", "--help"}).out);
  EXPECT_EQ(fendrel({"help", "profile", "add"}).out, fendrel({"profile", "add", "--help"}).out);
  EXPECT_THAT(fendrel({"help"}).out, HasSubstr("Exit codes"));
  const Outcome unknown = fendrel({"help", "psot"});
  EXPECT_EQ(unknown.exitCode, 2);
  EXPECT_THAT(unknown.err, HasSubstr("did you mean 'post'?"));
}

TEST_F(Usage, HelpFitsTheTerminal) {
  SetEnvironmentVariableW(L"FENDREL_COLUMNS", L"72");
  const Outcome run = fendrel({"profile", "list", "--help"});
  SetEnvironmentVariableW(L"FENDREL_COLUMNS", nullptr);
  std::size_t start = 0;
  const std::size_t options = run.out.find("Options:");
  for (std::size_t end = run.out.find('\n'); end != std::string::npos && end < options;
       end = run.out.find('\n', start = end + 1))
    EXPECT_LE(end - start, 72u) << run.out.substr(start, end - start);
}

TEST_F(Usage, PasswordOnTheCommandLineIsNotTaken) {
  const Outcome run = fendrel({"folders", "--password", "sesame"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--password-file"));
  EXPECT_THAT(run.err, testing::Not(HasSubstr("sesame")));
}

TEST_F(Usage, OutputThatCannotBeWrittenIsAFailure) {
  const HANDLE readOnly = CreateFileW(buildFile(L"bin/fendrel.exe").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(readOnly, INVALID_HANDLE_VALUE);
  const Outcome run = runProgram(buildFile(L"bin/fendrel.exe"), {"--version"}, {}, {}, L"NUL", readOnly);
  CloseHandle(readOnly);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("Not all of the output could be written."));
}

TEST_F(Usage, ReadingCommandMakesNoStore) {
  EXPECT_EQ(fendrel({"folders"}).exitCode, 4);
  EXPECT_EQ(fendrel({"profile", "list"}).exitCode, 0);
  EXPECT_EQ(fendrel({"list", "Public Folders"}).exitCode, 4);
  EXPECT_EQ(fendrel({"doctor"}).exitCode, 4);
  EXPECT_FALSE(std::filesystem::exists(folder.path() / L"store.db"));
}

TEST_F(Usage, FileThatIsNoStoreIsCalledThat) {
  newFile(L"store.db", "a letter");
  for (const std::vector<std::string>& command : {std::vector<std::string>{"folders"}, {"profile", "list"}}) {
    const Outcome run = fendrel(command);
    EXPECT_EQ(run.exitCode, 6) << run.err;
    EXPECT_THAT(run.err, HasSubstr("store.db' is not a fendrel store"));
  }
  EXPECT_EQ(readFile(folder.path() / L"store.db"), "a letter");
}

TEST_F(Usage, DamageIsExitCodeSixWhereverItIsMet) {
  addJane();
  ASSERT_EQ(fendrel({"post", "--to", daily, "--create", newFile(L"a.bin", std::string(300'000, 'a'))}).exitCode, 0);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path() / L"store.db.files"))
    if (entry.is_regular_file()) {
      std::fstream file(entry.path(), std::ios::binary | std::ios::in | std::ios::out);
      file.seekp(1000);
      file << "damage";
    }
  const Outcome run = fendrel({"save", daily, "1", inFolder(L"out")});
  EXPECT_EQ(run.exitCode, 6);
  EXPECT_THAT(run.err, testing::AllOf(HasSubstr("store check"), HasSubstr("salvage"), HasSubstr("store.db'")));
  EXPECT_EQ(fendrel({"store", "check"}).exitCode, 6);
}

TEST_F(Usage, CompletionKnowsEveryCommandAndOption) {
  const Outcome bash = fendrel({"completion", "bash"});
  EXPECT_THAT(bash.out, HasSubstr("'profile add') words='"));
  EXPECT_THAT(bash.out, HasSubstr("--skip-existing"));
  EXPECT_THAT(bash.out, testing::Not(HasSubstr("--password ")));  // not an option
  EXPECT_THAT(fendrel({"completion", "powershell"}).out, HasSubstr("'run' = '--help --check"));
}

TEST_F(Usage, PostWithoutDestinationIsWrongUsage) {
  const Outcome run = fendrel({"post", newFile(L"a.txt", "a")});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("Give exactly one target"));
}

TEST_F(Usage, PostWithTwoDestinationsIsWrongUsage) {
  EXPECT_EQ(fendrel({"post", "--personal", "--to", "x", newFile(L"a.txt", "a")}).exitCode, 2);
}

TEST_F(Usage, PostWithoutFileIsWrongUsage) { EXPECT_EQ(fendrel({"post", "--to", "x"}).exitCode, 2); }

TEST_F(Usage, UnknownSubsystemIsWrongUsage) { EXPECT_EQ(fendrel({"--mapi", "other", "folders"}).exitCode, 2); }

TEST_F(Usage, UnknownTypeIsWrongUsage) {
  EXPECT_EQ(fendrel({"post", "--to", "x", "--type", "template", newFile(L"a.txt", "a")}).exitCode, 2);
}

TEST_F(Usage, MessageNumberMustBeANumberFromOne) {
  EXPECT_EQ(fendrel({"show", "Public Folders", "first"}).exitCode, 2);
  EXPECT_EQ(fendrel({"show", "Public Folders", "0"}).exitCode, 2);
  EXPECT_EQ(fendrel({"show", "Public Folders", "1x"}).exitCode, 2);
  EXPECT_EQ(fendrel({"show", "Public Folders"}).exitCode, 2);
}

TEST_F(Usage, WrongUsageIsJsonToo) {
  const Outcome run = fendrel({"--json", "psot"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(run.json()["exitCode"], 2);
  const auto error = run.json()["error"];
  EXPECT_THAT(error["words"].get<std::string>(), HasSubstr("psot"));
  EXPECT_EQ(error["code"], nullptr);
  EXPECT_EQ(error["name"], nullptr);
  EXPECT_EQ(error["retryable"], false);
}

// fendrel.exe in a folder of its own, with only the named files beside it.
std::wstring copyOfProgram(const TempFolder& folder, std::initializer_list<const wchar_t*> files) {
  namespace fs = std::filesystem;
  for (const wchar_t* file : files) {
    const fs::path to = folder.path() / L"copy" / file;
    fs::create_directories(to.parent_path());
    fs::copy_file(buildFile(std::wstring(L"bin/") + file), to);
  }
  return (folder.path() / L"copy" / L"fendrel.exe").wstring();
}

TEST_F(Usage, MissingLocalStoreIsNamedWithTheWayOut) {
  const std::wstring program = copyOfProgram(folder, {L"fendrel.exe", L"FENDREL.DLL"});
  const Outcome run = runProgram(program, {"folders"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(run.err, HasSubstr("copy\\store\\MAPI32.DLL' did not load"));
  EXPECT_THAT(run.err, HasSubstr("--mapi system"));
}

TEST_F(Usage, MissingPluginIsNamed) {
  addJane();
  const std::wstring program = copyOfProgram(folder, {L"fendrel.exe", L"store/MAPI32.DLL"});
  const Outcome run = runProgram(program, {"post", "--to", "Public Folders@R", "--create", newFile(L"a.txt", "a")});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(run.err, HasSubstr("copy\\FENDREL.DLL' did not load"));
}

}  // namespace
}  // namespace fendrel::test
