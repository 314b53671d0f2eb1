// GoogleMock's templates for the methods of sessions and of the functions.
#include "mapi_mocks.h"

FENDREL_SESSION_TYPES(FENDREL_INSTANTIATE_TYPE);
