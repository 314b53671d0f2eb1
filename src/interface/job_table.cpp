#include "job_table.h"

#include <utility>

namespace fendrel {

FendrelJob JobTable::add(std::unique_ptr<ExportJob> job) {
  do ++last_;
  while (last_ == 0 || jobs_.contains(last_));
  jobs_.emplace(last_, std::move(job));
  return last_;
}

ExportJob* JobTable::find(FendrelJob handle) const noexcept {
  const auto found = jobs_.find(handle);
  return found == jobs_.end() ? nullptr : found->second.get();
}

bool JobTable::remove(FendrelJob handle) noexcept { return jobs_.erase(handle) != 0; }

JobTable& jobTable() {
  static JobTable& table = *new JobTable;
  return table;
}

}  // namespace fendrel
