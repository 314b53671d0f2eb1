// The layer's mode on a system that reports platform id 1, major version 5.
#include <windows.h>

int systemAsked = 0;
extern int systemAskedAtStart;

static BOOL WINAPI answerPlatform1(OSVERSIONINFOA* version) {
  ++systemAsked;
  if (version->dwOSVersionInfoSize != 148) return FALSE;
  version->dwPlatformId = VER_PLATFORM_WIN32_WINDOWS;
  version->dwMajorVersion = 5;
  return TRUE;
}

#define GetVersionExA answerPlatform1
#include "charset_mode.cpp"

int systemAskedAtStart = systemAsked;
