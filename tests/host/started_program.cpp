#include "started_program.h"

#include <stdexcept>

#include "build_paths.h"
#include "text.h"

namespace fendrel::test {
namespace {

HANDLE inheritedFile(const std::filesystem::path& path) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherited,
                     CREATE_ALWAYS, 0, nullptr);
}

}  // namespace

StartedProgram::StartedProgram(const std::vector<std::string>& arguments,
                               const std::filesystem::path& workingDirectory) {
  static int number = 0;
  const std::wstring name = L"started-" + std::to_wstring(++number);
  out = workingDirectory / (name + L".out");
  err = workingDirectory / (name + L".err");
  std::wstring command = L"\"" + buildFile(L"bin/fendrel.exe") + L"\"";
  for (const std::string& argument : arguments) command += L" \"" + host::toWide(argument) + L"\"";
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdOutput = inheritedFile(out);
  start.hStdError = inheritedFile(err);
  PROCESS_INFORMATION started{};
  const BOOL done = CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   workingDirectory.c_str(), &start, &started);
  CloseHandle(start.hStdOutput);
  CloseHandle(start.hStdError);
  if (!done) throw std::runtime_error("cannot start fendrel.exe");
  CloseHandle(started.hThread);
  process = started.hProcess;
}

StartedProgram::~StartedProgram() {
  kill();
  CloseHandle(process);
}

bool StartedProgram::endsWithin(DWORD milliseconds) const {
  return WaitForSingleObject(process, milliseconds) == WAIT_OBJECT_0;
}

void StartedProgram::kill() {
  TerminateProcess(process, 97);
  WaitForSingleObject(process, INFINITE);
}

std::string StartedProgram::output() const { return readFile(out); }

bool comesTrue(const std::function<bool()>& isTrue) {
  for (int round = 0; round < 300; ++round) {
    if (isTrue()) return true;
    Sleep(100);
  }
  return false;
}

}  // namespace fendrel::test
