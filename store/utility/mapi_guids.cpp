// Defines the interface identifiers of this subsystem.
#define INITGUID
#define USES_IID_IMAPIAdviseSink
#define USES_IID_IMAPISession
#define USES_IID_IMAPITable
#define USES_IID_IProfAdmin
#define USES_IID_IMsgServiceAdmin
#define USES_IID_IMAPIProp
#define USES_IID_IProfSect
#define USES_IID_IMsgStore
#define USES_IID_IMessage
#define USES_IID_IAttachment
#define USES_IID_IMailUser
#define USES_IID_IMAPIContainer
#define USES_IID_IMAPIFolder
#define USES_MUID_PROFILE_INSTANCE
#define USES_PS_MAPI
#include "mapi.h"
