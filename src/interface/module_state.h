// What the module loads once for all jobs, and the destination that it offers.
//
// Threads: one; the state is not guarded.
#pragma once

#include <cstdint>

#include "fendrel/fendrel.h"

namespace fendrel {

// Counted start and stop. startModule: 0, 2, 7, or FENDREL_FAILED when MAPI cannot be bound; a failed first
// start leaves nothing behind.
std::uint32_t startModule() noexcept;
void stopModule() noexcept;

const FendrelDestinationList* exportDestinations() noexcept;

// The message classes of the two posting modes; empty before the first start.
const wchar_t* templateMessageClass() noexcept;
const wchar_t* documentMessageClass() noexcept;

}  // namespace fendrel
