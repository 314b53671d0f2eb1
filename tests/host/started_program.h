// fendrel.exe while it runs, to be killed. Ctrl+C is tested from a shell (from_shell.py).
#pragma once

#include <windows.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "fendrel_run.h"

namespace fendrel::test {

class StartedProgram {
 public:
  StartedProgram(const std::vector<std::string>& arguments, const std::filesystem::path& workingDirectory);
  ~StartedProgram();  // ends it if it still runs
  StartedProgram(const StartedProgram&) = delete;
  StartedProgram& operator=(const StartedProgram&) = delete;

  // False when it still runs after that time.
  bool endsWithin(DWORD milliseconds) const;
  // As a power cut would end it.
  void kill();
  std::string output() const;  // so far

 private:
  HANDLE process = nullptr;
  std::filesystem::path out, err;
};

// Polls for at most half a minute.
bool comesTrue(const std::function<bool()>& isTrue);

}  // namespace fendrel::test
