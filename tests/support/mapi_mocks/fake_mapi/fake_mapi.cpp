#include "fake_mapi.h"

namespace {

const FakeMapiFunctions* connected;

}  // namespace

extern "C" {

void WINAPI fakeMapiConnect(const FakeMapiFunctions* functions) { connected = functions; }

HRESULT WINAPI fakeInitialize(void* init) { return connected->initialize(init); }
void WINAPI fakeUninitialize() { connected->uninitialize(); }
HRESULT WINAPI fakeLogonEx(ULONG_PTR window, wchar_t* profileName, wchar_t* password, ULONG flags,
                           IMAPISession** session) {
  return connected->logonEx(window, profileName, password, flags, session);
}
SCODE WINAPI fakeAllocateBuffer(ULONG size, void** block) { return connected->allocateBuffer(size, block); }
SCODE WINAPI fakeAllocateMore(ULONG size, void* top, void** block) { return connected->allocateMore(size, top, block); }
ULONG WINAPI fakeFreeBuffer(void* block) { return connected->freeBuffer(block); }
HRESULT WINAPI fakeGetOneProp(IMAPIProp* object, ULONG tag, SPropValue** value) {
  return connected->getOneProp(object, tag, value);
}

// Bound by the plug-in, but never called.
HRESULT WINAPI fakeNotCalled() { return MAPI_E_NO_SUPPORT; }

}  // extern "C"
