#include "ansi_job.h"

#include "never_destroyed.h"

namespace fendrel {

// Apart from the wide set's handles: one of the other set is unknown here.
constexpr std::uint32_t beforeFirstHandle = 0x40000000;

HandleTable<AnsiJob>& ansiJobs() noexcept {
  static NeverDestroyed<HandleTable<AnsiJob>> table(beforeFirstHandle);
  return *table;
}

}  // namespace fendrel
