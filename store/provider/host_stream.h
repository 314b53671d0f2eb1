// Opening a property as a stream.
#pragma once

#include "mapi_object.h"
#include "property_stream.h"

namespace fendrel::provider {

// What an OpenProperty for a stream asks for. MAPI_E_INTERFACE_NOT_SUPPORTED (no stream, or no type that has one),
// MAPI_E_NO_ACCESS (to write where the object is for reading).
struct StreamWish {
  bool writable = false;
  bool create = false;  // missing is not a failure, and what is there is discarded
};
HRESULT streamWish(ULONG tag, REFIID iid, ULONG options, ULONG flags, bool objectIsWritable, StreamWish& wish);

// A stream on an object whose changes take effect at once: it is held in memory and set at Commit or at the end.
// `owner` is the object itself, kept alive by the stream.
HRESULT openHostStream(PropertyHost& host, IUnknown* owner, const std::shared_ptr<std::recursive_mutex>& mutex,
                       ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object);

}  // namespace fendrel::provider
