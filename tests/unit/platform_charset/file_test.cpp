// Files and folders, on both paths against real ones.
#include "charset_file.h"

#include <io.h>

#include <fstream>

#include "charset_test.h"
#include "temp_folder.h"

namespace fendrel::test {
namespace {

class CharsetFile : public testing::Test {
 protected:
  std::wstring nativePath() const { return folder.file(nativeText() + L".txt"); }

  static std::wstring make(const std::wstring& path) {
    std::ofstream(std::filesystem::path(path)) << "content";
    return path;
  }
  static bool exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

  TempFolder folder;
};

HANDLE createNew(const std::wstring& path) {
  return charset::createFile(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST_F(CharsetFile, CreateFileMakesTheSameFileOnBothPaths) {
  const HANDLE wide = createNew(nativePath());
  ASSERT_NE(wide, INVALID_HANDLE_VALUE);
  CloseHandle(wide);
  EXPECT_TRUE(exists(nativePath()));
  DeleteFileW(nativePath().c_str());
  const AnsiPath path;
  const HANDLE ansi = createNew(nativePath());
  ASSERT_NE(ansi, INVALID_HANDLE_VALUE);
  CloseHandle(ansi);
  EXPECT_TRUE(exists(nativePath()));
}

TEST_F(CharsetFile, APathThatConvertsToMoreThan520BytesCannotBeOpenedOnTheAnsiPath) {
  const AnsiPath ansi;
  const std::wstring longest = L"C:\\" + std::wstring(516, L'x');  // 519 bytes and the terminator
  EXPECT_EQ(createNew(longest), INVALID_HANDLE_VALUE);             // no such folder, but tried
  EXPECT_THROW(createNew(longest + L'x'), int);
  try {
    createNew(longest + L'x');
  } catch (int code) {
    EXPECT_EQ(code, 1184);
  }
}

TEST_F(CharsetFile, APathCountsInBytesOfTheCodePage) {
  const AnsiPath ansi;
  const std::wstring path = L"C:\\" + std::wstring(300, nativeText()[0]);
  if (isDoubleByte()) {
    EXPECT_THROW(createNew(path), int);
  } else {
    EXPECT_EQ(createNew(path), INVALID_HANDLE_VALUE);
  }
}

TEST_F(CharsetFile, CreateFileWithoutANameThrowsOnTheAnsiPath) {
  const AnsiPath ansi;
  EXPECT_THROW(charset::createFile(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr), int);
}

TEST_F(CharsetFile, DeleteFileDeletesOnBothPaths) {
  make(nativePath());
  EXPECT_TRUE(charset::deleteFile(nativePath().c_str()));
  EXPECT_FALSE(exists(nativePath()));
  make(nativePath());
  const AnsiPath ansi;
  EXPECT_TRUE(charset::deleteFile(nativePath().c_str()));
  EXPECT_FALSE(exists(nativePath()));
  EXPECT_FALSE(charset::deleteFile(nativePath().c_str()));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(CharsetFile, CreateDirectoryMakesTheSameFolderOnBothPaths) {
  const std::wstring path = folder.file(nativeText());
  EXPECT_TRUE(charset::createDirectory(path.c_str(), nullptr));
  EXPECT_TRUE(exists(path));
  RemoveDirectoryW(path.c_str());
  const AnsiPath ansi;
  EXPECT_TRUE(charset::createDirectory(path.c_str(), nullptr));
  EXPECT_TRUE(exists(path));
}

TEST_F(CharsetFile, TempPathIsTheSameOnBothPathsAndTellsTheRoomItNeeds) {
  const auto read = [](wchar_t* buffer, int size) { return charset::getTempPath(static_cast<DWORD>(size), buffer); };
  const TextAnswer wide = readWide(300, read);
  EXPECT_GT(wide.result, 0);
  EXPECT_EQ(readAnsi(300, read), wide);
  const int whole = static_cast<int>(wide.text.size()) + 1;
  EXPECT_EQ(readAnsi(whole, read), wide);
  EXPECT_EQ(readAnsi(whole - 1, read).result, whole);  // one too small
  EXPECT_EQ(readWide(whole - 1, read).result, whole);
}

TEST_F(CharsetFile, TempFileNameMakesAFileInTheFolderOnBothPaths) {
  const std::wstring directory = folder.file(nativeText());
  CreateDirectoryW(directory.c_str(), nullptr);
  const auto make = [&] {
    wchar_t name[MAX_PATH] = {};
    EXPECT_NE(charset::getTempFileName(directory.c_str(), L"Temp", 0, name), 0u);
    return std::wstring(name);
  };
  const std::wstring wide = make();
  EXPECT_TRUE(exists(wide));
  const AnsiPath path;
  const std::wstring ansi = make();
  EXPECT_TRUE(exists(ansi));
  EXPECT_NE(ansi, wide);
  EXPECT_EQ(ansi.substr(0, directory.size()), directory);
}

TEST_F(CharsetFile, TempFileNameInAMissingFolderFailsOnBothPaths) {
  wchar_t name[MAX_PATH] = {};
  const std::wstring missing = folder.file(L"missing");
  EXPECT_EQ(charset::getTempFileName(missing.c_str(), L"Temp", 0, name), 0u);
  const AnsiPath ansi;
  EXPECT_EQ(charset::getTempFileName(missing.c_str(), L"Temp", 0, name), 0u);
}

TEST_F(CharsetFile, ModuleFileNameGivesTheSameForEverySizeOfBuffer) {
  const auto read = [](wchar_t* buffer, int size) {
    return charset::getModuleFileName(nullptr, buffer, static_cast<DWORD>(size));
  };
  const int whole = static_cast<int>(readWide(1024, read).text.size()) + 1;
  for (int size : {whole, whole + 1, 1024})
    EXPECT_EQ(readAnsi(size, read), readWide(size, read)) << "buffer of " << size;
  // A name that is cut has no terminator on some systems; the count is the size.
  for (int size : {2, whole - 1}) EXPECT_EQ(readAnsi(size, read).result, readWide(size, read).result);
}

TEST_F(CharsetFile, ModuleFileNameThatIsCutSetsLastError122OnTheAnsiPath) {
  const AnsiPath ansi;
  wchar_t name[4];
  SetLastError(0);
  EXPECT_EQ(charset::getModuleFileName(nullptr, name, 4), 4u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST_F(CharsetFile, LoadLibraryLoadsFromANativePathOnBothPaths) {
  wchar_t system[MAX_PATH];
  GetSystemDirectoryW(system, MAX_PATH);
  const std::wstring copy = folder.file(nativeText() + L".dll");
  ASSERT_TRUE(CopyFileW((std::wstring(system) + L"\\version.dll").c_str(), copy.c_str(), TRUE));
  const HMODULE wide = charset::loadLibrary(copy.c_str());
  EXPECT_NE(wide, nullptr);
  const AnsiPath path;
  const HMODULE ansi = charset::loadLibrary(copy.c_str());
  EXPECT_EQ(ansi, wide);
  if (ansi) FreeLibrary(ansi);
  if (wide) FreeLibrary(wide);
  EXPECT_EQ(charset::loadLibrary(L"no_such_library_of_fendrel.dll"), nullptr);
}

// A process that works in a folder of a native name.
class CharsetCurrentDirectory : public CharsetFile {
 protected:
  void SetUp() override {
    GetCurrentDirectoryW(MAX_PATH, before);
    directory = folder.file(nativeText());
    CreateDirectoryW(directory.c_str(), nullptr);
    ASSERT_TRUE(SetCurrentDirectoryW(directory.c_str()));
  }
  void TearDown() override { SetCurrentDirectoryW(before); }

  wchar_t before[MAX_PATH] = {};
  std::wstring directory;
};

TEST_F(CharsetCurrentDirectory, CurrentDirectoryOfADriveIsTheSameOnBothPaths) {
  wchar_t wide[MAX_PATH] = {}, ansi[MAX_PATH] = {};
  EXPECT_EQ(charset::getCurrentDirectory(0, wide, MAX_PATH), wide);
  EXPECT_EQ(_wcsicmp(wide, directory.c_str()), 0) << testing::PrintToString(std::wstring(wide));
  const AnsiPath path;
  EXPECT_EQ(charset::getCurrentDirectory(0, ansi, MAX_PATH), ansi);
  EXPECT_STREQ(ansi, wide);
}

TEST_F(CharsetCurrentDirectory, CurrentDirectoryWithoutABufferAllocatesOneOnBothPaths) {
  const HeapText wide(charset::getCurrentDirectory(0, nullptr, 0));
  ASSERT_TRUE(wide);
  const AnsiPath path;
  const HeapText ansi(charset::getCurrentDirectory(0, nullptr, 0));
  ASSERT_TRUE(ansi);
  EXPECT_STREQ(ansi.get(), wide.get());
}

TEST_F(CharsetCurrentDirectory, CurrentDirectoryIntoABufferOneTooSmallFailsOnTheAnsiPath) {
  const AnsiPath path;
  wchar_t buffer[MAX_PATH];
  const int length = static_cast<int>(std::wcslen(charset::getCurrentDirectory(0, buffer, MAX_PATH)));
  EXPECT_EQ(charset::getCurrentDirectory(0, buffer, length), nullptr);
  EXPECT_EQ(charset::getCurrentDirectory(0, buffer, length + 1), buffer);
}

TEST_F(CharsetFile, StatAndAccessSeeTheSameFileOnBothPaths) {
  make(nativePath());
  struct _stat64 wide {
  }, ansi{};
  EXPECT_EQ(charset::stat(nativePath().c_str(), &wide), 0);
  EXPECT_EQ(wide.st_size, 7);
  EXPECT_EQ(charset::access(nativePath().c_str(), 0), 0);
  const AnsiPath path;
  EXPECT_EQ(charset::stat(nativePath().c_str(), &ansi), 0);
  EXPECT_EQ(ansi.st_size, 7);
  EXPECT_EQ(charset::access(nativePath().c_str(), 0), 0);
  EXPECT_EQ(charset::stat(folder.file(L"missing").c_str(), &ansi), -1);
  EXPECT_EQ(charset::access(folder.file(L"missing").c_str(), 0), -1);
}

std::string readAll(std::FILE* file) {
  char text[16] = {};
  const std::size_t length = std::fread(text, 1, sizeof text, file);
  std::fclose(file);
  return std::string(text, length);
}

TEST_F(CharsetFile, OpenFileReadsTheSameFileOnBothPaths) {
  make(nativePath());
  EXPECT_EQ(readAll(charset::openFile(nativePath().c_str(), L"rb")), "content");
  const AnsiPath ansi;
  EXPECT_EQ(readAll(charset::openFile(nativePath().c_str(), L"rb")), "content");
  EXPECT_EQ(charset::openFile(folder.file(L"missing").c_str(), L"rb"), nullptr);
}

TEST_F(CharsetFile, ReopenFileReadsTheSameFileOnBothPaths) {
  make(nativePath());
  const std::wstring other = make(folder.file(L"other"));
  EXPECT_EQ(readAll(charset::reopenFile(nativePath().c_str(), L"rb", charset::openFile(other.c_str(), L"rb"))),
            "content");
  const AnsiPath ansi;
  EXPECT_EQ(readAll(charset::reopenFile(nativePath().c_str(), L"rb", charset::openFile(other.c_str(), L"rb"))),
            "content");
}

}  // namespace
}  // namespace fendrel::test
