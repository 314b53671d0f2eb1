#include "ansi_job.h"

#include "never_destroyed.h"

namespace fendrel {

// Keeps the handles different from the wide set's, so that those are unknown here.
constexpr std::uint32_t beforeFirstHandle = 0x40000000;

HandleTable<AnsiJob>& ansiJobs() noexcept {
  static NeverDestroyed<HandleTable<AnsiJob>> table(beforeFirstHandle);
  return *table;
}

}  // namespace fendrel
