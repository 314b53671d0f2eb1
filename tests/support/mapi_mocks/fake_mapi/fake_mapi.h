// A MAPI32.DLL whose functions forward to the test program's. Variants of it lack one export each.
#pragma once

#include <windows.h>

#include <mapix.h>

struct FakeMapiFunctions {
  HRESULT(WINAPI* initialize)(void* init);
  void(WINAPI* uninitialize)();
  HRESULT(WINAPI* logonEx)
  (ULONG_PTR window, wchar_t* profileName, wchar_t* password, ULONG flags, IMAPISession** session);
  SCODE(WINAPI* allocateBuffer)(ULONG size, void** block);
  SCODE(WINAPI* allocateMore)(ULONG size, void* top, void** block);
  ULONG(WINAPI* freeBuffer)(void* block);
  HRESULT(WINAPI* getOneProp)(IMAPIProp* object, ULONG tag, SPropValue** value);
};

// Called by the test program before any other function; the functions stay the caller's.
extern "C" void WINAPI fakeMapiConnect(const FakeMapiFunctions* functions);
