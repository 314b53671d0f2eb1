#include "command_line.h"

#include <algorithm>
#include <new>

#include "commands/commands.h"
#include "console.h"
#include "error_words.h"
#include "help_format.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr const char* description = "Posts report files into Exchange folders, and looks into the folders.";

constexpr const char* examples =
    "Begin with a profile, then post and look:\n"
    "  fendrel profile add jane --user \"Jane Doe\" --default\n"
    "  fendrel post --to \"Public Folders@Reports@Daily\" --create sales.pdf stock.csv\n"
    "  fendrel folders\n"
    "  fendrel list \"Public Folders@Reports@Daily\"\n"
    "  fendrel show \"Public Folders@Reports@Daily\" 1\n"
    "  fendrel save \"Public Folders@Reports@Daily\" 1 reports\n"
    "\n"
    "A folder's path is its names joined by '@', message store first; upper and lower case count.\n"
    "\n"
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 some files or messages done and some not, 4 MAPI or\n"
    "the profile cannot be used, 5 folder not found or refused, 6 a store is damaged, 8 cancelled.";

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
  app.add_option("--store", options.store,
                 "The local store's database; else the environment variable FENDREL_STORE names it, else it is "
                 "Fendrel\\store.db in the user's local application data")
      ->type_name("FILE");
  app.add_option("--mapi", options.mapi, "local: the store that comes with fendrel (default); system: this machine's MAPI")
      ->check(CLI::IsMember({"local", "system"}))
      ->type_name("WHICH");
  app.add_option("--profile", options.profile, "The MAPI profile; else the default one, or the only one")
      ->type_name("NAME");
  app.add_option("--password", options.password,
                 "The profile's password. Other users may see a command line: the environment variable "
                 "FENDREL_PASSWORD, which is read when this option is absent, does not show it")
      ->type_name("TEXT");
  app.add_flag("--json", options.json, "Give the result as one JSON document");
}

// What was wrong with the arguments, and the help that explains it.
std::string usageWords(const CLI::App& app, const CLI::ParseError& error) {
  std::string command = "fendrel";
  const CLI::App* at = &app;
  for (auto chosen = at->get_subcommands(); !chosen.empty(); chosen = at->get_subcommands()) {
    at = chosen.front();
    command += ' ' + at->get_name();
  }
  std::string words = error.what();
  if (!at->get_subcommands({}).empty()) {  // no command behind a word that needs one
    const std::vector<std::string> unknown = app.remaining(true);
    const bool named = !unknown.empty() && !unknown.front().starts_with('-');
    words = named ? "'" + printable(unknown.front()) + "' is no command" : "A command is missing behind " + command;
  }
  while (!words.empty() && (words.back() == '.' || words.back() == '\n')) words.pop_back();
  return words + ". \"" + command + " --help\" explains.";
}

void report(const Host& host, const std::string& text, ExitCode exit, HRESULT code) {
  printError("fendrel: " + text);
  Json error = {{"message", text}, {"exitCode", static_cast<int>(exit)}};
  if (code != S_OK) {
    error["name"] = errorName(code);
    error["code"] = static_cast<std::uint32_t>(code);
  }
  host.document({{"error", error}});
}

ExitCode parseAndDo(std::vector<std::string> arguments) {
  Host host;
  host.options.json = std::ranges::find(arguments, "--json") != arguments.end();
  CLI::App app(description, "fendrel");
  app.allow_windows_style_options(false);
  app.set_version_flag("--version", std::string("fendrel ") + FENDREL_RELEASE, "Show the release of fendrel");
  app.set_help_flag("-h,--help", "Show help; with a command, that command's help");
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(examples);
  const auto format = std::make_shared<HelpFormat>();
  format->label("Positionals", "Arguments");
  app.formatter(format);
  addGlobalOptions(app, host.options);
  addPostCommand(app, host);
  addChooseCommand(app, host);
  addFoldersCommand(app, host);
  addFolderCommand(app, host);
  addListCommand(app, host);
  addShowCommand(app, host);
  addSaveCommand(app, host);
  addDeleteCommand(app, host);
  addExportCommand(app, host);
  addProfileCommand(app, host);
  addMapiCommand(app, host);
  addStoreCommand(app, host);
  addTlvCommand(app, host);

  for (CLI::App* command : app.get_subcommands({})) {
    command->group("Commands");
    for (CLI::App* below : command->get_subcommands({})) below->group("Commands");
  }

  std::ranges::reverse(arguments);  // as the parser takes them
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
    report(host, usageWords(app, error), ExitCode::wrongUsage, S_OK);
    return ExitCode::wrongUsage;
  }
  if (host.options.password.empty()) host.options.password = environmentText(L"FENDREL_PASSWORD");
  try {
    return host.command(host);
  } catch (const Failure& failure) {
    report(host, failure.what(), failure.exitCode(), failure.code());
    return failure.exitCode();
  }
}

}  // namespace

ExitCode run(std::vector<std::string> arguments) noexcept {
  try {
    return parseAndDo(std::move(arguments));
  } catch (const std::bad_alloc&) {
    printError("fendrel: Not enough memory. Close other programs and try again.");
  } catch (const std::exception& error) {
    printError(std::string("fendrel: An unexpected failure: ") + error.what());
  }
  return ExitCode::failed;
}

}  // namespace fendrel::host
