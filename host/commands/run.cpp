// fendrel run: runs a job.
#include <fmt/format.h>

#include <memory>

#include "commands.h"
#include "text.h"
#include "watch.h"

namespace fendrel::host {
namespace {

struct RunOptions {
  std::string job;
  bool check = false, watch = false;
};

// Prints the job's problems, line by line; done if there are none.
ExitCode tellProblems(CommandContext& context, const JobReading& reading) {
  if (reading.problems.empty()) return ExitCode::done;
  Json list = Json::array();
  for (const JobProblem& problem : reading.problems) {
    context.tell({Level::error, "problem", {}, problemWords(reading.job, problem), {{"line", problem.line}}});
    list.push_back({{"line", problem.line}, {"words", problem.words}});
  }
  context.document(
      {{"job", reading.job.file}, {"problems", list}, {"exitCode", static_cast<int>(ExitCode::wrongUsage)}});
  return ExitCode::wrongUsage;
}

ExitCode run(CommandContext& context, const RunOptions& options) {
  const JobReading reading = readJob(options.job);
  if (const ExitCode exit = tellProblems(context, reading); exit != ExitCode::done) return exit;
  useJob(reading.job, context);
  if (options.check) {
    context.tell({Level::info, "checked", {}, fmt::format("{} is in order.", printable(options.job))});
    return tellJobPlan(context, reading.job);
  }
  return options.watch ? watchJob(context, reading.job) : runJob(context, reading.job);
}

}  // namespace

void addRunCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<RunOptions>();
  CLI::App* command = app.add_subcommand("run", "Run a job: post its files, move them away, delete old messages");
  command->add_option("JOB", options->job, "The job's file; docs/jobs.md describes it")->required();
  CLI::Option* check =
      command->add_flag("--check,-n,--dry-run", options->check,
                        "Show the job's problems, line by line, and what a run would do; change nothing");
  command->add_flag("--watch", options->watch, "Keep running and post new files once they are complete, until Ctrl+C")
      ->excludes(check);
  command->footer(
      "Run it as often as you like: files whose messages the folder holds are not posted again.\n"
      "Examples:\n"
      "  fendrel run --check nightly.toml\n"
      "  fendrel run nightly.toml\n"
      "  fendrel run --watch nightly.toml");
  command->callback(
      [&context, options] { context.command = [options](CommandContext& running) { return run(running, *options); }; });
}

}  // namespace fendrel::host
