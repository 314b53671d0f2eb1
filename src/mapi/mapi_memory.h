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

// The top block of an allocation chain; what is chained to it dies with it.
template <class T>
using MapiBuffer = std::unique_ptr<T, MapiFree>;

using RowSet = std::unique_ptr<SRowSet, RowSetFree<MapiFree>>;

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

}  // namespace fendrel
