// The handles of the wide set's jobs, and the calls on them.
#pragma once

#include "export_job.h"
#include "handle_table.h"
#include "module_state.h"

namespace fendrel {

using JobTable = HandleTable<ExportJob>;

// The module's jobs.
JobTable& jobTable() noexcept;

// Ends a job: logs off, and undoes the MAPIInitialize that it was made with. A job with a running call ends when that
// returns. Ignores an unknown handle.
void endJob(FendrelJob handle) noexcept;

// Ends every job, newest first.
void endAllJobs() noexcept;

// One call on a job. MAPI and the dialogs may run the host's own code during it; a nested call on the job is refused as
// if the job did not exist.
class JobCall {
 public:
  explicit JobCall(FendrelJob handle) noexcept;
  ~JobCall();
  JobCall(const JobCall&) = delete;
  JobCall& operator=(const JobCall&) = delete;

  explicit operator bool() const noexcept { return job_ != nullptr; }
  ExportJob* operator->() const noexcept { return job_; }

 private:
  const ModuleUse use_;
  FendrelJob handle_;
  ExportJob* job_;
};

}  // namespace fendrel
