// Owners of what MAPI allocates and of MAPI's interfaces.
#pragma once

#include <wrl/client.h>

#include <memory>

#include "mapi_binding.h"

namespace fendrel {

using Microsoft::WRL::ComPtr;

struct MapiFree {
  void operator()(void* block) const noexcept { mapi().mapiFreeBuffer(block); }
};

// The top block of an allocation chain; what is chained to it dies with it.
template <class T>
using MapiBuffer = std::unique_ptr<T, MapiFree>;

// Rows come with a property array each, allocated one by one.
struct RowSetFree {
  void operator()(SRowSet* rows) const noexcept {
    for (ULONG row = 0; row < rows->cRows; ++row) MapiBuffer<SPropValue>(rows->aRow[row].lpProps);
    MapiFree{}(rows);
  }
};
using RowSet = std::unique_ptr<SRowSet, RowSetFree>;

// Turns an owner into a C out-parameter: empties it, and takes what was written at the end of the expression.
template <class Owner>
class Receiver {
 public:
  explicit Receiver(Owner& owner) noexcept : owner_(owner) { owner_.reset(); }
  ~Receiver() { owner_.reset(pointer_); }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;
  operator typename Owner::pointer *() noexcept { return &pointer_; }

 private:
  Owner& owner_;
  typename Owner::pointer pointer_ = nullptr;
};

// Gives `owner` the reference that `object` holds, as the interface that it was opened for. Not by Attach: the
// cross-compiler's ComPtr counts another reference there, the published one does not.
template <class Interface>
void adopt(ComPtr<Interface>& owner, ComPtr<IUnknown>& object) noexcept {
  *owner.ReleaseAndGetAddressOf() = static_cast<Interface*>(object.Detach());
}

// The result of a call that hands an object out: one that succeeds without the object has failed all the same.
template <class T>
HRESULT checkReceived(HRESULT result, const ComPtr<T>& object) noexcept {
  return SUCCEEDED(result) && !object ? MAPI_E_CALL_FAILED : result;
}

template <class Owner>
Receiver<Owner> receive(Owner& owner) noexcept {
  return Receiver<Owner>(owner);
}

}  // namespace fendrel
