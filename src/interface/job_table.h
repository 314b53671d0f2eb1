// Job handles: 32-bit values that stand for jobs and are never addresses.
#pragma once

#include <map>
#include <memory>

#include "export_job.h"

namespace fendrel {

// Owns the jobs that the host holds handles of. A handle is not given out again while the table can avoid it, so that
// an ended job's handle stays unknown.
class JobTable {
 public:
  FendrelJob add(std::unique_ptr<ExportJob> job);

  // Null for a handle that is 0, unknown or ended.
  ExportJob* find(FendrelJob handle) const noexcept;

  // True when there was such a job; it is destroyed.
  bool remove(FendrelJob handle) noexcept;

 private:
  std::map<FendrelJob, std::unique_ptr<ExportJob>> jobs_;
  FendrelJob last_ = 0;
};

// The module's jobs. Never destroyed: at the end of the process MAPI may be gone before us.
JobTable& jobTable();

}  // namespace fendrel
