// The choice of the language library. The libraries are small real ones, copied under the names that a case needs.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

#include "build_paths.h"
#include "import_hook.h"
#include "resource_module.h"
#include "temp_folder.h"

using namespace fendrel;

namespace {

constexpr const wchar_t* atomKeys[] = {L"QLMLCID7", L"QLMLCID9", L"QLMLCID12", L"QLMLCID16", L"QLMLCID17"};

// The name of a module's file without its folder.
std::wstring fileName(HMODULE module) {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(module, path, MAX_PATH);
  return std::filesystem::path(path).filename().wstring();
}

// A plug-in's folder with a module in it, no atoms, and no language of the user.
class LanguageChoice : public testing::Test {
 protected:
  LanguageChoice() {
    GetProfileStringW(L"intl", L"sLanguage", L"", languageBefore_, 260);
    userLanguage(L"");
    for (const wchar_t* key : atomKeys)
      while (const ATOM atom = GlobalFindAtomW(key)) GlobalDeleteAtom(atom);
    put(L"valid", L"plugin.dll");
    own = LoadLibraryW(folder.file(L"plugin.dll").c_str());
    EXPECT_NE(own, nullptr);
  }
  ~LanguageChoice() override {
    while (library) FreeResourceModule(library);
    FreeLibrary(own);
    for (const ATOM atom : atoms_) GlobalDeleteAtom(atom);
    userLanguage(languageBefore_);
  }

  // Copies a built library into the plug-in's folder.
  void put(const std::wstring& kind, const std::wstring& name) {
    std::filesystem::copy_file(buildFile(L"tests/language/" + kind + L".dll"), folder.file(name));
  }
  void userLanguage(const wchar_t* code) { WriteProfileStringW(L"intl", L"sLanguage", code); }
  void impose(const wchar_t* key) { atoms_.push_back(GlobalAddAtomW(key)); }

  HMODULE load() { return LoadResourceModule(own, L"R7Kqe", library); }

  void expectChosen(const wchar_t* name) {
    const HMODULE chosen = load();
    EXPECT_EQ(chosen, library);
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(fileName(library), name);
  }
  void expectOwn() {
    EXPECT_EQ(load(), own);
    EXPECT_EQ(library, nullptr);
  }

  TempFolder folder;
  HMODULE own = nullptr;
  HMODULE library = nullptr;

 private:
  wchar_t languageBefore_[260] = {};
  std::vector<ATOM> atoms_;
};

TEST_F(LanguageChoice, IsThePluginItselfWhenThereIsNoLibrary) {
  userLanguage(L"ENU");
  expectOwn();
}

TEST_F(LanguageChoice, LibraryXxWinsOverEveryLanguage) {
  put(L"valid", L"R7Kqexx.dll");
  put(L"valid", L"R7Kqefr.dll");
  put(L"valid", L"R7KqeENU.dll");
  impose(L"QLMLCID12");
  userLanguage(L"ENU");
  expectChosen(L"R7Kqexx.dll");
}

TEST_F(LanguageChoice, LibraryXxNeedsNoLanguage) {
  put(L"valid", L"R7Kqexx.dll");
  expectChosen(L"R7Kqexx.dll");
}

TEST_F(LanguageChoice, AtomWinsOverTheLanguageOfTheUser) {
  put(L"valid", L"R7Kqefr.dll");
  put(L"valid", L"R7KqeENU.dll");
  put(L"valid", L"R7Kqeres.dll");
  impose(L"QLMLCID12");
  userLanguage(L"ENU");
  expectChosen(L"R7Kqefr.dll");
}

TEST_F(LanguageChoice, FirstLanguageOfTheTableWinsWhenSeveralAtomsExist) {
  put(L"valid", L"R7Kqeit.dll");
  put(L"valid", L"R7Kqede.dll");
  impose(L"QLMLCID16");
  impose(L"QLMLCID7");
  expectChosen(L"R7Kqede.dll");
}

TEST_F(LanguageChoice, AtomWithoutItsLibraryFallsBackToResAndNotToTheUser) {
  put(L"valid", L"R7KqeENU.dll");
  put(L"valid", L"R7Kqeres.dll");
  impose(L"QLMLCID12");
  userLanguage(L"ENU");
  expectChosen(L"R7Kqeres.dll");
}

TEST_F(LanguageChoice, WholeLanguageOfTheUserWinsOverItsFirstTwoLetters) {
  put(L"valid", L"R7KqeENU.dll");
  put(L"valid", L"R7KqeEN.dll");
  put(L"valid", L"R7Kqeres.dll");
  userLanguage(L"ENU");
  expectChosen(L"R7KqeENU.dll");
}

TEST_F(LanguageChoice, FirstTwoLettersWinOverRes) {
  put(L"valid", L"R7KqeEN.dll");
  put(L"valid", L"R7Kqeres.dll");
  userLanguage(L"ENU");
  expectChosen(L"R7KqeEN.dll");
}

TEST_F(LanguageChoice, ResIsTheLastResortOfAKnownLanguage) {
  put(L"valid", L"R7KqeDEU.dll");
  put(L"valid", L"R7Kqeres.dll");
  userLanguage(L"ENU");
  expectChosen(L"R7Kqeres.dll");
}

TEST_F(LanguageChoice, OneLetterIsNotTriedAsAName) {
  put(L"valid", L"R7KqeE.dll");
  userLanguage(L"ENU");
  expectOwn();
}

TEST_F(LanguageChoice, WithoutALanguageNotEvenResIsTried) {
  put(L"valid", L"R7Kqeres.dll");
  put(L"valid", L"R7Kqeen.dll");
  expectOwn();
}

TEST_F(LanguageChoice, LanguageOfOneLetterIsNone) {
  put(L"valid", L"R7KqeE.dll");
  put(L"valid", L"R7Kqeres.dll");
  userLanguage(L"E");
  expectOwn();
}

TEST_F(LanguageChoice, LibraryOfAnotherVersionIsUnloadedAndSkipped) {
  put(L"other_version", L"R7Kqexx.dll");
  put(L"valid", L"R7KqeENU.dll");
  userLanguage(L"ENU");
  expectChosen(L"R7KqeENU.dll");
  EXPECT_EQ(GetModuleHandleW(L"R7Kqexx.dll"), nullptr);
}

TEST_F(LanguageChoice, LibraryWithoutTheExportIsUnloadedAndSkipped) {
  put(L"without_export", L"R7KqeENU.dll");
  put(L"valid", L"R7KqeEN.dll");
  userLanguage(L"ENU");
  expectChosen(L"R7KqeEN.dll");
  EXPECT_EQ(GetModuleHandleW(L"R7KqeENU.dll"), nullptr);
}

TEST_F(LanguageChoice, FileThatIsNoLibraryIsSkipped) {
  std::ofstream(std::filesystem::path(folder.file(L"R7Kqexx.dll"))) << "not a library";
  put(L"valid", L"R7Kqeres.dll");
  userLanguage(L"ENU");
  expectChosen(L"R7Kqeres.dll");
}

TEST_F(LanguageChoice, WhenNothingIsAcceptedIsThePlugin) {
  put(L"other_version", L"R7Kqexx.dll");
  put(L"other_version", L"R7KqeENU.dll");
  put(L"without_export", L"R7KqeEN.dll");
  put(L"other_version", L"R7Kqeres.dll");
  userLanguage(L"ENU");
  expectOwn();
}

TEST_F(LanguageChoice, LibrariesOfAnotherBaseNameAreNotLookedAt) {
  put(L"valid", L"Otherxx.dll");
  userLanguage(L"ENU");
  expectOwn();
  EXPECT_EQ(LoadResourceModule(own, L"Other", library), library);
  EXPECT_EQ(fileName(library), L"Otherxx.dll");
}

std::vector<UINT> g_errorModes;
HMODULE WINAPI noteErrorMode(const wchar_t* name) {
  g_errorModes.push_back(GetErrorMode());
  return LoadLibraryExW(name, nullptr, 0);
}

TEST_F(LanguageChoice, NoBoxOfTheSystemsAppearsWhileALibraryLoads) {
  const test::ImportHook hook("KERNEL32.dll", "LoadLibraryW", &noteErrorMode);
  userLanguage(L"ENU");
  g_errorModes.clear();
  load();
  EXPECT_THAT(g_errorModes, testing::SizeIs(4));  // xx, ENU, EN, res
  EXPECT_THAT(g_errorModes, testing::Each(0x8001u));
}

TEST_F(LanguageChoice, ErrorModeIsPutBack) {
  const UINT before = SetErrorMode(SEM_NOGPFAULTERRORBOX);
  userLanguage(L"ENU");
  load();
  EXPECT_EQ(SetErrorMode(before), static_cast<UINT>(SEM_NOGPFAULTERRORBOX));
}

TEST_F(LanguageChoice, LoadedLibraryIsCountedAndFreedWithTheLastUse) {
  put(L"valid", L"R7Kqexx.dll");
  const HMODULE first = load();
  EXPECT_EQ(load(), first);
  EXPECT_EQ(LoadResourceModule(nullptr, L"NoSuchName", library), first) << "nothing is searched while one is loaded";
  FreeResourceModule(library);
  FreeResourceModule(library);
  EXPECT_EQ(library, first);
  EXPECT_EQ(GetModuleHandleW(L"R7Kqexx.dll"), first);
  FreeResourceModule(library);
  EXPECT_EQ(library, nullptr);
  EXPECT_EQ(GetModuleHandleW(L"R7Kqexx.dll"), nullptr);
}

TEST_F(LanguageChoice, FreeingNothingIsHarmless) {
  FreeResourceModule(library);
  EXPECT_EQ(library, nullptr);
}

TEST_F(LanguageChoice, ModuleWithoutAFileNameIsReturnedItself) {
  put(L"valid", L"R7Kqexx.dll");
  const auto noModule = reinterpret_cast<HMODULE>(static_cast<ULONG_PTR>(0x10000));
  EXPECT_EQ(LoadResourceModule(noModule, L"R7Kqe", library), noModule);
  EXPECT_EQ(library, nullptr);
}

struct Imposed {
  const char* row;
  const wchar_t* key;
  const wchar_t* fileName;
  friend void PrintTo(const Imposed& value, std::ostream* out) { *out << value.row; }
};

class ImposedLanguage : public LanguageChoice, public testing::WithParamInterface<Imposed> {};

TEST_P(ImposedLanguage, ChoosesTheLibraryOfItsCode) {
  put(L"valid", GetParam().fileName);
  impose(GetParam().key);
  expectChosen(GetParam().fileName);
}

// "jp", not the ISO code of Japanese.
INSTANTIATE_TEST_SUITE_P(, ImposedLanguage,
                         testing::Values(Imposed{"German", L"QLMLCID7", L"R7Kqede.dll"},
                                         Imposed{"English", L"QLMLCID9", L"R7Kqeen.dll"},
                                         Imposed{"French", L"QLMLCID12", L"R7Kqefr.dll"},
                                         Imposed{"Italian", L"QLMLCID16", L"R7Kqeit.dll"},
                                         Imposed{"Japanese", L"QLMLCID17", L"R7Kqejp.dll"}),
                         [](const auto& row) { return std::string(row.param.row); });

}  // namespace
