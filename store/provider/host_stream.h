// Opens a property as a stream.
#pragma once

#include "mapi_object.h"
#include "property_stream.h"

namespace fendrel::provider {

// The parsed arguments of OpenProperty for a stream. MAPI_E_INTERFACE_NOT_SUPPORTED (not a stream, or a type without
// streams), MAPI_E_NO_ACCESS (writing to a read-only object).
struct StreamWish {
  bool writable = false;
  bool create = false;  // create a missing property, discard an existing value
};
HRESULT streamWish(ULONG tag, REFIID iid, ULONG options, ULONG flags, bool objectIsWritable, StreamWish& wish);

// A stream on an object whose changes take effect at once: the value is in memory and is set at Commit or in the
// destructor. `owner` is the object, which the stream keeps alive.
HRESULT openHostStream(PropertyHost& host, IUnknown* owner, const std::shared_ptr<std::recursive_mutex>& mutex,
                       ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object);

}  // namespace fendrel::provider
