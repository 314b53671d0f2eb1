#include "command_line.h"

#include <algorithm>
#include <new>

#include "commands.h"
#include "console.h"
#include "error_words.h"
#include "help_format.h"
#include "paths.h"
#include "store_files.h"
#include "suggestion.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr const char* description = "Posts report files into Exchange folders and manages the messages there.";

constexpr const char* examples =
    "Start with a profile, then post:\n"
    "  fendrel profile add jane --user \"Jane Doe\" --default\n"
    "  fendrel post --to \"Public Folders@Reports@Daily\" --create sales.pdf stock.csv\n"
    "  fendrel folders\n"
    "  fendrel list \"Public Folders@Reports@Daily\"\n"
    "  fendrel show \"Public Folders@Reports@Daily\" 1\n"
    "  fendrel save \"Public Folders@Reports@Daily\" 1 reports\n"
    "\n"
    "For nightly posting write a job: \"fendrel help run\". To find problems: fendrel doctor.\n"
    "A folder's path is its names joined by '@', message store first; upper and lower case count.\n"
    "\n"
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 some files or messages done and some not, 4 MAPI or\n"
    "the profile cannot be used, 5 folder not found or refused, 6 a store is damaged, 8 cancelled.";

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
  app.add_option("--store", options.store,
                 "The local store's database; else the environment variable FENDREL_STORE names it, else it is "
                 "Fendrel\\store.db in the user's local application data")
      ->type_name("FILE");
  app.add_option("--mapi", options.mapi,
                 "local: the store that comes with fendrel (default); system: this machine's MAPI")
      ->check(CLI::IsMember({"local", "system"}))
      ->type_name("WHICH");
  app.add_option("--profile", options.profile, "The MAPI profile; else the default one, or the only one")
      ->type_name("NAME");
  app.add_option("--password-file", options.passwordFile,
                 "The profile's password is this file's first line. Without this option and the next, it is read from "
                 "the environment variable FENDREL_PASSWORD or asked for on a terminal")
      ->type_name("FILE");
  app.add_option("--password-command", options.passwordCommand,
                 "The profile's password is the first line of this command's output")
      ->type_name("COMMAND");
  // Other users can read command lines in the list of processes.
  app.add_option("--password", "")->group("")->each([](const std::string&) {
    throw CLI::ValidationError(
        "A password on a command line can be read by others, so --password is not taken. Give "
        "--password-file or --password-command, or set FENDREL_PASSWORD");
  });
  app.add_flag("--json", options.json, "Print the result as one JSON document");
  app.add_flag("--json-lines", options.jsonLines,
               "Print a line of JSON for every event while the command runs, and the result last");
  app.add_option("--log-file", options.logFile, "Append a line for every event to this file")->type_name("FILE");
  CLI::Option* quiet = app.add_flag("-q,--quiet", options.quiet, "Show only errors");
  app.add_flag("-v,--verbose", options.verbose, "Show more events")->excludes(quiet);
}

std::vector<std::string> commandsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

std::vector<std::string> optionsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

ExitCode showHelp(const CLI::App& app, const std::vector<std::string>& words) {
  const CLI::App* at = &app;
  std::string before;
  for (const std::string& word : words) {
    const std::vector<std::string> known = commandsOf(*at);
    if (std::ranges::find(known, word) == known.end())
      throw Failure(ExitCode::wrongUsage, "Unknown command '" + printable(word) + "'" + didYouMean(word, known) +
                                              " \"fendrel help\" lists them.");
    before += (before.empty() ? "" : " ") + at->get_name();
    at = at->get_subcommand(word);
  }
  // app.help() would show the help of the parsed command, which is this one.
  std::string help = words.empty() ? app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal)
                                   : at->help(before);
  while (!help.empty() && help.back() == '\n') help.pop_back();
  printLine(help);
  return ExitCode::done;
}

// The mistake in the arguments, and where help is.
std::string usageWords(const CLI::App& app, const CLI::ParseError& error) {
  std::string command = "fendrel";
  const CLI::App* at = &app;
  for (auto chosen = at->get_subcommands(); !chosen.empty(); chosen = at->get_subcommands()) {
    at = chosen.front();
    command += ' ' + at->get_name();
  }
  std::string words = error.what();
  if (!at->get_subcommands({}).empty()) {  // a missing or unknown subcommand
    const std::vector<std::string> unknown = app.remaining(true);
    const bool named = !unknown.empty() && !unknown.front().starts_with('-');
    words = named
                ? "Unknown command '" + printable(unknown.front()) + "'" + didYouMean(unknown.front(), commandsOf(*at))
                : "Missing command after " + command;
  } else if (const std::vector<std::string> unknown = app.remaining(true);
             !unknown.empty() && unknown.front().starts_with('-')) {
    std::vector<std::string> known = optionsOf(*at);
    for (std::string& option : optionsOf(app)) known.push_back(std::move(option));
    words = "Unknown option '" + printable(unknown.front()) + "'" +
            didYouMean(unknown.front().substr(0, unknown.front().find('=')), known);
  }
  if (words.ends_with('?')) return words + " \"" + command + " --help\" explains.";
  while (!words.empty() && (words.back() == '.' || words.back() == '\n')) words.pop_back();
  return words + ". \"" + command + " --help\" explains.";
}

ExitCode report(CommandContext& context, const Failure& given) {
  Failure failure = given;
  if (isDamage(failure.code()) && context.options.mapi != "system") {
    const std::wstring place = storePlace(context);
    if (looksLikeStore(place))
      failure = Failure(failure.exitCode(), failure.what() + (" The store is '" + printable(displayPath(place)) + "'."),
                        failure.code());
    else
      failure = noStore(place);
  }
  const auto exit = static_cast<int>(failure.exitCode());
  context.tell({Level::error, "failed", {}, failure.what(), {{"error", jsonError(failure)}, {"exitCode", exit}}});
  if (!context.options.jsonLines) context.document({{"error", jsonError(failure)}, {"exitCode", exit}});
  return failure.exitCode();
}

ExitCode parseAndDo(std::vector<std::string> arguments) {
  CommandContext context;
  context.options.json = std::ranges::find(arguments, "--json") != arguments.end();
  context.options.jsonLines = std::ranges::find(arguments, "--json-lines") != arguments.end();
  CLI::App app(description, "fendrel");
  app.allow_windows_style_options(false);
  app.set_version_flag("-V,--version", std::string("fendrel ") + FENDREL_RELEASE, "Show the release of fendrel");
  app.set_help_flag("-h,--help", "Show help; with a command, that command's help");
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(examples);
  const auto format = std::make_shared<HelpFormat>();
  format->label("Positionals", "Arguments");
  app.formatter(format);
  addGlobalOptions(app, context.options);
  addPostCommand(app, context);
  addRunCommand(app, context);
  addChooseCommand(app, context);
  addFoldersCommand(app, context);
  addFolderCommand(app, context);
  addListCommand(app, context);
  addShowCommand(app, context);
  addSaveCommand(app, context);
  addDeleteCommand(app, context);
  addExportCommand(app, context);
  addDoctorCommand(app, context);
  addProfileCommand(app, context);
  addMapiCommand(app, context);
  addStoreCommand(app, context);
  addTlvCommand(app, context);
  addCompletionCommand(app, context);

  std::vector<std::string> helpWords;
  CLI::App* helping = app.add_subcommand("help", "Show help; with a command, that command's help");
  helping->add_option("COMMAND", helpWords, "The command");
  helping->callback([&] { context.command = [&](CommandContext&) { return showHelp(app, helpWords); }; });

  for (CLI::App* command : app.get_subcommands({})) {
    command->group("Commands");
    for (CLI::App* below : command->get_subcommands({})) below->group("Commands");
  }

  std::ranges::reverse(arguments);  // the parser's order
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::CallForVersion& version) {
    printLine(version.what());
    return ExitCode::done;
  } catch (const CLI::CallForHelp&) {
    std::string help = app.help();
    while (!help.empty() && help.back() == '\n') help.pop_back();
    printLine(help);
    return ExitCode::done;
  } catch (const CLI::ParseError& error) {
    return report(context, Failure(ExitCode::wrongUsage, usageWords(app, error)));
  }
  try {
    if (!context.options.logFile.empty()) context.keepLog(context.options.logFile);
    const ExitCode exit = context.command(context);
    return exit == ExitCode::done && context.logIsLost() ? ExitCode::failed : exit;
  } catch (const Failure& failure) {
    return report(context, failure);
  }
}

}  // namespace

ExitCode run(std::vector<std::string> arguments) noexcept {
  try {
    const ExitCode exit = parseAndDo(std::move(arguments));
    if (!outputIsLost()) return exit;
    printError("fendrel: Not all of the output could be written.");
    return exit == ExitCode::done ? ExitCode::failed : exit;
  } catch (const std::bad_alloc&) {
    printError("fendrel: Not enough memory. Close other programs and try again.");
  } catch (const std::exception& error) {
    printError(std::string("fendrel: An unexpected failure: ") + error.what());
  }
  return ExitCode::failed;
}

}  // namespace fendrel::host
