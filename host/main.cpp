// fendrel.exe: posts reports through the plug-in and reads folders through MAPI.
#include <windows.h>
// after windows.h
#include <shellapi.h>

#include "command_line.h"
#include "console.h"
#include "text.h"

int main() {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  fendrel::host::watchForCancel();
  std::vector<std::string> arguments;
  int count = 0;
  if (wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count)) {
    for (int index = 1; index < count; ++index) arguments.push_back(fendrel::host::toUtf8(wide[index]));
    LocalFree(wide);
  }
  return static_cast<int>(fendrel::host::run(std::move(arguments)));
}
