#include <windows.h>

#include "resource_module.h"

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH) {
    fendrel::g_hModule = fendrel::g_hResInstance = module;
    DisableThreadLibraryCalls(module);
  }
  return TRUE;
}
