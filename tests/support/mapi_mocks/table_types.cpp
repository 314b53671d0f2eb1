// GoogleMock's templates for the methods of tables.
#include "mapi_mocks.h"

FENDREL_TABLE_TYPES(FENDREL_INSTANTIATE_TYPE);
