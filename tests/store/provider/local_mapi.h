// The built MAPI32.DLL, loaded by its full path as the host does it.
#pragma once

#include <windows.h>

#include <mapiutil.h>
#include <mapix.h>
#include <wrl/client.h>

#include <memory>
#include <string>

struct LocalMapi {
  using GetOneProp = HRESULT(WINAPI*)(LPMAPIPROP, ULONG, LPSPropValue*);
  using QueryAllRows = HRESULT(WINAPI*)(LPMAPITABLE, LPSPropTagArray, LPSRestriction, LPSSortOrderSet, LONG,
                                        LPSRowSet*);

  HMODULE module;
  MAPIINITIALIZE* initialize;
  MAPIUNINITIALIZE* uninitialize;
  MAPILOGONEX* logonEx;
  MAPIALLOCATEBUFFER* allocateBuffer;
  MAPIALLOCATEMORE* allocateMore;
  MAPIFREEBUFFER* freeBuffer;
  HRESULT(WINAPI* openFormMgr)(LPMAPISESSION, void**);
  MAPIADMINPROFILES* adminProfiles;
  void(WINAPI* freeProws)(LPSRowSet);
  GetOneProp hrGetOneProp;
  QueryAllRows hrQueryAllRows;
  FILETIME(WINAPI* ftMulDwDw)(DWORD, DWORD);
  FILETIME(WINAPI* ftNegFt)(FILETIME);
};

// Loaded once a process; ends the program when the file or a function is missing.
const LocalMapi& mapi();

struct FreeBlock {
  void operator()(void* block) const noexcept { mapi().freeBuffer(block); }
};
template <class T>
using Block = std::unique_ptr<T, FreeBlock>;

struct FreeRows {
  void operator()(SRowSet* rows) const noexcept { mapi().freeProws(rows); }
};
using Rows = std::unique_ptr<SRowSet, FreeRows>;

// For one call's out-parameter: Block<SPropValue> value; call(receive(value)).
template <class T, class Deleter>
class Receiver {
 public:
  explicit Receiver(std::unique_ptr<T, Deleter>& owner) : owner_(owner) { owner_.reset(); }
  ~Receiver() { owner_.reset(raw_); }
  operator T**() { return &raw_; }

 private:
  std::unique_ptr<T, Deleter>& owner_;
  T* raw_ = nullptr;
};
template <class T, class Deleter>
Receiver<T, Deleter> receive(std::unique_ptr<T, Deleter>& owner) {
  return Receiver<T, Deleter>(owner);
}

using Microsoft::WRL::ComPtr;

template <class Interface>
LPUNKNOWN* unknownOut(ComPtr<Interface>& object) {
  return reinterpret_cast<LPUNKNOWN*>(object.ReleaseAndGetAddressOf());
}
