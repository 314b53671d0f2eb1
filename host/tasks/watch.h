// Posts what appears among a job's files, until somebody ends it.
#pragma once

#include "job_run.h"

namespace fendrel::host {

// A file is complete when its size and its time have stayed the same for job.settle seconds and nobody has it open.
// Ends with `done` when the work is to be cancelled; throws Failure for what does not pass by itself, such as a
// password that is refused. What was posted before is told from the folder, so that it may be ended at any time.
ExitCode watchJob(CommandContext& context, const Job& job);

}  // namespace fendrel::host
