// The file helpers on real files.
#include "file_helpers.h"

#include <gmock/gmock.h>

#include <cwchar>
#include <fstream>
#include <string>
#include <vector>

#include "charset_mode.h"
#include "temp_folder.h"

namespace fendrel::test {
namespace {

class FileHelpers : public testing::Test {
 protected:
  std::wstring make(const std::wstring& name, std::string_view content = "") const {
    const std::wstring path = folder.file(name);
    std::ofstream(std::filesystem::path(path), std::ios::binary) << content;
    return path;
  }
  static std::string contentOf(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  HANDLE open(const std::wstring& path, std::uint16_t access = openForRead, std::uint16_t share = denyNone) const {
    HANDLE handle = INVALID_HANDLE_VALUE;
    EXPECT_EQ(FileOpen(path.c_str(), access, share, handle), fileSuccess);
    return handle;
  }

  TempFolder folder;
};

struct MappedError {
  DWORD systemError;
  FileCode code;
};

class MapsLastError : public testing::TestWithParam<MappedError> {};

TEST_P(MapsLastError, ToTheCodeOfTheTable) {
  SetLastError(GetParam().systemError);
  EXPECT_EQ(MapLastError(), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(Table, MapsLastError,
                         testing::Values(MappedError{0, 0}, MappedError{183, 259}, MappedError{2, 260},
                                         MappedError{3, 260}, MappedError{15, 260}, MappedError{5, 261},
                                         MappedError{12, 261}, MappedError{19, 261}, MappedError{21, 261},
                                         MappedError{32, 261}, MappedError{33, 261}, MappedError{4, 262},
                                         MappedError{6, 263}, MappedError{38, 264}, MappedError{25, 265},
                                         MappedError{39, 266}, MappedError{8, 267}, MappedError{14, 267},
                                         MappedError{18, 269}, MappedError{87, 257}, MappedError{112, 257}),
                         [](const auto& row) { return "SystemError" + std::to_string(row.param.systemError); });

TEST_F(FileHelpers, OpenOfAMissingFileReturns260) {
  HANDLE handle = nullptr;
  EXPECT_EQ(FileOpen(folder.file(L"missing").c_str(), openForRead, denyNone, handle), 260);
  EXPECT_EQ(handle, INVALID_HANDLE_VALUE);
}

TEST_F(FileHelpers, OpenThatTheSystemRefusesForAnyOtherReasonReturns260Too) {
  const HANDLE first = open(make(L"a"), openForRead, 0);
  HANDLE second = nullptr;
  EXPECT_EQ(FileOpen(folder.file(L"a").c_str(), openForRead, denyNone, second), 260);
  FileClose(first);
}

TEST_F(FileHelpers, OpenOfANameThatHasNoAnsiFormReturns260OnTheAnsiPath) {
  g_bUseAnsi = true;
  HANDLE handle = nullptr;
  EXPECT_EQ(FileOpen(std::wstring(600, L'x').c_str(), openForRead, denyNone, handle), 260);
  EXPECT_EQ(FileCreate(std::wstring(600, L'x').c_str(), openForRead, denyNone, handle), 260);
  g_bUseAnsi = false;
}

TEST_F(FileHelpers, OpenForReadRefusesWriting) {
  const HANDLE handle = open(make(L"a", "abc"), openForRead);
  std::uint16_t done = 0;
  EXPECT_EQ(FileWrite(handle, 1, done, "x"), 261);
  EXPECT_EQ(done, 65535);
  FileClose(handle);
}

TEST_F(FileHelpers, OpenForWriteRefusesReading) {
  const HANDLE handle = open(make(L"a", "abc"), openForWrite);
  std::uint16_t done = 0;
  char byte = 0;
  EXPECT_EQ(FileRead(handle, 1, done, &byte), 261);
  FileClose(handle);
}

TEST_F(FileHelpers, OpenForReadAndWriteDoesBoth) {
  const HANDLE handle = open(make(L"a", "abc"), openForReadWrite);
  std::uint16_t done = 0;
  char byte = 0;
  EXPECT_EQ(FileRead(handle, 1, done, &byte), 0);
  EXPECT_EQ(byte, 'a');
  EXPECT_EQ(FileWrite(handle, 1, done, "X"), 0);
  FileClose(handle);
  EXPECT_EQ(contentOf(folder.file(L"a")), "aXc");
}

TEST_F(FileHelpers, AnyOtherAccessIsReading) {
  const HANDLE handle = open(make(L"a", "abc"), 7);
  std::uint16_t done = 0;
  char byte = 0;
  EXPECT_EQ(FileRead(handle, 1, done, &byte), 0);
  EXPECT_EQ(FileWrite(handle, 1, done, "X"), 261);
  FileClose(handle);
}

struct Sharing {
  const char* name;
  std::uint16_t share;
  bool othersRead, othersWrite;
};
class FileSharing : public FileHelpers, public testing::WithParamInterface<Sharing> {};

TEST_P(FileSharing, LetsOthersDoWhatItSays) {
  make(L"a");
  const HANDLE handle = open(folder.file(L"a"), openForRead, GetParam().share);
  const auto canOpen = [&](DWORD access) {
    const HANDLE other = CreateFileW(folder.file(L"a").c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                     OPEN_EXISTING, 0, nullptr);
    if (other != INVALID_HANDLE_VALUE) CloseHandle(other);
    return other != INVALID_HANDLE_VALUE;
  };
  EXPECT_EQ(canOpen(GENERIC_READ), GetParam().othersRead);
  EXPECT_EQ(canOpen(GENERIC_WRITE), GetParam().othersWrite);
  FileClose(handle);
}

INSTANTIATE_TEST_SUITE_P(Modes, FileSharing,
                         testing::Values(Sharing{"Compatibility", 0x00, false, false},
                                         Sharing{"Exclusive", 0x10, false, false},
                                         Sharing{"DenyWrite", 0x20, true, false},
                                         Sharing{"DenyRead", 0x30, false, true}, Sharing{"DenyNone", 0x40, true, true}),
                         [](const auto& row) { return row.param.name; });

TEST_F(FileHelpers, CreateOfANewFileReturns0) {
  HANDLE handle = INVALID_HANDLE_VALUE;
  ASSERT_EQ(FileCreate(folder.file(L"new").c_str(), openForWrite, denyNone, handle), 0);
  std::uint16_t done = 0;
  EXPECT_EQ(FileWrite(handle, 3, done, "abc"), 0);
  EXPECT_EQ(FileClose(handle), 0);
  EXPECT_EQ(contentOf(folder.file(L"new")), "abc");
}

TEST_F(FileHelpers, CreateOnAnExistingFileReturns259AndLeavesTheFileEmptyAndClosed) {
  const std::wstring path = make(L"old", "content");
  HANDLE handle = nullptr;
  EXPECT_EQ(FileCreate(path.c_str(), openForWrite, 0, handle), 259);
  EXPECT_EQ(handle, INVALID_HANDLE_VALUE);
  EXPECT_EQ(contentOf(path), "");
  EXPECT_TRUE(DeleteFileW(path.c_str()));  // an open handle would forbid it
}

TEST_F(FileHelpers, CreateIsNotMisledByAnOldSystemError) {
  SetLastError(ERROR_ALREADY_EXISTS);
  HANDLE handle = INVALID_HANDLE_VALUE;
  EXPECT_EQ(FileCreate(folder.file(L"new").c_str(), openForWrite, denyNone, handle), 0);
  FileClose(handle);
}

TEST_F(FileHelpers, CreateInAMissingFolderReturns260) {
  HANDLE handle = nullptr;
  EXPECT_EQ(FileCreate(folder.file(L"missing\\a").c_str(), openForWrite, denyNone, handle), 260);
}

TEST_F(FileHelpers, ARead100BytesAt40BeforeTheEndReturns264With40Done) {
  const HANDLE handle = open(make(L"a", std::string(140, 'x')));
  std::uint32_t position = 0;
  ASSERT_EQ(FileSeek(handle, seekFromStart, 100, position), 0);
  char buffer[100];
  std::uint16_t done = 0;
  EXPECT_EQ(FileRead(handle, 100, done, buffer), 264);
  EXPECT_EQ(done, 40);
  FileClose(handle);
}

// In 16 bits, 65,535 looks like a failed call.
TEST_F(FileHelpers, AReadOf65535BytesThatSucceedsCountsAsFailed) {
  const HANDLE handle = open(make(L"a", std::string(70000, 'x')));
  std::vector<char> buffer(65535);
  std::uint16_t done = 0;
  EXPECT_EQ(FileRead(handle, 65534, done, buffer.data()), 0);
  std::uint32_t position = 0;
  FileSeek(handle, seekFromStart, 0, position);
  EXPECT_EQ(FileRead(handle, 65535, done, buffer.data()), 261);
  FileClose(handle);
}

TEST_F(FileHelpers, AWriteOf65535BytesThatSucceedsCountsAsFailed) {
  HANDLE handle = INVALID_HANDLE_VALUE;
  ASSERT_EQ(FileCreate(folder.file(L"a").c_str(), openForWrite, denyNone, handle), 0);
  const std::vector<char> bytes(65535, 'x');
  std::uint16_t done = 0;
  EXPECT_EQ(FileWrite(handle, 65535, done, bytes.data()), 261);
  EXPECT_EQ(FileWrite(handle, 65534, done, bytes.data()), 0);
  EXPECT_EQ(done, 65534);
  FileClose(handle);
}

TEST_F(FileHelpers, AWriteOfNothingEndsTheFileHere) {
  const HANDLE handle = open(make(L"a", "abcdef"), openForReadWrite);
  std::uint32_t position = 0;
  FileSeek(handle, seekFromStart, 2, position);
  std::uint16_t done = 1;
  EXPECT_EQ(FileWrite(handle, 0, done, nullptr), 0);
  EXPECT_EQ(done, 0);
  FileClose(handle);
  EXPECT_EQ(contentOf(folder.file(L"a")), "ab");
}

TEST_F(FileHelpers, LineBreakIsFourBytesOfUtf16) {
  const HANDLE handle = open(make(L"a"), openForWrite);
  EXPECT_EQ(FileWriteLineBreak(handle), 0);
  FileClose(handle);
  EXPECT_EQ(contentOf(folder.file(L"a")), std::string("\r\0\n\0", 4));
}

TEST_F(FileHelpers, EndMarkStandsInTwoBytesAtTheEnd) {
  const HANDLE handle = open(make(L"a", "abc"), openForWrite);
  EXPECT_EQ(FileWriteEndMark(handle), 0);
  FileClose(handle);
  EXPECT_EQ(contentOf(folder.file(L"a")), std::string("abc\x1A\0", 5));
}

TEST_F(FileHelpers, EndMarkAndLineBreakOnAnInvalidHandleFail) {
  EXPECT_EQ(FileWriteEndMark(INVALID_HANDLE_VALUE), 263);
  EXPECT_EQ(FileWriteLineBreak(INVALID_HANDLE_VALUE), 261);
}

TEST_F(FileHelpers, FlushIsAlways0) {
  const HANDLE handle = open(make(L"a"), openForWrite);
  EXPECT_EQ(FileFlush(handle), 0);
  FileClose(handle);
  EXPECT_EQ(FileFlush(INVALID_HANDLE_VALUE), 0);
}

TEST_F(FileHelpers, SeekCountsFromStartCurrentAndEnd) {
  const HANDLE handle = open(make(L"a", "abcdef"));
  std::uint32_t position = 0;
  EXPECT_EQ(FileSeek(handle, 0, 2, position), 0);
  EXPECT_EQ(position, 2u);
  EXPECT_EQ(FileSeek(handle, 1, 3, position), 0);
  EXPECT_EQ(position, 5u);
  EXPECT_EQ(FileSeek(handle, 2, -4, position), 0);
  EXPECT_EQ(position, 2u);
  FileClose(handle);
}

TEST_F(FileHelpers, SeekBeforeTheStartFailsAndLeavesThePosition) {
  const HANDLE handle = open(make(L"a", "abcdef"));
  std::uint32_t position = 4711;
  EXPECT_EQ(FileSeek(handle, 0, -1, position), 257);
  EXPECT_EQ(position, 4711u);
  FileClose(handle);
}

TEST_F(FileHelpers, SeekAndCloseOnAnInvalidHandleReturn263) {
  std::uint32_t position = 0;
  EXPECT_EQ(FileSeek(INVALID_HANDLE_VALUE, 0, 0, position), 263);
  EXPECT_EQ(FileClose(reinterpret_cast<HANDLE>(static_cast<INT_PTR>(0x7FFC))), 263);
}

TEST_F(FileHelpers, DeleteRemovesAFileAndReturns260ForAMissingOne) {
  const std::wstring path = make(L"a");
  EXPECT_EQ(FileDelete(path.c_str()), 0);
  EXPECT_FALSE(FileExists(path.c_str()));
  EXPECT_EQ(FileDelete(path.c_str()), 260);
}

TEST_F(FileHelpers, MoveRenamesAFileAlsoOnTheAnsiPath) {
  const std::wstring from = make(L"日本語 a", "abc"), to = folder.file(L"Übung b");
  g_bUseAnsi = true;
  EXPECT_EQ(FileMove(from.c_str(), to.c_str()), 0);
  g_bUseAnsi = false;
  EXPECT_EQ(contentOf(to), "abc");
  EXPECT_EQ(FileMove(from.c_str(), to.c_str()), 260);
}

TEST_F(FileHelpers, MoveOntoAnExistingFileReturns259) {
  EXPECT_EQ(FileMove(make(L"a").c_str(), make(L"b").c_str()), 259);
}

TEST_F(FileHelpers, ExistsSeesFilesAndFolders) {
  EXPECT_TRUE(FileExists(make(L"a").c_str()));
  EXPECT_TRUE(FileExists(folder.path().c_str()));
  EXPECT_FALSE(FileExists(folder.file(L"b").c_str()));
}

TEST_F(FileHelpers, TempReportNameEndsInRptAndLeavesTheEmptyFileOfTheSystem) {
  HeapText name;
  ASSERT_EQ(MakeTempReportName(name), 0);
  std::wstring path = name.get();
  EXPECT_FALSE(FileExists(path.c_str()));
  ASSERT_EQ(path.substr(path.size() - 4), L".rpt");
  EXPECT_THAT(path.substr(path.rfind(L'\\') + 1).substr(0, 3), testing::Eq(L"Tem"));  // the system takes three letters
  path.replace(path.size() - 4, 4, L".tmp");
  EXPECT_EQ(contentOf(path), "");
  EXPECT_EQ(FileDelete(path.c_str()), 0);
}

TEST_F(FileHelpers, TempReportNameReturns267WithoutATempFolder) {
  wchar_t before[MAX_PATH] = {};
  GetEnvironmentVariableW(L"TMP", before, MAX_PATH);
  SetEnvironmentVariableW(L"TMP", folder.file(L"missing").c_str());
  HeapText name;
  EXPECT_EQ(MakeTempReportName(name), 267);
  EXPECT_EQ(name, nullptr);
  SetEnvironmentVariableW(L"TMP", (L"C:\\" + std::wstring(300, L'x')).c_str());
  EXPECT_EQ(MakeTempReportName(name), 267);
  SetEnvironmentVariableW(L"TMP", before);
}

}  // namespace
}  // namespace fendrel::test
