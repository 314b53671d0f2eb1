// Entry identifiers of this provider.
// For identifiers of 16 bytes, as in the database:
//
//   offset  size
//        0     4  flags, 0: long-term
//        4    16  the provider, the same in all these identifiers
//       20    16  the store; for a user zeros
//       36     4  object type: MAPI_STORE, MAPI_FOLDER, MAPI_MESSAGE, MAPI_MAILUSER; little-endian
//       40    16  the object; for a store the store again, for a user the profile
// For identifiers of other sizes:
//
//        0     4  flags, 0: long-term
//        4    16  the provider, another one
//       20     4  object type
//       24     2  size of the store's identifier, little-endian; the store and then the object follow
// Two identifiers name the same object exactly if their bytes are equal.
#pragma once

#include <optional>

#include "id.h"
#include "mapi_interfaces.h"
#include "property_values.h"

namespace fendrel::provider {

struct EntryId {
  ULONG type = 0;
  store::Id store;
  store::Id object;
  bool operator==(const EntryId&) const = default;
};

// This provider's identifier in PR_MDB_PROVIDER and in entry identifiers of the first form.
const MAPIUID& providerId() noexcept;

store::Bytes encode(const EntryId& entryId);
store::Bytes bytesOf(const store::Id& id);

// Nothing for a foreign identifier.
std::optional<EntryId> decode(ULONG size, const void* entryId);

// The error for an identifier that decode refuses: MAPI_E_UNKNOWN_ENTRYID for another provider's, else
// MAPI_E_INVALID_ENTRYID.
HRESULT refusalOf(ULONG size, const void* entryId) noexcept;

// CompareEntryIDs of all interfaces.
HRESULT compareEntryIds(ULONG size1, const void* id1, ULONG size2, const void* id2, ULONG* result) noexcept;

// Returns an identifier in a new MAPI block.
HRESULT handOutEntryId(const store::Bytes& bytes, ULONG* size, LPENTRYID* entryId);

}  // namespace fendrel::provider
