// Defines the MAPI interface identifiers that this program uses.
#define INITGUID
#define USES_IID_IMAPIFolder
#define USES_IID_IMsgStore
#define USES_IID_IMessage
#define USES_MUID_PROFILE_INSTANCE
#include <windows.h>
// after the macros above
#include <mapiguid.h>
