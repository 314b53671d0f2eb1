// GetIDsFromNames and GetNamesFromIDs for every object.
#pragma once

#include "mapi_interfaces.h"
#include "origin.h"

namespace fendrel::provider {

// Tags without a type, in the order of the names; without a list those of all names. A name that is unknown, or for
// which no identifier is left, gets PT_ERROR.
HRESULT getIdsFromNames(store::Origin& origin, ULONG count, MAPINAMEID** names, ULONG flags, LPSPropTagArray* tags);

// Names in the order of the tags; without tags all names, or those of one set. Null for a tag without a name. Names in
// the set PS_MAPI represent identifiers below 0x8000.
HRESULT getNamesFromIds(store::Origin& origin, LPSPropTagArray* tags, const GUID* set, ULONG flags, ULONG* count,
                        LPMAPINAMEID** names);

}  // namespace fendrel::provider
