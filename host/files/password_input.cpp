#include "password_input.h"

#include <windows.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "console.h"
#include "failure.h"
#include "file_handle.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr std::size_t longestAnswer = 4096;  // bytes

constexpr std::string_view endMark = "fendrel: ended with ";

// Reads at most a line's bytes.
std::string readFront(HANDLE handle) {
  std::string text;
  char chunk[512];
  DWORD read = 0;
  while (text.size() < longestAnswer && text.find('\n') == std::string::npos &&
         ReadFile(handle, chunk, sizeof chunk, &read, nullptr) && read > 0)
    text.append(chunk, read);
  return text;
}

std::string readFromStart(HANDLE file) {
  SetFilePointer(file, 0, nullptr, FILE_BEGIN);
  std::string text(2 * longestAnswer, '\0');
  DWORD read = 0;
  if (!ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr)) read = 0;
  text.resize(read);
  return text;
}

std::string firstLine(std::string text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);  // written by Windows editors
  text.resize(std::min(text.find_first_of("\r\n"), text.size()));
  return text;
}

std::string passwordIn(const std::string& text, const std::string& source) {
  std::string password = firstLine(text);
  if (password.empty()) throw Failure(ExitCode::wrongUsage, source + " gives no password: its first line is empty.");
  return password;
}

std::string readLineOfTerminal() {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  wchar_t text[512];
  DWORD read = 0;
  if (!ReadConsoleW(input, text, static_cast<DWORD>(std::size(text)), &read, nullptr)) return {};
  return firstLine(toUtf8(std::wstring_view(text, read)));
}

}  // namespace

std::string readPasswordFile(const std::string& file) {
  const std::string source = fmt::format("Password file '{}'", printable(file));
  const HANDLE handle = CreateFileW(longPath(fullPath(file)).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE)
    throw systemFailure(ExitCode::wrongUsage, source + " cannot be read", GetLastError());
  const FileHandle opened(handle);
  return passwordIn(readFront(handle), source);
}

std::string runPasswordCommand(const std::string& command) {
  const std::string source = "The password command";
  // Not a pipe: Wine cannot pass its pipes to a Unix program. The file is in the user's own directory and is deleted
  // with its last handle. The command writes through its own handle, so that reading does not move its position.
  wchar_t folder[MAX_PATH + 1] = L"", name[MAX_PATH + 1] = L"";
  GetTempPathW(MAX_PATH, folder);
  if (!GetTempFileNameW(folder, L"fen", 0, name))
    throw systemFailure(ExitCode::wrongUsage, source + " cannot be started", GetLastError());
  constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const HANDLE file = CreateFileW(name, GENERIC_READ | DELETE, shareAll, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  const HANDLE output = CreateFileW(name, GENERIC_WRITE, shareAll, &inherited, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE || output == INVALID_HANDLE_VALUE)
    throw systemFailure(ExitCode::wrongUsage, source + " cannot be started", GetLastError());
  const FileHandle answer(file), written(output);

  const bool unixShell = startedFromUnixShell();
  const std::wstring program = unixShell ? std::wstring(L"Z:\\bin\\sh") : toWide(environmentText(L"ComSpec"));
  std::wstring quoted = toWide(command);
  if (unixShell)  // quotes that would be lost from a Unix program's arguments
    for (std::size_t at = 0; (at = quoted.find_first_of(L"\"\\", at)) != std::wstring::npos; at += 2)
      quoted.insert(at, 1, L'\\');
  std::wstring line = unixShell ? L"sh -c \"{ " + quoted + L"\n}; echo; echo " + toWide(endMark) + L"$?\""
                                : L"cmd /d /s /c \"" + quoted + L"\"";
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  start.hStdOutput = output;
  start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION started{};
  if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &started))
    throw systemFailure(ExitCode::wrongUsage, source + " cannot be started", GetLastError());
  const FileHandle process(started.hProcess), thread(started.hThread);
  DWORD code = 0;
  std::string text;
  if (process) {
    WaitForSingleObject(process.get(), INFINITE);
    GetExitCodeProcess(process.get(), &code);
    text = readFromStart(file);
  } else {
    // Wine has no handle to wait for a Unix process: the shell writes its exit code when it is done.
    std::size_t mark = std::string::npos;
    for (; mark == std::string::npos || !text.ends_with('\n'); text = readFromStart(file), mark = text.rfind(endMark))
      if (!waitUnlessCancelled(20)) throw Failure(ExitCode::cancelled, "Cancelled.");
    code = static_cast<DWORD>(std::strtoul(text.c_str() + mark + endMark.size(), nullptr, 10));
    text.resize(mark);
  }
  if (code != 0) throw Failure(ExitCode::wrongUsage, fmt::format("{} ended with exit code {}.", source, code));
  return passwordIn(text, source);
}

std::string askForPassword(const std::string& question) {
  showProgress({});
  showProgress(question);
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  GetConsoleMode(input, &mode);
  SetConsoleMode(input, mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
  const std::string password = readLineOfTerminal();
  SetConsoleMode(input, mode);
  showProgress({});
  return password;
}

bool confirm(const std::string& question) {
  showProgress({});
  showProgress(question + " [y/N] ");
  const std::string answer = readLineOfTerminal();
  showProgress({});
  return answer == "y" || answer == "Y" || answer == "yes";
}

}  // namespace fendrel::host
