#include "attachment.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "host_stream.h"
#include "message.h"

namespace fendrel::provider {
namespace {

constexpr PropertyTag computedTags[] = {PR_OBJECT_TYPE,      PR_ATTACH_NUM,       PR_ATTACH_SIZE,  PR_RECORD_KEY,
                                        PR_INSTANCE_KEY,     PR_ACCESS,           PR_ACCESS_LEVEL, PR_STORE_ENTRYID,
                                        PR_STORE_RECORD_KEY, PR_MAPPING_SIGNATURE};

// Longer values are omitted from "all properties" but not from explicit requests.
constexpr std::uint64_t longestInAllOfAttachment = 64 * 1024;

bool isComputed(PropertyTag tag) {
  return std::ranges::any_of(computedTags, [&](PropertyTag one) { return PROP_ID(one) == PROP_ID(tag); });
}

// The size of all values.
HRESULT sizeOf(const DraftProperties& draft, std::uint64_t& size) {
  std::vector<Property> all;
  if (const HRESULT result = draft.readAll(longestInAllOfAttachment, all); FAILED(result)) return result;
  size = 0;
  for (const Property& property : all) size += store::valueSize(property.value);
  return S_OK;
}

HRESULT computed(const StoreScope& scope, ULONG number, const DraftProperties& draft, bool writable, PropertyTag tag,
                 Property& property) {
  store::Bytes key(sizeof number);
  std::memcpy(key.data(), &number, sizeof number);
  switch (PROP_ID(tag)) {
    case PROP_ID(PR_OBJECT_TYPE): property = longProperty(PR_OBJECT_TYPE, MAPI_ATTACH); return S_OK;
    case PROP_ID(PR_ATTACH_NUM): property = longProperty(PR_ATTACH_NUM, number); return S_OK;
    case PROP_ID(PR_RECORD_KEY): property = makeProperty(PR_RECORD_KEY, key); return S_OK;
    case PROP_ID(PR_INSTANCE_KEY): property = makeProperty(PR_INSTANCE_KEY, key); return S_OK;
    case PROP_ID(PR_ACCESS):
      property = longProperty(PR_ACCESS, writable ? MAPI_ACCESS_READ | MAPI_ACCESS_MODIFY : MAPI_ACCESS_READ);
      return S_OK;
    case PROP_ID(PR_ACCESS_LEVEL): property = longProperty(PR_ACCESS_LEVEL, writable ? MAPI_MODIFY : 0); return S_OK;
    case PROP_ID(PR_STORE_ENTRYID): property = makeProperty(PR_STORE_ENTRYID, scope.storeEntryId()); return S_OK;
    case PROP_ID(PR_STORE_RECORD_KEY):
      property = makeProperty(PR_STORE_RECORD_KEY, bytesOf(scope.store.id));
      return S_OK;
    case PROP_ID(PR_MAPPING_SIGNATURE):
      property = makeProperty(PR_MAPPING_SIGNATURE, scope.mappingSignature());
      return S_OK;
    case PROP_ID(PR_ATTACH_SIZE): {
      std::uint64_t size = 0;
      if (const HRESULT result = sizeOf(draft, size); FAILED(result)) return result;
      property = longProperty(PR_ATTACH_SIZE, size);
      return S_OK;
    }
    default: property = {}; return S_OK;
  }
}

HRESULT readWhole(const StoreScope& scope, ULONG number, const DraftProperties& draft, bool writable,
                  std::vector<Property>& found) {
  for (const PropertyTag tag : computedTags) {
    if (const HRESULT result = computed(scope, number, draft, writable, tag, found.emplace_back()); FAILED(result)) {
      return result;
    }
  }
  std::vector<Property> stored;
  if (const HRESULT result = draft.readAll(longestInAllOfAttachment, stored); FAILED(result)) return result;
  std::ranges::move(stored, std::back_inserter(found));
  return S_OK;
}

}  // namespace

HRESULT attachmentRow(const StoreScope& scope, ULONG number, const DraftProperties& draft, std::vector<Property>& row) {
  return readWhole(scope, number, draft, false, row);
}

Attachment::Attachment(Message* message, ULONG number, DraftProperties draft, bool writable)
    : MapiObject(homeOf(message->scope().session)),
      message_(message),
      number_(number),
      draft_(std::move(draft)),
      writable_(writable) {}

Attachment::~Attachment() = default;

HRESULT Attachment::readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) {
  std::vector<PropertyTag> stored;
  std::ranges::copy_if(tags, std::back_inserter(stored), [](PropertyTag tag) { return !isComputed(tag); });
  std::vector<Property> present;
  if (!stored.empty()) {
    if (const HRESULT result = draft_.read(stored, present); FAILED(result)) return result;
  }
  std::size_t next = 0;
  for (const PropertyTag tag : tags) {
    if (!isComputed(tag)) {
      found.push_back(std::move(present[next++]));
      continue;
    }
    const HRESULT result = computed(message_->scope(), number_, draft_, writable_, tag, found.emplace_back());
    if (FAILED(result)) return result;
  }
  return S_OK;
}

HRESULT Attachment::readAllProperties(std::vector<Property>& found) {
  return readWhole(message_->scope(), number_, draft_, writable_, found);
}

HRESULT Attachment::checkProperty(PropertyTag tag) const { return isComputed(tag) ? MAPI_E_COMPUTED : S_OK; }

HRESULT Attachment::changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) {
  for (const Property& property : set) draft_.changes().set(property);
  for (const PropertyTag tag : remove) draft_.changes().remove(tag);
  return S_OK;
}

HRESULT Attachment::saveChanges(ULONG flags) {
  if (!writable_) return MAPI_E_NO_ACCESS;
  if (const HRESULT result = message_->keepAttachment(number_, draft_.changes().shared()); FAILED(result)) {
    return result;
  }
  writable_ = (flags & KEEP_OPEN_READWRITE) != 0;
  return S_OK;
}

HRESULT Attachment::openProperty(ULONG tag, REFIID iid, ULONG options, ULONG flags, IUnknown** object) {
  // Embedded messages and OLE objects are not supported.
  if (PROP_TYPE(tag) == PT_OBJECT) return MAPI_E_NO_SUPPORT;
  StreamWish wish;
  if (const HRESULT result = streamWish(tag, iid, options, flags, writable_, wish); FAILED(result)) return result;
  if (isComputed(tag))
    return wish.writable ? MAPI_E_COMPUTED : openHostStream(*this, this, mutex(), tag, iid, 0, 0, object);
  std::shared_ptr<StreamContent> content;
  if (const HRESULT result = draft_.openContent(tag, wish.writable, wish.create, content); FAILED(result))
    return result;
  auto stream = makeObject<PropertyStream>(mutex(), std::move(content), wish.writable);
  return handOut(stream, object);
}

}  // namespace fendrel::provider
