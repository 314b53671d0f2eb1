// Proves that the guarded heap finds errors: each planted bug runs in its own process and must end it with the heap's
// exit code.
#include "guarded_heap.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "temp_folder.h"

namespace {

volatile char g_sink;

// The compiler must not see through the planted bugs.
template <class T>
T* opaque(T* pointer) {
  asm volatile("" : "+r"(pointer));
  return pointer;
}

void plant(const std::string& bug) {
  char* const block = opaque(static_cast<char*>(std::malloc(22)));
  if (bug == "overread") g_sink = block[22];
  if (bug == "overwrite") block[22] = 1;
  if (bug == "underwrite a page") opaque(block)[-4096] = 1;
  if (bug == "null") *opaque(static_cast<char*>(nullptr)) = 1;
  if (bug == "read after free") {
    std::free(block);
    g_sink = *opaque(block);
  }
  if (bug == "double free") {
    std::free(block);
    std::free(opaque(block));
  }
  if (bug == "new overrun") {
    auto* const text = opaque(new wchar_t[5]);
    text[5] = 1;
  }
}

struct End {
  DWORD code = 0;
  std::string words;  // on standard error
};

// How this program ends with the bug planted.
End endWith(const std::string& bug) {
  const TempFolder folder;
  const std::wstring path = folder.file(L"words");
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const HANDLE words = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, sizeof program);
  SetEnvironmentVariableA("PLANTED_BUG", bug.c_str());
  std::string command = "\"" + std::string(program) + "\" --gtest_filter=PlantedBug.Runs";
  STARTUPINFOA start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdError = words;
  PROCESS_INFORMATION process{};
  const BOOL started =
      CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process);
  SetEnvironmentVariableA("PLANTED_BUG", nullptr);
  CloseHandle(words);
  End end;
  if (!started) return end;
  WaitForSingleObject(process.hProcess, 30000);
  GetExitCodeProcess(process.hProcess, &end.code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  std::ifstream file{std::filesystem::path(path)};
  end.words.assign(std::istreambuf_iterator<char>(file), {});
  return end;
}

DWORD exitCodeWith(const std::string& bug) { return endWith(bug).code; }

}  // namespace

TEST(PlantedBug, Runs) {
  if (const char* const bug = std::getenv("PLANTED_BUG")) plant(bug);
}

TEST(GuardedHeap, CatchesAReadBehindABlock) { EXPECT_EQ(exitCodeWith("overread"), guardedHeapExitCode); }
TEST(GuardedHeap, CatchesAWriteBehindABlock) { EXPECT_EQ(exitCodeWith("overwrite"), guardedHeapExitCode); }
TEST(GuardedHeap, CatchesAWriteBeforeTheBlocksPage) {
  EXPECT_EQ(exitCodeWith("underwrite a page"), guardedHeapExitCode);
}
TEST(GuardedHeap, CatchesAReadOfAFreedBlock) { EXPECT_EQ(exitCodeWith("read after free"), guardedHeapExitCode); }
TEST(GuardedHeap, CatchesADoubleFree) { EXPECT_EQ(exitCodeWith("double free"), guardedHeapExitCode); }
TEST(GuardedHeap, CatchesAnOverrunOfNewedText) { EXPECT_EQ(exitCodeWith("new overrun"), guardedHeapExitCode); }
TEST(GuardedHeap, LetsACorrectProgramRun) { EXPECT_EQ(exitCodeWith(""), 0u); }

TEST(GuardedHeap, NamesTheTestThatTouchedTheBlock) {
  EXPECT_THAT(endWith("overread").words, testing::HasSubstr("GUARDED HEAP in PlantedBug.Runs: read out of bounds"));
}

TEST(CrashFilter, NamesTheTestThatCrashed) {
  const End end = endWith("null");
  EXPECT_EQ(end.code, 99u);
  EXPECT_THAT(end.words, testing::HasSubstr("CRASH in PlantedBug.Runs: exception 0xC0000005"));
}

TEST(GuardedHeap, CountsLiveBlocks) {
  const std::size_t before = guardedHeapLiveBlocks();
  void* const block = opaque(std::malloc(10));
  EXPECT_EQ(guardedHeapLiveBlocks(), before + 1);
  std::free(block);
  EXPECT_EQ(guardedHeapLiveBlocks(), before);
}

TEST(GuardedHeap, KeepsContentsWhenABlockGrows) {
  auto* block = static_cast<char*>(std::malloc(3));
  std::memcpy(block, "ab", 3);
  block = static_cast<char*>(std::realloc(block, 5000));
  EXPECT_STREQ(block, "ab");
  std::free(block);
}
