// Start and end of the ANSI set with the module, and its cached list of destinations.
#pragma once

#include "fendrel/fendrel.h"

namespace fendrel {

// At process attach: chooses the code page and binds the wide exports. False if a required one is missing; the module
// must not load then.
bool attachAnsiLayer(HMODULE module) noexcept;

// At process detach, also after a failed attach.
void detachAnsiLayer() noexcept;

// The destinations as an ANSI host sees them, built once under a lock; a list without names is returned but not cached.
// Throws std::bad_alloc.
const FendrelDestinationListA* ansiDestinations();

}  // namespace fendrel
