// The handles of the wide set's jobs.
#pragma once

#include "export_job.h"
#include "handle_table.h"

namespace fendrel {

using JobTable = HandleTable<ExportJob>;

// The module's jobs. Never destroyed: at the end of the process MAPI may be gone before us.
JobTable& jobTable();

}  // namespace fendrel
