// One run of a job: post, move the files away, delete old messages.
#pragma once

#include <optional>

#include "file_handle.h"
#include "job_file.h"

namespace fendrel::host {

// Prevents a second run of the job at the same time, which might post the same files. The system releases the lock when
// the process ends.
class JobLock {
 public:
  // Throws Failure(failed) if another process runs the job.
  explicit JobLock(const Job& job);

 private:
  FileHandle mutex_;
};

// The job's files, without those that were moved away. later: they are not opened.
InputFiles jobFiles(const Job& job, Look look = Look::now);

struct JobOutcome {
  ExitCode exit = ExitCode::done;
  std::vector<PostedFile> results;  // one for each file
  std::vector<bool> putAway;        // likewise
  Json posting;                     // the JSON that `post` would print
};

// Posts the files and moves them as the job says. Throws Failure if nothing could be posted.
JobOutcome postForJob(CommandContext& context, const Job& job, std::vector<InputFile> files);

// Deletes messages by the job's retention; dryRun: only reports them. Returns the JSON of it.
Json applyRetention(CommandContext& context, const Job& job, bool dryRun);

// A complete run.
ExitCode runJob(CommandContext& context, const Job& job);

// Shows what a run would do.
ExitCode tellJobPlan(CommandContext& context, const Job& job);

}  // namespace fendrel::host
