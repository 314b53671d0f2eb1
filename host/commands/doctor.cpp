// fendrel doctor: checks what posting needs.
#include <fmt/format.h>

#include <memory>

#include "commands.h"
#include "examination.h"
#include "job_file.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct DoctorOptions {
  std::string to, job;
};

constexpr const char* tick = "\xE2\x9C\x93";
constexpr const char* cross = "\xE2\x9C\x97";

ExitCode callDoctor(CommandContext& context, const DoctorOptions& options) {
  ExitCode exit = ExitCode::done;
  Json list = Json::array();
  const auto tell = [&](const DoctorFinding& finding) {
    if (!finding.isGood && exit == ExitCode::done) exit = finding.exit;
    Json item = {{"what", finding.what}, {"good", finding.isGood}};
    if (finding.isGood)
      item["words"] = finding.words;
    else
      item["error"] = finding.error;
    // A cross is part of the result, so it goes to standard output like the ticks.
    context.tell({Level::info,
                  "finding",
                  {},
                  fmt::format("{} {:<13}  {}", finding.isGood ? tick : cross, finding.what, finding.words),
                  item});
    list.push_back(std::move(item));
  };
  DoctorOrder order{options.to};
  if (!options.job.empty()) {
    const JobReading reading = readJob(options.job);
    for (const JobProblem& problem : reading.problems) {
      const Failure failure(ExitCode::wrongUsage, problemWords(reading.job, problem));
      tell({"Job", false, failure.what(), failure.exitCode(), jsonError(failure)});
    }
    if (reading.problems.empty()) tell({"Job", true, printable(options.job) + " is in order", ExitCode::done, nullptr});
    useJob(reading.job, context);
    order = {reading.job.request.target.to, reading.job.request.target.create};
  }
  examine(context, order, tell);
  context.document({{"findings", list}, {"exitCode", static_cast<int>(exit)}});
  return exit;
}

}  // namespace

void addDoctorCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<DoctorOptions>();
  CLI::App* command = app.add_subcommand("doctor", "Check everything that posting needs");
  CLI::Option* to = command->add_option("--to", options->to, "Also check this folder as the target of a post");
  to->type_name("PATH");
  command->add_option("--job", options->job, "Also check this job and its folder")->type_name("JOB")->excludes(to);
  command->footer(
      "Prints one line per check, with a tick or a cross and what to do. Changes nothing. The exit code is\n"
      "that of the first cross. Checks that depend on a failed one are skipped.\n"
      "Examples:\n"
      "  fendrel doctor --to \"Public Folders@Reports@Daily\"\n"
      "  fendrel doctor --mapi system --json");
  command->callback([&context, options] {
    context.command = [options](CommandContext& running) { return callDoctor(running, *options); };
  });
}

}  // namespace fendrel::host
