#include "job_table.h"

#include "never_destroyed.h"
#include "wait_cursor.h"

namespace fendrel {

JobTable& jobTable() noexcept {
  static NeverDestroyed<JobTable> table;
  return *table;
}

void endJob(FendrelJob handle) noexcept {
  ExportJob* const job = jobTable().find(handle);
  if (!job) return;
  if (job->callRuns) {
    job->endWanted = true;
    return;
  }
  const ModuleUse use;
  const WaitCursor wait;
  // Removed first: the host's code, which may run during the logoff, must not find the job.
  jobTable().take(handle).reset();
  MapiStop();
}

void endAllJobs() noexcept {
  for (FendrelJob job = jobTable().newest(); job != 0; job = jobTable().newestBefore(job)) endJob(job);
}

JobCall::JobCall(FendrelJob handle) noexcept : handle_(handle), job_(jobTable().find(handle)) {
  if (job_ && job_->callRuns) job_ = nullptr;
  if (job_) job_->callRuns = true;
}

JobCall::~JobCall() {
  if (!job_) return;
  job_->callRuns = false;
  if (job_->endWanted) endJob(handle_);
}

}  // namespace fendrel
