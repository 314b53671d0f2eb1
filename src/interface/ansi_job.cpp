#include "ansi_job.h"

namespace fendrel {

// Apart from the wide set's handles: one of the other set is unknown here.
constexpr std::uint32_t beforeFirstHandle = 0x40000000;

HandleTable<AnsiJob>& ansiJobs() {
  static HandleTable<AnsiJob>& table = *new HandleTable<AnsiJob>(beforeFirstHandle);
  return table;
}

}  // namespace fendrel
