#include "host_stream.h"

namespace fendrel::provider {

HRESULT streamWish(ULONG tag, REFIID iid, ULONG options, ULONG flags, bool objectIsWritable, StreamWish& wish) {
  const ULONG type = PROP_TYPE(tag);
  if (!answersTo<IStream>(iid) || (type != PT_BINARY && type != PT_STRING8 && type != PT_UNICODE)) {
    return MAPI_E_INTERFACE_NOT_SUPPORTED;
  }
  const bool asksToWrite = (flags & (MAPI_MODIFY | MAPI_CREATE)) != 0 || (options & (STGM_WRITE | STGM_READWRITE)) != 0;
  if (asksToWrite && !objectIsWritable) return MAPI_E_NO_ACCESS;
  wish.writable = asksToWrite || ((flags & MAPI_BEST_ACCESS) && objectIsWritable);
  wish.create = (flags & MAPI_CREATE) != 0;
  return S_OK;
}

HRESULT openHostStream(PropertyHost& host, IUnknown* owner, const std::shared_ptr<std::recursive_mutex>& mutex,
                       ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object) {
  StreamWish wish;
  if (const HRESULT result = streamWish(tag, iid, options, flags, SUCCEEDED(host.checkWritable()), wish);
      FAILED(result)) {
    return result;
  }
  if (wish.writable) {
    if (const HRESULT result = host.checkProperty(tag); FAILED(result)) return result;
  }
  const PropertyTag stored = storedTag(tag);
  std::vector<Property> found;
  const PropertyTag asked = anyType(tag);
  if (const HRESULT result = host.readProperties(std::span(&asked, 1), found); FAILED(result)) return result;
  const bool present = found.front().tag == stored;
  if (!present && !wish.create) return MAPI_E_NOT_FOUND;
  store::Bytes bytes;
  if (present && !wish.create) bytes = streamBytes(PROP_TYPE(tag), found.front().value);
  MemoryContent::Commit commit;
  if (wish.writable) {
    commit = [&host, keep = ComPtr<IUnknown>(owner), tag, stored](std::span<const std::byte> written) {
      const Property property{stored, valueOfStream(PROP_TYPE(tag), written)};
      return host.changeProperties(std::span(&property, 1), {});
    };
  }
  auto content = std::make_shared<MemoryContent>(std::move(bytes), std::move(commit));
  if (wish.create) content->resize(0);  // a change: the property then exists and is empty
  auto stream = makeObject<PropertyStream>(mutex, std::move(content), wish.writable);
  return handOut(stream, object);
}

}  // namespace fendrel::provider
