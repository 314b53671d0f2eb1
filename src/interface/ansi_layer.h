// Start and end of the ANSI set with the module, and the list of destinations that it keeps.
#pragma once

#include "fendrel/fendrel.h"

namespace fendrel {

// At process attach: chooses the code page and binds the wide exports. False when a required one is missing; the
// module must not load then.
bool attachAnsiLayer(HMODULE module) noexcept;

// At process detach, also after a failed attach.
void detachAnsiLayer() noexcept;

// The destinations as an ANSI host sees them, built once under a lock; a list that has no names yet is answered but not
// kept as that one. Throws std::bad_alloc.
const FendrelDestinationListA* ansiDestinations();

}  // namespace fendrel
