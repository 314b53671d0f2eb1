// Help, wrong usage, and a machine on which something is missing.
#include <gmock/gmock.h>

#include <filesystem>

#include "build_paths.h"
#include "fendrel_run.h"

namespace fendrel::test {
namespace {

using testing::HasSubstr;

class Usage : public FendrelTest {};

TEST_F(Usage, VersionIsOneLine) {
  const Outcome run = fendrel({"--version"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out.find("fendrel 1."), 0u) << run.out;
}

TEST_F(Usage, HelpShowsEveryCommandAndTheExitCodes) {
  const Outcome run = fendrel({"--help"});
  EXPECT_EQ(run.exitCode, 0);
  for (const char* word : {"post", "folders", "folder ", "list", "show", "save", "export", "delete", "profile",
                           "store ", "Exit codes", "FENDREL_PASSWORD"})
    EXPECT_THAT(run.out, HasSubstr(word));
  EXPECT_EQ(run.err, "");
}

TEST_F(Usage, HelpOfACommandHasAnExample) {
  const Outcome run = fendrel({"post", "--help"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("Usage: fendrel post [OPTIONS] FILE..."));
  EXPECT_THAT(run.out, HasSubstr("fendrel post --to \"Public Folders@Reports@Daily\" --create sales.pdf"));
}

TEST_F(Usage, NoHelpLineIsWiderThanATerminalOfAHundredAndTenColumns) {
  for (const char* command :
       {"post", "folders", "folder", "list", "show", "save", "export", "delete", "profile", "store"}) {
    const Outcome run = fendrel({command, "--help"});
    std::size_t start = 0;
    for (std::size_t end = run.out.find('\n'); end != std::string::npos; end = run.out.find('\n', start = end + 1))
      EXPECT_LE(end - start, 110u) << run.out.substr(start, end - start);
  }
}

TEST_F(Usage, NoCommandIsWrongUsage) {
  const Outcome run = fendrel({});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("A command is missing"));
}

TEST_F(Usage, UnknownCommandIsNamed) {
  const Outcome run = fendrel({"psot"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("'psot' is no command"));
}

TEST_F(Usage, UnknownOptionIsNamed) {
  const Outcome run = fendrel({"folders", "--fast"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--fast"));
  EXPECT_THAT(run.err, HasSubstr("fendrel folders --help"));
}

TEST_F(Usage, PostWithoutDestinationIsWrongUsage) {
  const Outcome run = fendrel({"post", newFile(L"a.txt", "a")});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("Where to? Give"));
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
  const auto error = run.json()["error"];
  EXPECT_EQ(error["exitCode"], 2);
  EXPECT_THAT(error["message"].get<std::string>(), HasSubstr("psot"));
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
