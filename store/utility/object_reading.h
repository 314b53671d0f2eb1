// Exported utility functions in a form for internal use.
#pragma once

#include "mapi_memory.h"

namespace fendrel::utility {

// HrGetOneProp: an error value of the object becomes the result.
HRESULT readOne(IMAPIProp& object, ULONG tag, MapiBuffer<SPropValue>& value);

// HrQueryAllRows. `mostRows` 0: no limit; more rows than that are MAPI_E_TABLE_TOO_BIG.
HRESULT readAllRows(IMAPITable& table, const SPropTagArray* columns, const SRestriction* restriction,
                    const SSortOrderSet* order, LONG mostRows, MapiRows& rows);

}  // namespace fendrel::utility
