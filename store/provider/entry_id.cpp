#include "entry_id.h"

#include <cstring>

namespace fendrel::provider {
namespace {

struct EntryIdBytes {
  BYTE flags[4];
  MAPIUID provider;
  BYTE store[16];
  ULONG type;
  BYTE object[16];
};
static_assert(sizeof(EntryIdBytes) == entryIdSize && offsetof(EntryIdBytes, store) == 20 &&
              offsetof(EntryIdBytes, type) == 36 && offsetof(EntryIdBytes, object) == 40);

}  // namespace

const MAPIUID& providerId() noexcept {
  static const MAPIUID id = {
      {0x46, 0x8E, 0x31, 0xC5, 0x1B, 0x7A, 0x4D, 0x92, 0xA6, 0x0F, 0xD3, 0x58, 0x27, 0xE9, 0xB4, 0x61}};
  return id;
}

store::Bytes bytesOf(const store::Guid& guid) { return {guid.bytes, guid.bytes + sizeof guid.bytes}; }

store::Bytes encode(const EntryId& entryId) {
  EntryIdBytes bytes{};
  bytes.provider = providerId();
  std::memcpy(bytes.store, entryId.store.bytes, sizeof bytes.store);
  bytes.type = entryId.type;
  std::memcpy(bytes.object, entryId.object.bytes, sizeof bytes.object);
  const auto* begin = reinterpret_cast<const std::byte*>(&bytes);
  return {begin, begin + sizeof bytes};
}

std::optional<EntryId> decode(ULONG size, const void* entryId) {
  if (size != entryIdSize || !entryId) return std::nullopt;
  EntryIdBytes bytes;
  std::memcpy(&bytes, entryId, sizeof bytes);
  if (!IsEqualMAPIUID(&bytes.provider, &providerId())) return std::nullopt;
  EntryId decoded;
  decoded.type = bytes.type;
  std::memcpy(decoded.store.bytes, bytes.store, sizeof bytes.store);
  std::memcpy(decoded.object.bytes, bytes.object, sizeof bytes.object);
  return decoded;
}

HRESULT refusalOf(ULONG size, const void* entryId) noexcept {
  constexpr std::size_t uidEnd = offsetof(EntryIdBytes, store);
  if (size < uidEnd || !entryId) return MAPI_E_INVALID_ENTRYID;
  MAPIUID provider;
  std::memcpy(&provider, static_cast<const BYTE*>(entryId) + offsetof(EntryIdBytes, provider), sizeof provider);
  return IsEqualMAPIUID(&provider, &providerId()) ? MAPI_E_INVALID_ENTRYID : MAPI_E_UNKNOWN_ENTRYID;
}

HRESULT compareEntryIds(ULONG size1, const void* id1, ULONG size2, const void* id2, ULONG* result) noexcept {
  if (!result) return MAPI_E_INVALID_PARAMETER;
  *result = FALSE;
  const auto first = decode(size1, id1), second = decode(size2, id2);
  if (!first) return refusalOf(size1, id1);
  if (!second) return refusalOf(size2, id2);
  *result = *first == *second;
  return S_OK;
}

HRESULT handOutEntryId(const store::Bytes& bytes, ULONG* size, LPENTRYID* entryId) {
  auto block = allocateMapi<ENTRYID>(bytes.size());
  std::memcpy(block.get(), bytes.data(), bytes.size());
  *size = static_cast<ULONG>(bytes.size());
  *entryId = block.release();
  return S_OK;
}

}  // namespace fendrel::provider
