#include <windows.h>

#include "ansi_layer.h"
#include "resource_module.h"

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* processEnds) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      fendrel::g_hModule = fendrel::g_hResInstance = module;
      DisableThreadLibraryCalls(module);
      return fendrel::attachAnsiLayer(module);
    case DLL_PROCESS_DETACH:
      // When the process ends, other threads may have been stopped while they held the heap, so nothing is freed. No
      // static object of the module has a destructor.
      if (!processEnds) fendrel::detachAnsiLayer();
      return TRUE;
    default: return TRUE;
  }
}
