#include "job_table.h"

namespace fendrel {

JobTable& jobTable() {
  static JobTable& table = *new JobTable;
  return table;
}

}  // namespace fendrel
