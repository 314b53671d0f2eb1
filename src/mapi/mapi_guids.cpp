// Defines the MAPI interface identifiers that the plug-in asks for; no import library is linked for them.
#include <windows.h>

#include <initguid.h>

#define USES_IID_IMsgStore
#define USES_IID_IMAPIFolder
#include <mapiguid.h>
