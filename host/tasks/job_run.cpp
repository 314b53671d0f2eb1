#include "job_run.h"

#include <fmt/format.h>

#include "console.h"
#include "deletion.h"
#include "export_names.h"
#include "moved_file.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

// The directory for a file with that result; empty if the file stays.
std::string placeFor(const Job& job, const PostedFile& result) {
  switch (result.state) {
    case PostedFile::State::posted:
    case PostedFile::State::leftOut: return job.archive;
    case PostedFile::State::failed:
      // Temporary failures are left for the next run.
      return result.failure && !result.failure->retryable() ? job.failed : std::string();
    default: return {};
  }
}

bool putAway(CommandContext& context, const Job& job, const InputFile& file, const PostedFile& result) {
  const std::string place = placeFor(job, result);
  if (place.empty()) return false;
  const std::string to = moveFileInto(file, place);
  context.tell({Level::detail,
                "moved",
                file.given,
                fmt::format("{} was moved to {}", shownName(file), printable(to)),
                {{"to", to}}});
  return true;
}

}  // namespace

JobLock::JobLock(const Job& job) {
  std::wstring path = fullPath(job.file);
  CharUpperBuffW(path.data(), static_cast<DWORD>(path.size()));
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(path.data());
  const std::wstring name = L"Global\\Fendrel job " + nameKey({bytes, path.size() * sizeof(wchar_t)});
  mutex_.reset(CreateMutexW(nullptr, TRUE, name.c_str()));
  const DWORD error = GetLastError();
  // Another user's mutex exists but cannot be opened.
  if (mutex_ && error != ERROR_ALREADY_EXISTS) return;
  if (mutex_ || error == ERROR_ACCESS_DENIED)
    throw Failure(ExitCode::failed, fmt::format("Job '{}' is running already; nothing was done. Wait for its end, or "
                                                "stop it.",
                                                printable(job.file)))
        .mayPass();
  throw systemFailure(ExitCode::failed, fmt::format("Job '{}' cannot be started", printable(job.file)), error);
}

InputFiles jobFiles(const Job& job, Look look) {
  InputFiles inputs(job.selection, look);
  std::erase_if(inputs.files, [&](const InputFile& file) {
    return !file.path.empty() && ((!job.archive.empty() && isBelow(file.path, job.archive)) ||
                                  (!job.failed.empty() && isBelow(file.path, job.failed)));
  });
  return inputs;
}

JobOutcome postForJob(CommandContext& context, const Job& job, std::vector<InputFile> files) {
  JobOutcome outcome;
  Posting posting(context, job.request, std::move(files));
  outcome.exit = posting.run();
  outcome.posting = posting.document(outcome.exit);
  outcome.results = posting.results();
  for (std::size_t file = 0; file < outcome.results.size(); ++file) {
    outcome.putAway.push_back(false);
    const InputFile& input = posting.inputs()[file];
    if (input.problem) continue;  // it may be in use or missing
    try {
      outcome.putAway.back() = putAway(context, job, input, outcome.results[file]);
    } catch (const Failure& failure) {
      context.tell("not moved", input.given, failure);
      if (outcome.exit == ExitCode::done) outcome.exit = ExitCode::failed;
    }
  }
  return outcome;
}

Json applyRetention(CommandContext& context, const Job& job, bool dryRun) {
  Json list = Json::array();
  if (job.retention.isEmpty()) return list;
  context.endSession();
  const std::wstring path = toWide(job.request.target.to);
  const OpenFolder folder = dryRun ? context.session().walk(path) : context.session().walkToChange(path);
  MessageTable table(folder, false);
  const std::vector<ChosenMessage> old = chooseMessages(table, {}, job.retention);
  if (!dryRun) deleteChosen(folder, old);
  for (const ChosenMessage& message : old) list.push_back(tellDeletion(context, message, dryRun));
  return list;
}

ExitCode runJob(CommandContext& context, const Job& job) {
  const JobLock lock(job);
  InputFiles inputs = jobFiles(job);
  // A pattern without a match means a night without reports; a missing name is a failure.
  std::erase_if(inputs.files, [&](const InputFile& file) {
    if (file.isPattern) context.tell({Level::notice, "no file", file.given, file.problem->what()});
    return file.isPattern;
  });
  JobOutcome outcome;
  Json deleted = Json::array();
  if (inputs.files.empty())
    context.tell({Level::info, "total", {}, "There is no file to post."});
  else
    outcome = postForJob(context, job, inputs.files);
  // If posting fails, the old reports are the only ones.
  if (outcome.exit == ExitCode::done)
    deleted = applyRetention(context, job, false);
  else if (!job.retention.isEmpty())
    context.tell({Level::notice, "kept", {}, "No old message was deleted, because not every file was posted."});
  if (!context.options.jsonLines)
    context.document({{"job", job.file},
                      {"posting", outcome.posting},
                      {"deleted", deleted},
                      {"exitCode", static_cast<int>(outcome.exit)}});
  return outcome.exit;
}

ExitCode tellJobPlan(CommandContext& context, const Job& job) {
  Job plan = job;
  plan.request.dryRun = plan.request.target.lookOnly = true;
  plan.request.retries = 0;
  InputFiles inputs = jobFiles(job);
  std::erase_if(inputs.files, [&](const InputFile& file) {
    if (file.isPattern) context.tell({Level::notice, "no file", file.given, file.problem->what()});
    return file.isPattern;
  });
  if (inputs.files.empty()) context.tell({Level::info, "total", {}, "There is no file to post."});
  const auto move = [&](const std::string& directory, const char* which) {
    if (!directory.empty())
      context.tell({Level::info,
                    "would move",
                    {},
                    fmt::format("Files that {} would be moved to {}", which, printable(directory))});
  };
  JobOutcome outcome;
  Posting posting(context, plan.request, inputs.files);
  // Without files, logon and folder are checked all the same.
  outcome.exit = inputs.files.empty() ? (openTarget(context, plan.request.target), ExitCode::done) : posting.run();
  move(job.archive, "are posted");
  move(job.failed, "cannot be posted");
  Json deleted = Json::array();
  try {
    deleted = applyRetention(context, job, true);
  } catch (const Failure& failure) {
    // A folder that does not exist yet holds no old messages.
    if (failure.code() != MAPI_E_NOT_FOUND || !job.request.target.create) throw;
  }
  if (!context.options.jsonLines)
    context.document({{"job", job.file},
                      {"dryRun", true},
                      {"posting", posting.document(outcome.exit)},
                      {"deleted", deleted},
                      {"exitCode", static_cast<int>(outcome.exit)}});
  return outcome.exit;
}

}  // namespace fendrel::host
