// GoogleTest's main with a filter that makes a crash fail the test: under Wine an unhandled
// exception may otherwise end a program with exit code 0.
#include <gmock/gmock.h>
#include <windows.h>

#include <cstdio>
#include <string>

#include "failing_memory.h"
#include "running_case.h"

namespace {

constexpr UINT crashExitCode = 99;

LONG WINAPI reportCrash(EXCEPTION_POINTERS* exception) {
  char name[200];
  char text[400];
  const int length =
      std::snprintf(text, sizeof text, "CRASH in %s: exception 0x%08lX at %p\n", runningCase(name),
                    exception->ExceptionRecord->ExceptionCode, exception->ExceptionRecord->ExceptionAddress);
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
  TerminateProcess(GetCurrentProcess(), crashExitCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

class RunningCase : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& test) override {
    SetEnvironmentVariableA(runningCaseVariable, (std::string(test.test_suite_name()) + "." + test.name()).c_str());
  }
  void OnTestEnd(const testing::TestInfo&) override { SetEnvironmentVariableA(runningCaseVariable, nullptr); }
};

bool hasDoubleByteCodePage() { return GetACP() == 932; }

// Wine lets root write them.
bool isRefusedReadOnlyFiles() {
  char folder[MAX_PATH], file[MAX_PATH];
  GetTempPathA(MAX_PATH, folder);
  GetTempFileNameA(folder, "fnd", 0, file);
  SetFileAttributesA(file, FILE_ATTRIBUTE_READONLY);
  const HANDLE opened = CreateFileA(file, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (opened != INVALID_HANDLE_VALUE) CloseHandle(opened);
  SetFileAttributesA(file, FILE_ATTRIBUTE_NORMAL);
  DeleteFileA(file);
  return opened == INVALID_HANDLE_VALUE;
}

// Suites whose names end like this run only in the matching kind of process.
constexpr struct {
  const char* suites;
  bool (*suits)();
} particular[] = {{"*DoubleByte.*", hasDoubleByteCodePage},
                  {"*ReadOnlyFile.*", isRefusedReadOnlyFiles},
                  {"*RuntimeHeap.*", [] { return allocatesInTheRuntime(); }}};

void leaveOutWhatCannotRun() {
  std::string& filter = testing::GTEST_FLAG(filter);
  for (const auto& [suites, suits] : particular)
    if (!suits()) filter += std::string(filter.find('-') == std::string::npos ? "-" : ":") + suites;
}

}  // namespace

int main(int argc, char** argv) {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  SetUnhandledExceptionFilter(reportCrash);
  testing::InitGoogleMock(&argc, argv);
  leaveOutWhatCannotRun();
  testing::UnitTest::GetInstance()->listeners().Append(new RunningCase);
  return RUN_ALL_TESTS();
}
