// The language library beside the plug-in. Each test has a copy of the plug-in in a new folder.
#include <filesystem>

#include "abi_test.h"
#include "build_paths.h"

namespace fendrel::test {
namespace {

constexpr const wchar_t* ownName = L"Exchange Folder";
constexpr const wchar_t* markedName = L"Marked folder";

// Of plain letters and digits.
std::string narrow(std::wstring_view text) { return {text.begin(), text.end()}; }

// Sets the user's language by the "intl"/"sLanguage" profile string and the host's atoms.
class LanguageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    GetProfileStringW(L"intl", L"sLanguage", L"", before_, 32);
    setLanguage(L"");
    std::filesystem::copy_file(Plugin::builtPath(), folder_.path() / L"FENDREL.DLL");
  }
  void TearDown() override {
    plugin_.reset();
    for (const ATOM atom : atoms_) GlobalDeleteAtom(atom);
    WriteProfileStringW(L"intl", L"sLanguage", before_);
  }

  void setLanguage(const wchar_t* abbreviation) {
    ASSERT_TRUE(WriteProfileStringW(L"intl", L"sLanguage", abbreviation));
    wchar_t read[32];
    GetProfileStringW(L"intl", L"sLanguage", L"", read, 32);
    ASSERT_STREQ(read, abbreviation);
  }

  void imposeLanguage(const wchar_t* atom) { atoms_.push_back(GlobalAddAtomW(atom)); }

  void placeFile(const std::filesystem::path& file, const wchar_t* name) {
    std::filesystem::copy_file(file, folder_.path() / name);
  }
  void place(const wchar_t* variant, const wchar_t* name) {
    placeFile(buildFile(std::wstring(L"tests/language_modules/") + variant + L".dll"), name);
  }

  Plugin& plugin() {
    if (!plugin_) plugin_.emplace((folder_.path() / L"FENDREL.DLL").wstring());
    return *plugin_;
  }

  const wchar_t* destinationName() { return plugin().getExportDestinations()->destinations[0]->name; }

  // The destination name after a start.
  std::wstring nameAfterInitialise() {
    EXPECT_EQ(plugin().initialize(), FENDREL_SUCCESS);
    const std::wstring name = destinationName();
    EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
    return name;
  }

  HMODULE loaded(const wchar_t* name) const { return GetModuleHandleW((folder_.path() / name).c_str()); }
  bool isLoaded(const wchar_t* name) const { return loaded(name) != nullptr; }

  RecordingMapi mapi;

 private:
  TempFolder folder_;
  std::optional<Plugin> plugin_;
  std::vector<ATOM> atoms_;
  wchar_t before_[32] = L"";
};

TEST_F(LanguageTest, WithoutALanguageLibraryTheOwnTextsAreUsed) { EXPECT_EQ(nameAfterInitialise(), ownName); }

TEST_F(LanguageTest, LibraryXxIsTakenWithoutAnyLanguage) {
  place(L"complete", L"R7Kqexx.dll");
  EXPECT_EQ(nameAfterInitialise(), markedName);
}

TEST_F(LanguageTest, LibraryXxWinsOverEveryLanguage) {
  place(L"without_classes", L"R7KqeENU.dll");
  place(L"without_classes", L"R7Kqefr.dll");
  place(L"complete", L"R7Kqexx.dll");
  setLanguage(L"ENU");
  imposeLanguage(L"QLMLCID12");
  EXPECT_EQ(nameAfterInitialise(), markedName);
}

TEST_F(LanguageTest, WholeAbbreviationOfTheLanguageIsTried) {
  place(L"complete", L"R7KqeENU.dll");
  setLanguage(L"ENU");
  EXPECT_EQ(nameAfterInitialise(), markedName);
}

TEST_F(LanguageTest, FirstTwoLettersOfTheLanguageAreTriedNext) {
  place(L"complete", L"R7KqeEN.dll");
  setLanguage(L"ENU");
  EXPECT_EQ(nameAfterInitialise(), markedName);
}

TEST_F(LanguageTest, LibraryResIsTriedLast) {
  place(L"complete", L"R7Kqeres.dll");
  setLanguage(L"ENU");
  EXPECT_EQ(nameAfterInitialise(), markedName);
}

TEST_F(LanguageTest, OneLetterOfTheLanguageIsNotTried) {
  place(L"complete", L"R7KqeE.dll");
  setLanguage(L"ENU");
  EXPECT_EQ(nameAfterInitialise(), ownName);
}

TEST_F(LanguageTest, WithoutALanguageNotEvenResIsTried) {
  place(L"complete", L"R7Kqeres.dll");
  EXPECT_EQ(nameAfterInitialise(), ownName);
}

TEST_F(LanguageTest, OtherLanguagesLibraryIsNotTaken) {
  place(L"complete", L"R7KqeDEU.dll");
  setLanguage(L"ENU");
  EXPECT_EQ(nameAfterInitialise(), ownName);
}

struct Atom {
  const wchar_t* key;
  const wchar_t* library;
};

class ImposedLanguage : public LanguageTest, public ::testing::WithParamInterface<Atom> {};

TEST_P(ImposedLanguage, ChoosesItsLibraryOverTheUsersLanguage) {
  place(L"complete", GetParam().library);
  setLanguage(L"ENU");
  place(L"without_classes", L"R7KqeENU.dll");
  imposeLanguage(GetParam().key);
  EXPECT_EQ(nameAfterInitialise(), markedName);
}

INSTANTIATE_TEST_SUITE_P(By, ImposedLanguage,
                         ::testing::Values(Atom{L"QLMLCID7", L"R7Kqede.dll"}, Atom{L"QLMLCID9", L"R7Kqeen.dll"},
                                           Atom{L"QLMLCID12", L"R7Kqefr.dll"}, Atom{L"QLMLCID16", L"R7Kqeit.dll"},
                                           Atom{L"QLMLCID17", L"R7Kqejp.dll"}),
                         [](const auto& test) { return narrow(test.param.key); });

TEST_F(LanguageTest, FirstAtomOfTheTableWins) {
  place(L"complete", L"R7Kqede.dll");
  place(L"without_classes", L"R7Kqefr.dll");
  imposeLanguage(L"QLMLCID12");
  imposeLanguage(L"QLMLCID7");
  EXPECT_EQ(nameAfterInitialise(), markedName);
}

TEST_F(LanguageTest, LibraryOfAWrongVersionIsSkippedAndUnloaded) {
  place(L"wrong_version", L"R7Kqexx.dll");
  EXPECT_EQ(nameAfterInitialise(), ownName);
  EXPECT_FALSE(isLoaded(L"R7Kqexx.dll"));
}

TEST_F(LanguageTest, LibraryWithoutAVersionIsSkippedAndUnloaded) {
  place(L"without_version", L"R7Kqexx.dll");
  EXPECT_EQ(nameAfterInitialise(), ownName);
  EXPECT_FALSE(isLoaded(L"R7Kqexx.dll"));
}

TEST_F(LanguageTest, SkippedLibraryLetsTheNextNameBeTried) {
  place(L"wrong_version", L"R7KqeENU.dll");
  place(L"complete", L"R7KqeEN.dll");
  setLanguage(L"ENU");
  EXPECT_EQ(nameAfterInitialise(), markedName);
}

TEST_F(LanguageTest, LibraryIsReleasedByTheLastTerminateOnly) {
  place(L"complete", L"R7Kqexx.dll");
  ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  EXPECT_TRUE(isLoaded(L"R7Kqexx.dll"));
  plugin().terminate();
  EXPECT_TRUE(isLoaded(L"R7Kqexx.dll"));
  plugin().terminate();
  EXPECT_FALSE(isLoaded(L"R7Kqexx.dll"));
}

TEST_F(LanguageTest, LibraryWithoutTheClassesFailsInitialiseWithSevenAndLeavesNothing) {
  place(L"without_classes", L"R7Kqexx.dll");
  EXPECT_EQ(plugin().initialize(), FENDREL_STRING_NOT_LOADED);
  EXPECT_EQ(destinationName(), nullptr);
  EXPECT_FALSE(isLoaded(L"R7Kqexx.dll"));
}

TEST_F(LanguageTest, FailedInitialiseCanBeRepeated) {
  place(L"without_classes", L"R7Kqexx.dll");
  EXPECT_EQ(plugin().initialize(), FENDREL_STRING_NOT_LOADED);
  EXPECT_EQ(plugin().initialize(), FENDREL_STRING_NOT_LOADED);
}

// ---- Texts of a job ----

class TextsTest : public LanguageTest {
 protected:
  // The error text of a post if creating its message fails with this code.
  std::wstring wordsOf(HRESULT failure) {
    mapi.reset(standardWorld());
    EXPECT_EQ(plugin().initialize(), FENDREL_SUCCESS);
    DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
    FileList files{L"report.txt"};
    FendrelJob job = 0;
    FendrelResult* result = nullptr;
    EXPECT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), &job, &result), FENDREL_SUCCESS);
    mapi.fail("IMAPIFolder::CreateMessage", 1, failure);
    FilePaths paths({L"C:\\unread.txt"});
    EXPECT_EQ(plugin().exportToDestination(job, paths.record()), FENDREL_FAILED);
    const std::wstring text = plugin().getErrorText(job);
    plugin().termExportDestination(job);
    plugin().terminate();
    return text;
  }
};

TEST_F(TextsTest, ComeFromTheLanguageLibrary) {
  place(L"complete", L"R7Kqexx.dll");
  EXPECT_EQ(wordsOf(MAPI_E_NO_ACCESS), L"Marked: no access.");
  EXPECT_EQ(wordsOf(MAPI_E_NOT_FOUND), L"Marked: not found.");
  EXPECT_EQ(wordsOf(MAPI_E_NO_SUPPORT), L"Marked: no support.");
}

TEST_F(TextsTest, ThatTheLanguageLibraryLacksAreTheEnglishOnes) {
  place(L"without_messages", L"R7Kqexx.dll");
  EXPECT_EQ(wordsOf(MAPI_E_NO_ACCESS), L"No access right to post file to Exchange Folders.");
  EXPECT_EQ(wordsOf(MAPI_E_NOT_FOUND), L"MAPI object not found.");
  EXPECT_EQ(wordsOf(MAPI_E_NO_SUPPORT), L"Such posting is not supported by the Message Service Provider.");
}

TEST_F(TextsTest, ThatAreNamesOfCodesAreInNoLibrary) {
  place(L"complete", L"R7Kqexx.dll");
  EXPECT_EQ(wordsOf(MAPI_E_CALL_FAILED), L"MAPI_E_CALL_FAILED");
  EXPECT_EQ(wordsOf(MAPI_E_FAILONEPROVIDER), L"MAPI Error: Fail on provider.");
}

TEST_F(TextsTest, MessageClassComesFromTheLanguageLibrary) {
  place(L"complete", L"R7Kqexx.dll");
  mapi.reset(standardWorld());
  ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  FileList files{L"report.txt"};
  FendrelJob job = 0;
  FendrelResult* result = nullptr;
  ASSERT_EQ(plugin().initExportDestination(nullptr, 0, &options, files.record(), &job, &result), FENDREL_SUCCESS);
  FilePaths paths({L"C:\\unread.txt"});
  plugin().exportToDestination(job, paths.record());
  EXPECT_EQ(valueOf(mapi.messages().at(0).properties, PR_MESSAGE_CLASS_W).text, L"IPM.MARKED.*TXT");
  plugin().termExportDestination(job);
  plugin().terminate();
}

// ---- The shipped libraries, all five beside the plug-in ----

struct Shipped {
  const wchar_t* file;
  const wchar_t* atom;
  const wchar_t* user;  // its sLanguage
};

class ShippedLibraries : public LanguageTest, public ::testing::WithParamInterface<Shipped> {
 protected:
  static constexpr const wchar_t* files[] = {L"R7Kqede.dll", L"R7Kqeen.dll", L"R7Kqefr.dll", L"R7Kqeit.dll",
                                             L"R7Kqejp.dll"};

  void SetUp() override {
    LanguageTest::SetUp();
    for (const wchar_t* file : files) placeFile(buildFile(std::wstring(L"languages/") + file), file);
  }

  // The source of texts after a start: only one of the five may be loaded.
  void expectChosen(const wchar_t* chosen) {
    ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
    for (const wchar_t* file : files) EXPECT_EQ(isLoaded(file), file == std::wstring_view(chosen)) << narrow(file);
    wchar_t name[256] = L"";
    EXPECT_GT(LoadStringW(loaded(chosen), 1, name, 256), 0);
    EXPECT_STREQ(destinationName(), name);
    EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  }
};

TEST_P(ShippedLibraries, AreChosenByTheAtomOfTheirLanguage) {
  setLanguage(GetParam().user == std::wstring_view(L"ITA") ? L"FRA" : L"ITA");
  imposeLanguage(GetParam().atom);
  expectChosen(GetParam().file);
}

TEST_P(ShippedLibraries, AreChosenByTheUsersLanguage) {
  setLanguage(GetParam().user);
  expectChosen(GetParam().file);
}

INSTANTIATE_TEST_SUITE_P(Each, ShippedLibraries,
                         ::testing::Values(Shipped{L"R7Kqede.dll", L"QLMLCID7", L"DEU"},
                                           Shipped{L"R7Kqeen.dll", L"QLMLCID9", L"ENU"},
                                           Shipped{L"R7Kqefr.dll", L"QLMLCID12", L"FRA"},
                                           Shipped{L"R7Kqeit.dll", L"QLMLCID16", L"ITA"},
                                           Shipped{L"R7Kqejp.dll", L"QLMLCID17", L"JPN"}),
                         [](const auto& test) { return narrow(test.param.user); });

}  // namespace
}  // namespace fendrel::test
