// The border of store/maintenance: what the engine throws becomes a MaintenanceFailure.
#pragma once

#include "engine_error.h"
#include "maintenance.h"

namespace fendrel::store {

inline Trouble troubleOf(Status status) noexcept {
  switch (status) {
    case Status::NotFound: return Trouble::notFound;
    case Status::AlreadyExists: return Trouble::exists;
    case Status::NoAccess: return Trouble::noAccess;
    case Status::NotEnoughDisk: return Trouble::notEnoughDisk;
    case Status::Busy: return Trouble::busy;
    case Status::Corrupt: return Trouble::damaged;
    case Status::NewerVersion: return Trouble::newer;
    default: return Trouble::failed;
  }
}

template <class Work>
auto maintained(Work&& work) {
  try {
    return work();
  } catch (const EngineError& error) {
    throw MaintenanceFailure(troubleOf(error.status), error.text);
  }
}

// Calls the watch.
inline void report(const Watch& watch, std::uint64_t done, std::uint64_t total) {
  if (watch && !watch(done, total)) throw MaintenanceFailure(Trouble::cancelled, "Cancelled.");
}

}  // namespace fendrel::store
