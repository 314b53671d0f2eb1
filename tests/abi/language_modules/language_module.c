/* A language library: its version, where it has one. Its texts stand in language_module.rc. */
#include <windows.h>

#ifdef LANGUAGE_VERSION
__declspec(dllexport) unsigned long WINAPI GetResDllVersion(void);
__declspec(dllexport) unsigned long WINAPI GetResDllVersion(void) { return LANGUAGE_VERSION; }
#endif
