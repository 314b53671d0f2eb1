// Searches over a list of folders.
#include "file_search.h"

#include <gmock/gmock.h>

#include <fstream>
#include <set>
#include <string>

#include "file_helpers.h"
#include "temp_folder.h"

namespace fendrel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FileSearching : public testing::Test {
 protected:
  std::wstring directory(const std::wstring& name) const {
    std::filesystem::create_directory(folder.path() / name);
    return folder.file(name);
  }
  void make(const std::wstring& path) const { std::ofstream{std::filesystem::path(path)}; }

  static std::multiset<std::wstring> find(const std::wstring& pattern, const std::wstring& list) {
    std::unique_ptr<FileSearch> search;
    EXPECT_EQ(FileFindOpen(pattern.c_str(), list.c_str(), search), 0);
    std::multiset<std::wstring> names;
    HeapText name;
    FileCode code = 0;
    while ((code = FileFindNext(search.get(), name)) == 0) names.insert(name.get());
    EXPECT_EQ(code, 269);
    EXPECT_EQ(FileFindNext(search.get(), name), 269) << "the end stays the end";
    EXPECT_EQ(name, nullptr);
    FileFindClose(search);
    EXPECT_EQ(search, nullptr);
    return names;
  }

  TempFolder folder;
};

TEST_F(FileSearching, TwoFoldersTheFirstWithATrailingBackslashAreBothSearched) {
  const std::wstring first = directory(L"first"), second = directory(L"second");
  make(first + L"\\a.rpt");
  make(first + L"\\b.txt");
  make(second + L"\\c.rpt");
  make(second + L"\\d.rpt");
  EXPECT_THAT(find(L"*.rpt", first + L"\\;" + second), ElementsAre(L"a.rpt", L"c.rpt", L"d.rpt"));
}

TEST_F(FileSearching, AFolderWithATrailingSlashIsSearchedWithOneBackslash) {
  const std::wstring first = directory(L"first");
  make(first + L"\\a.rpt");
  EXPECT_THAT(find(L"a.rpt", first + L"/"), ElementsAre(L"a.rpt"));
}

TEST_F(FileSearching, AFolderWithoutMatchOrThatIsMissingIsPassedOver) {
  const std::wstring empty = directory(L"empty"), second = directory(L"second");
  make(second + L"\\a.rpt");
  EXPECT_THAT(find(L"*.rpt", empty + L";" + folder.file(L"missing") + L";" + second), ElementsAre(L"a.rpt"));
}

TEST_F(FileSearching, EmptyPlacesOfTheListArePassedOver) {
  const std::wstring first = directory(L"first");
  make(first + L"\\a.rpt");
  EXPECT_THAT(find(L"*.rpt", L";;" + first + L";;"), ElementsAre(L"a.rpt"));
}

TEST_F(FileSearching, AnEmptyListHasNoFiles) {
  EXPECT_THAT(find(L"*", L""), IsEmpty());
  EXPECT_THAT(find(L"*", L";"), IsEmpty());
}

TEST_F(FileSearching, AFolderOf261CharactersIsPassedOver) {
  const std::wstring second = directory(L"second");
  make(second + L"\\a.rpt");
  const std::wstring longName(261, L'x');
  EXPECT_THAT(find(L"*.rpt", longName + L";" + second), ElementsAre(L"a.rpt"));
}

// Exactly 260 characters are still searched: the folder's own path filled up with repeated separators.
TEST_F(FileSearching, AFolderOf260CharactersIsSearched) {
  std::wstring name = directory(L"first");
  make(name + L"\\a.rpt");
  const std::wstring doubled = L"\\.";
  while (name.size() + 2 <= 260) name += doubled;
  if (name.size() == 259) name += L'\\';
  ASSERT_EQ(name.size(), 260u);
  EXPECT_THAT(find(L"a.rpt", name), ElementsAre(L"a.rpt"));
}

TEST_F(FileSearching, TwoSearchesKeepTheirPlacesApart) {
  const std::wstring first = directory(L"first"), second = directory(L"second");
  make(first + L"\\a.rpt");
  make(second + L"\\b.rpt");
  const std::wstring list = first + L";" + second;
  std::unique_ptr<FileSearch> one, two;
  FileFindOpen(L"*.rpt", list.c_str(), one);
  FileFindOpen(L"*.rpt", list.c_str(), two);
  HeapText name;
  EXPECT_EQ(FileFindNext(one.get(), name), 0);
  EXPECT_STREQ(name.get(), L"a.rpt");
  EXPECT_EQ(FileFindNext(two.get(), name), 0);
  EXPECT_STREQ(name.get(), L"a.rpt");
  EXPECT_EQ(FileFindNext(one.get(), name), 0);
  EXPECT_STREQ(name.get(), L"b.rpt");
}

TEST_F(FileSearching, ClosingASearchHalfwayLetsTheFolderGo) {
  const std::wstring first = directory(L"first");
  make(first + L"\\a.rpt");
  std::unique_ptr<FileSearch> search;
  FileFindOpen(L"*", first.c_str(), search);
  HeapText name;
  EXPECT_EQ(FileFindNext(search.get(), name), 0);
  FileFindClose(search);
  DeleteFileW((first + L"\\a.rpt").c_str());
  EXPECT_TRUE(RemoveDirectoryW(first.c_str()));
}

TEST_F(FileSearching, NullsAreEmpty) {
  std::unique_ptr<FileSearch> search;
  EXPECT_EQ(FileFindOpen(nullptr, nullptr, search), 0);
  HeapText name;
  EXPECT_EQ(FileFindNext(search.get(), name), 269);
  FileFindClose(search);
  FileFindClose(search);
  EXPECT_EQ(FileFindNext(nullptr, name), 269);
}

class LibrarySearching : public FileSearching {
 protected:
  void SetUp() override {
    GetSystemDirectoryW(system, MAX_PATH);
    second = directory(L"second");
    ASSERT_TRUE(CopyFileW((std::wstring(system) + L"\\version.dll").c_str(), (second + L"\\lib.dll").c_str(), TRUE));
  }
  wchar_t system[MAX_PATH] = {};
  std::wstring second;
};

TEST_F(LibrarySearching, TheFirstFolderThatHasTheLibraryGivesIt) {
  const std::wstring list = directory(L"first") + L"\\;" + std::wstring(261, L'x') + L";" + second + L"\\";
  const HMODULE library = LoadLibraryFromPathList(L"lib.dll", list.c_str());
  ASSERT_NE(library, nullptr);
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(library, path, MAX_PATH);
  EXPECT_STREQ(path, (second + L"\\lib.dll").c_str());
  FreeLibrary(library);
}

TEST_F(LibrarySearching, AFileThatIsNoLibraryIsPassedOver) {
  const std::wstring first = directory(L"first");
  std::ofstream(std::filesystem::path(first + L"\\lib.dll")) << "no library";
  const HMODULE library = LoadLibraryFromPathList(L"lib.dll", (first + L";" + second).c_str());
  EXPECT_NE(library, nullptr);
  if (library) FreeLibrary(library);
}

TEST_F(LibrarySearching, NothingToLoadIsNullAndTheErrorModeIsAsBefore) {
  const UINT before = SetErrorMode(SEM_NOGPFAULTERRORBOX);
  EXPECT_EQ(LoadLibraryFromPathList(L"missing.dll", second.c_str()), nullptr);
  EXPECT_EQ(LoadLibraryFromPathList(L"lib.dll", L""), nullptr);
  EXPECT_EQ(LoadLibraryFromPathList(nullptr, nullptr), nullptr);
  EXPECT_EQ(SetErrorMode(before), UINT{SEM_NOGPFAULTERRORBOX});
}

}  // namespace
}  // namespace fendrel::test
