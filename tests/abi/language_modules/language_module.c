/* A language library: its version, if it has one. Its texts are in language_module.rc. */
#include <windows.h>

#ifdef LANGUAGE_VERSION
__declspec(dllexport) unsigned long WINAPI GetResDllVersion(void);
__declspec(dllexport) unsigned long WINAPI GetResDllVersion(void) { return LANGUAGE_VERSION; }
#endif
