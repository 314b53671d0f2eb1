#include "entry_id.h"

#include <cstring>

namespace fendrel::provider {
namespace {

struct Head {
  BYTE flags[4];
  MAPIUID provider;
};

struct FixedEntryId {
  Head head;
  BYTE store[16];
  ULONG type;
  BYTE object[16];
};
static_assert(sizeof(FixedEntryId) == 56 && offsetof(FixedEntryId, store) == 20 && offsetof(FixedEntryId, type) == 36 &&
              offsetof(FixedEntryId, object) == 40);

struct OpenHead {
  Head head;
  ULONG type;
  USHORT storeSize;
};
constexpr std::size_t openHeadSize = 26;
static_assert(offsetof(OpenHead, type) == 20 && offsetof(OpenHead, storeSize) == 24);

const MAPIUID& openProviderId() noexcept {
  static const MAPIUID id = {
      {0x46, 0x8E, 0x31, 0xC5, 0x1B, 0x7A, 0x4D, 0x92, 0xA6, 0x0F, 0xD3, 0x58, 0x27, 0xE9, 0xB4, 0x62}};
  return id;
}

bool isFixed(const store::Id& id) { return id.bytes().size() == sizeof FixedEntryId::store; }

store::Bytes encodeFixed(const EntryId& entryId) {
  FixedEntryId bytes{};
  bytes.head.provider = providerId();
  std::memcpy(bytes.store, entryId.store.bytes().data(), sizeof bytes.store);
  bytes.type = entryId.type;
  std::memcpy(bytes.object, entryId.object.bytes().data(), sizeof bytes.object);
  const auto* begin = reinterpret_cast<const std::byte*>(&bytes);
  return {begin, begin + sizeof bytes};
}

}  // namespace

const MAPIUID& providerId() noexcept {
  static const MAPIUID id = {
      {0x46, 0x8E, 0x31, 0xC5, 0x1B, 0x7A, 0x4D, 0x92, 0xA6, 0x0F, 0xD3, 0x58, 0x27, 0xE9, 0xB4, 0x61}};
  return id;
}

store::Bytes bytesOf(const store::Id& id) {
  const auto bytes = id.bytes();
  return {bytes.begin(), bytes.end()};
}

store::Bytes encode(const EntryId& entryId) {
  if (isFixed(entryId.store) && isFixed(entryId.object)) return encodeFixed(entryId);
  const auto store = entryId.store.bytes(), object = entryId.object.bytes();
  OpenHead head{};
  head.head.provider = openProviderId();
  head.type = entryId.type;
  head.storeSize = static_cast<USHORT>(store.size());
  const auto* begin = reinterpret_cast<const std::byte*>(&head);
  store::Bytes bytes(begin, begin + openHeadSize);
  bytes.insert(bytes.end(), store.begin(), store.end());
  bytes.insert(bytes.end(), object.begin(), object.end());
  return bytes;
}

std::optional<EntryId> decode(ULONG size, const void* entryId) {
  if (size < openHeadSize || !entryId) return std::nullopt;
  const auto* begin = static_cast<const std::byte*>(entryId);
  OpenHead head{};
  std::memcpy(&head, begin, openHeadSize);
  if (IsEqualMAPIUID(&head.head.provider, &providerId())) {
    if (size != sizeof(FixedEntryId)) return std::nullopt;
    FixedEntryId bytes;
    std::memcpy(&bytes, begin, sizeof bytes);
    return EntryId{bytes.type, store::Id(std::as_bytes(std::span(bytes.store))),
                   store::Id(std::as_bytes(std::span(bytes.object)))};
  }
  if (!IsEqualMAPIUID(&head.head.provider, &openProviderId())) return std::nullopt;
  const auto ids = std::span(begin, size).subspan(openHeadSize);
  if (head.storeSize == 0 || head.storeSize >= ids.size()) return std::nullopt;
  return EntryId{head.type, store::Id(ids.first(head.storeSize)), store::Id(ids.subspan(head.storeSize))};
}

HRESULT refusalOf(ULONG size, const void* entryId) noexcept {
  if (size < sizeof(Head) || !entryId) return MAPI_E_INVALID_ENTRYID;
  Head head;
  std::memcpy(&head, entryId, sizeof head);
  const bool isOurs =
      IsEqualMAPIUID(&head.provider, &providerId()) || IsEqualMAPIUID(&head.provider, &openProviderId());
  return isOurs ? MAPI_E_INVALID_ENTRYID : MAPI_E_UNKNOWN_ENTRYID;
}

HRESULT compareEntryIds(ULONG size1, const void* id1, ULONG size2, const void* id2, ULONG* result) noexcept {
  if (!result) return MAPI_E_INVALID_PARAMETER;
  *result = FALSE;
  return guarded([&]() -> HRESULT {
    const auto first = decode(size1, id1), second = decode(size2, id2);
    if (!first) return refusalOf(size1, id1);
    if (!second) return refusalOf(size2, id2);
    *result = *first == *second;
    return S_OK;
  });
}

HRESULT handOutEntryId(const store::Bytes& bytes, ULONG* size, LPENTRYID* entryId) {
  auto block = allocateMapi<ENTRYID>(bytes.size());
  std::memcpy(block.get(), bytes.data(), bytes.size());
  *size = static_cast<ULONG>(bytes.size());
  *entryId = block.release();
  return S_OK;
}

}  // namespace fendrel::provider
