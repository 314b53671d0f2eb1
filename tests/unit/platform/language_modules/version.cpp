#include <windows.h>

extern "C" DWORD resourceDllVersion() { return RESOURCE_DLL_VERSION; }
