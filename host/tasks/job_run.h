// One run of a job: post, put the files away, delete what is too old.
#pragma once

#include <optional>

#include "file_handle.h"
#include "job_file.h"

namespace fendrel::host {

// Holds a job against a second run of it at the same time, which might post what the first one is posting. The system
// lets it go when the process ends, however it ends.
class JobLock {
 public:
  // Throws Failure(failed) when another process runs the job.
  explicit JobLock(const Job& job);

 private:
  FileHandle mutex_;
};

// The job's files, without those that were put away. later: they are named, not opened.
InputFiles jobFiles(const Job& job, Look look = Look::now);

struct JobOutcome {
  ExitCode exit = ExitCode::done;
  std::vector<PostedFile> results;  // one for each file
  std::vector<bool> putAway;        // likewise
  Json posting;                     // what `post` would say of it
};

// Posts the files and moves them where the job wants them. Throws Failure when nothing at all could be posted.
JobOutcome postForJob(CommandContext& context, const Job& job, std::vector<InputFile> files);

// Deletes what the job's retention does not keep; dryRun: says what. Answers what JSON says of it.
Json maintainForJob(CommandContext& context, const Job& job, bool dryRun);

// A whole run.
ExitCode runJob(CommandContext& context, const Job& job);

// What a run would do.
ExitCode tellJobPlan(CommandContext& context, const Job& job);

}  // namespace fendrel::host
