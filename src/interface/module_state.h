// What the module loads once for all jobs, and the destination that it offers. Not guarded: one thread.
#pragma once

#include <cstdint>

#include "fendrel/fendrel.h"

namespace fendrel {

// Counted start and stop. startModule: 0, 2, 7, or FENDREL_FAILED when MAPI cannot be bound; a failed first start
// leaves nothing loaded. The last stop ends the remaining jobs, then releases texts and MAPI: at once, or after the
// running call if the host stops the module during one.
std::uint32_t startModule() noexcept;
void stopModule() noexcept;

// Held by a running call: keeps the module's texts and MAPI loaded.
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
