#include "ansi_job.h"

namespace fendrel {

HandleTable<AnsiJob>& ansiJobs() {
  static HandleTable<AnsiJob>& table = *new HandleTable<AnsiJob>;
  return table;
}

}  // namespace fendrel
