// GetIDsFromNames and GetNamesFromIDs for every object.
#pragma once

#include "mapi_interfaces.h"
#include "origin.h"

namespace fendrel::provider {

// Tags without a type, in the order of the names; without a list of names those of all that there are. A name that is
// not known, or for which no identifier is left, gets PT_ERROR.
HRESULT getIdsFromNames(store::Origin& origin, ULONG count, MAPINAMEID** names, ULONG flags, LPSPropTagArray* tags);

// Names in the order of the tags; without tags those of all, or of one set. What has no name is null. Names of the set
// PS_MAPI stand for identifiers below 0x8000.
HRESULT getNamesFromIds(store::Origin& origin, LPSPropTagArray* tags, const GUID* set, ULONG flags, ULONG* count,
                        LPMAPINAMEID** names);

}  // namespace fendrel::provider
