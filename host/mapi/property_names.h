// The symbolic names of MAPI properties and of their types.
#pragma once

#include <mapidefs.h>

#include <string>

namespace fendrel::host {

// "PR_SUBJECT", whatever the type of the tag; "0x6601" for a property without a known name.
std::string propertyName(ULONG tag);

// "PT_UNICODE", "PT_MV_LONG".
std::string propertyTypeName(ULONG tag);

}  // namespace fendrel::host
