/* The one function of a language library: the version by which the plug-in knows that ids and texts fit. */
#include <windows.h>

__declspec(dllexport) DWORD GetResDllVersion(void) { return 0x0A000000; }
