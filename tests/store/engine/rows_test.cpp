#include "engine_fixture.h"
