// The name of the test that runs, for what ends the process: a crash filter, a guarded heap in any of its modules.
#pragma once

#include <windows.h>

// An environment variable, since it is the one thing that all modules of a process read without sharing code.
inline constexpr char runningCaseVariable[] = "FENDREL_RUNNING_CASE";

// "Suite.Case", or "no test" outside of one. Takes no memory.
template <DWORD size>
const char* runningCase(char (&name)[size]) {
  const DWORD length = GetEnvironmentVariableA(runningCaseVariable, name, size);
  return length == 0 || length >= size ? "no test" : name;
}
