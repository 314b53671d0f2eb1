// What the module loads once for all jobs, and the destination that it offers.
//
// Threads: one; the state is not guarded.
#pragma once

#include <cstdint>

#include "fendrel/fendrel.h"

namespace fendrel {

// Counted start and stop. startModule: 0, 2, 7, or FENDREL_FAILED when MAPI cannot be bound; a failed first
// start leaves nothing. The last stop ends the jobs that are left, then lets texts and MAPI go: at once, or when
// the call has returned in the middle of which the host stops the module.
std::uint32_t startModule() noexcept;
void stopModule() noexcept;

// While one lives, a call runs that needs the module's texts and MAPI.
class ModuleUse {
 public:
  ModuleUse() noexcept;
  ~ModuleUse();
  ModuleUse(const ModuleUse&) = delete;
  ModuleUse& operator=(const ModuleUse&) = delete;

  // Whether the module was started when the call began, and has not been stopped since.
  bool holds() const noexcept;

 private:
  std::uint32_t start_;
};

const FendrelDestinationList* exportDestinations() noexcept;

// The message classes of the two posting modes; empty before the first start.
const wchar_t* templateMessageClass() noexcept;
const wchar_t* documentMessageClass() noexcept;

}  // namespace fendrel
