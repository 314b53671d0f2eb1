// Posts new files of a job until it is cancelled.
#pragma once

#include "job_run.h"

namespace fendrel::host {

// A file is complete when its size and time have not changed for job.settle seconds and nobody has it open. Returns
// `done` when cancelled; throws Failure for permanent failures such as a refused password. Posted files are recognised
// in the folder, so it may be ended at any time.
ExitCode watchJob(CommandContext& context, const Job& job);

}  // namespace fendrel::host
