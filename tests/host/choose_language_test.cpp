// The language of the dialogs, imposed on a copy of the program with language libraries beside the plug-in. Global
// atoms are shared by all processes: other language tests must not run meanwhile.
#include <filesystem>

#include "build_paths.h"
#include "choose_fixture.h"

using namespace fendrel::test;

namespace {

TEST_F(ChooseCommand, ImposedLanguageIsThatOfTheDialogs) {
  // A copy with a language library beside the plug-in; the built one has none.
  const std::filesystem::path copy = folder.path() / "copy";
  const std::wstring program = copyProgram(copy);
  for (const wchar_t* file : {L"R7Kqefr.dll", L"R7Kqede.dll"})
    std::filesystem::copy_file(buildFile(std::wstring(L"languages/") + file), copy / file);
  const auto chooseIn = [&](const std::string& language, const wchar_t* caption) {
    const Outcome run = runProgram(program, {"choose", "--language", language}, folder.path(), [&](DWORD threadId) {
      logOn(DialogThread(threadId));
      chooseReports(DialogThread(threadId), caption);
    });
    EXPECT_EQ(run.exitCode, 0) << run.err;
  };
  chooseIn("fr", L"S\u00e9lection d\u2019un dossier");
  chooseIn("de", L"Ordner ausw\u00e4hlen");
  EXPECT_EQ(GlobalFindAtomW(L"QLMLCID7"), 0) << "the language stays imposed";
}

}  // namespace
