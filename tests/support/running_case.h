// The name of the running test, for code that ends the process: a crash filter, a guarded heap in any module.
#pragma once

#include <windows.h>

// An environment variable, since all modules of a process can read it without sharing code.
inline constexpr char runningCaseVariable[] = "FENDREL_RUNNING_CASE";

// "Suite.Case", or "no test" outside of one. Allocates nothing.
template <DWORD size>
const char* runningCase(char (&name)[size]) {
  const DWORD length = GetEnvironmentVariableA(runningCaseVariable, name, size);
  return length == 0 || length >= size ? "no test" : name;
}
