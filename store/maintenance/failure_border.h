// Converts the engine's exceptions to StatusFailure.
#pragma once

#include "engine_error.h"
#include "maintenance.h"

namespace fendrel::store {

template <class Work>
auto maintained(Work&& work) {
  try {
    return work();
  } catch (const EngineError& error) {
    throw StatusFailure(error.status, error.text);
  }
}

// Calls the watch.
inline void report(const Watch& watch, std::uint64_t done, std::uint64_t total) {
  if (watch && !watch(done, total)) throw StatusFailure(Status::Cancelled, "Cancelled.");
}

}  // namespace fendrel::store
