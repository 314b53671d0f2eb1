// The one guard around the exported functions: no exception leaves them.
#pragma once

#include <windows.h>

#include <mapicode.h>

#include <cstdint>
#include <new>

#include "error_text.h"
#include "fendrel/fendrel.h"

namespace fendrel {

// Runs the body of an entry point. Running out of memory, also inside the standard library, is code 2. Any other
// exception counts as MAPI_E_CALL_FAILED, with its text in the job's `words` if there is a job.
template <class Body>
std::uint32_t guarded(Body body, ErrorText* words = nullptr) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return FENDREL_OUT_OF_MEMORY;
  } catch (...) {
    return words ? mapResult(MAPI_E_CALL_FAILED, *words) : FENDREL_FAILED;
  }
}

}  // namespace fendrel
