/* The only function of a language library: a version that tells the plug-in that ids and texts fit it. */
#include <windows.h>

__declspec(dllexport) DWORD GetResDllVersion(void) { return 0x0A000000; }
