// GoogleMock's templates for the methods of objects with properties.
#include "mapi_mocks.h"

FENDREL_OBJECT_TYPES(FENDREL_INSTANTIATE_TYPE);
