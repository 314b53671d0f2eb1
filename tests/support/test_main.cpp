// GoogleTest's main with a filter that makes a crash fail the test: under Wine an unhandled
// exception may otherwise end a program with exit code 0.
#include <gmock/gmock.h>
#include <windows.h>

#include <cstdio>

namespace {

constexpr UINT crashExitCode = 99;

LONG WINAPI reportCrash(EXCEPTION_POINTERS* exception) {
  char text[128];
  const int length = std::snprintf(text, sizeof text, "CRASH: exception 0x%08lX at %p\n",
                                   exception->ExceptionRecord->ExceptionCode,
                                   exception->ExceptionRecord->ExceptionAddress);
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
  TerminateProcess(GetCurrentProcess(), crashExitCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

int main(int argc, char** argv) {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  SetUnhandledExceptionFilter(reportCrash);
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
