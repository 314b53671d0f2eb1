// A job: a TOML file that says what to post where, what to do with the files afterwards, and what to keep. docs/jobs.md
// lists its keys.
#pragma once

#include <string>
#include <vector>

#include "command_context.h"
#include "message_filter.h"
#include "posting.h"

namespace fendrel::host {

struct Job {
  std::string file;  // as the user named it
  std::string store, mapi, profile, passwordFile, passwordCommand, logFile;
  PostRequest request;
  FileSelection selection;
  std::string archive, failed;  // directories; empty: files stay where they are
  MessageFilter retention;      // messages to delete after a run without failures; empty: none
  unsigned settle = 2;          // with --watch: seconds for which a file must not change
};

struct JobProblem {
  std::uint32_t line;  // 0: the whole file
  std::string words;
};

struct JobReading {
  Job job;
  std::vector<JobProblem> problems;
};

// Paths in a job are relative to its file's directory. Throws Failure(wrongUsage) if the file cannot be read.
JobReading readJob(const std::string& file);

// "nightly.toml:7: 'retrys' is unknown; did you mean 'retries'?"
std::string problemWords(const Job& job, const JobProblem& problem);

// Uses the job's logon settings, unless the command line sets them.
void useJob(const Job& job, CommandContext& context);

}  // namespace fendrel::host
