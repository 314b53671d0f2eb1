// The base of every COM object of this subsystem.
#pragma once

#include <wrl/client.h>

#include <atomic>
#include <mutex>
#include <new>
#include <utility>

#include "mapi.h"

namespace fendrel::utility {

using Microsoft::WRL::ComPtr;

// Runs a client's call; no exception leaves it.
template <class Call>
HRESULT guarded(Call&& call) noexcept {
  try {
    return std::forward<Call>(call)();
  } catch (const std::bad_alloc&) {
    return MAPI_E_NOT_ENOUGH_MEMORY;
  } catch (...) {
    return MAPI_E_CALL_FAILED;
  }
}

// The same, one call at a time. The lock is recursive: objects of one session call each other.
template <class Call>
HRESULT guarded(std::recursive_mutex& mutex, Call&& call) noexcept {
  return guarded([&] {
    std::lock_guard lock(mutex);
    return std::forward<Call>(call)();
  });
}

// The identifiers of an interface: its own and those of its bases.
template <class Interface>
inline bool answersTo(REFIID iid);
template <>
inline bool answersTo<IUnknown>(REFIID iid) {
  return iid == IID_IUnknown;
}
template <>
inline bool answersTo<IMAPIAdviseSink>(REFIID iid) {
  return iid == IID_IMAPIAdviseSink || answersTo<IUnknown>(iid);
}
template <>
inline bool answersTo<IStream>(REFIID iid) {
  return iid == IID_IStream || iid == IID_ISequentialStream || answersTo<IUnknown>(iid);
}

// Whether an Interface can be returned for a request of `iid` (null: the standard interface).
template <class Interface>
bool accepts(LPCIID iid) {
  return !iid || answersTo<Interface>(*iid);
}

template <class Interface>
class ComObject : public Interface {
 public:
  ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) final {
    if (!object) return MAPI_E_INVALID_PARAMETER;
    *object = nullptr;
    if (!answersTo<Interface>(iid)) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<Interface*>(this);
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() final { return ++references_; }
  STDMETHODIMP_(ULONG) Release() final {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~ComObject() = default;

 private:
  std::atomic<ULONG> references_{1};
};

template <class Object, class... Arguments>
ComPtr<Object> makeObject(Arguments&&... arguments) {
  ComPtr<Object> object;
  // Not Attach: the cross-compiler's adds a reference.
  *object.GetAddressOf() = new Object(std::forward<Arguments>(arguments)...);
  return object;
}

// Returns a reference to the client through a parameter of any interface type.
template <class Interface, class Out>
HRESULT handOut(ComPtr<Interface>& object, Out** out) {
  *out = reinterpret_cast<Out*>(static_cast<IUnknown*>(object.Detach()));
  return S_OK;
}

}  // namespace fendrel::utility
