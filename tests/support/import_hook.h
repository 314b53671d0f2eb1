// Replaces a function that a module imports, so that a test sees the calls.
#pragma once

#include <windows.h>

namespace fendrel::test {

// During its lifetime the module's calls of the imported function go to `replacement`. The module is the test program
// unless another is given. Fails the test when the module imports no such function.
class ImportHook {
 public:
  template <class Function>
  ImportHook(const char* library, const char* function, Function* replacement,
             HMODULE module = GetModuleHandleW(nullptr))
      : ImportHook(library, function, reinterpret_cast<void*>(replacement), module) {}
  ImportHook(const char* library, const char* function, void* replacement, HMODULE module);
  ~ImportHook();

  static bool isImported(const char* library, const char* function, HMODULE module);
  ImportHook(const ImportHook&) = delete;
  ImportHook& operator=(const ImportHook&) = delete;

 private:
  void** slot_ = nullptr;
  void* original_ = nullptr;
};

}  // namespace fendrel::test
