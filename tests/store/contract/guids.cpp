// The interface identifiers that the contract asks for.
#include <windows.h>

#define INITGUID
#define USES_IID_IMAPISession
#define USES_IID_IMAPITable
#define USES_IID_IMAPIProp
#define USES_IID_IMsgStore
#define USES_IID_IMessage
#define USES_IID_IMAPIFolder
#include <initguid.h>
#include <mapiguid.h>
