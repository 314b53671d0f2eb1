// The destination options record: its check, its freeing and the working copy that readers use.
// The layout is in fendrel/fendrel.h.
#pragma once

#include <cstdint>

#include "fendrel/fendrel.h"
#include "options_copy.h"

namespace fendrel {

// False for a null record or a version below 2. Otherwise true, and the record's version is now 1: the caller saves the
// version before and restores it.
template <class Options>
bool CheckOptionsVersion(Options* options) noexcept {
  if (!options || options->version < FENDREL_OPTIONS_VERSION) return false;
  options->version = 1;
  return true;
}

// Frees a record and, if unpacked, its strings. Null is allowed.
void freeOptions(DestinationOptions* options) noexcept;
void freeOptions(DestinationOptionsA* options) noexcept;

}  // namespace fendrel
