// The plug-in's owners of what MAPI allocates, and of MAPI's interfaces.
#pragma once

#include <wrl/client.h>

#include <memory>

#include "mapi_binding.h"
#include "owners.h"

namespace fendrel {

using Microsoft::WRL::ComPtr;

struct MapiFree {
  void operator()(void* block) const noexcept { mapi().mapiFreeBuffer(block); }
};

// The top block of an allocation chain; the blocks chained to it are freed with it.
template <class T>
using MapiBuffer = std::unique_ptr<T, MapiFree>;

using RowSet = std::unique_ptr<SRowSet, RowSetFree<MapiFree>>;

// Moves the reference of `object` to `owner`, as the interface that it was opened for. Attach is not used: the
// cross-compiler's adds a reference, the published one does not.
template <class Interface>
void adopt(ComPtr<Interface>& owner, ComPtr<IUnknown>& object) noexcept {
  *owner.ReleaseAndGetAddressOf() = static_cast<Interface*>(object.Detach());
}

// The result of a call that returns an object: success without an object is a failure.
template <class T>
HRESULT checkReceived(HRESULT result, const ComPtr<T>& object) noexcept {
  return SUCCEEDED(result) && !object ? MAPI_E_CALL_FAILED : result;
}

}  // namespace fendrel
