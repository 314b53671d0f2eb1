/* MAPI's thirteen functions without a MAPI, for libraries that lack one of the names. None is called. */
#include <windows.h>

#define NOT_CALLED(name) \
  long name(void);       \
  long name(void) { return E_UNEXPECTED; }

NOT_CALLED(MAPIInitialize)
NOT_CALLED(MAPIUninitialize)
NOT_CALLED(MAPILogonEx)
NOT_CALLED(MAPIAllocateBuffer)
NOT_CALLED(MAPIAllocateMore)
NOT_CALLED(MAPIFreeBuffer)
NOT_CALLED(MAPIOpenFormMgr)
NOT_CALLED(MAPIAdminProfiles)
NOT_CALLED(FreeProws)
NOT_CALLED(HrGetOneProp)
NOT_CALLED(HrQueryAllRows)
NOT_CALLED(FtMulDwDw)
NOT_CALLED(FtNegFt)
