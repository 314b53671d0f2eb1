// The one guard around the exported functions: no exception leaves them.
#pragma once

#include <cstdint>
#include <new>

#include "fendrel/fendrel.h"

namespace fendrel {

// Runs the body of an entry point. Running out of memory, also inside the standard library, is code 2.
template <class Body>
std::uint32_t guarded(Body body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return FENDREL_OUT_OF_MEMORY;
  } catch (...) {
    return FENDREL_FAILED;
  }
}

}  // namespace fendrel
