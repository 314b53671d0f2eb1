// fendrel choose: the plug-in's own dialogs and their result.
#include <fmt/format.h>

#include <memory>

#include "commands.h"
#include "console.h"
#include "imposed_language.h"
#include "kept_choice.h"
#include "paths.h"
#include "plugin.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct ChooseOptions {
  std::string file, language;
};

Failure refusal(const ChoiceAnswer& answer) {
  if (answer.code == FENDREL_CANCELLED) return Failure(ExitCode::cancelled, "Nothing was chosen.");
  return Failure(ExitCode::mapiUnusable,
                 fmt::format("No folder could be chosen: the plug-in could not log on (its code is {}). Check the "
                             "profile and its password.",
                             static_cast<std::int32_t>(answer.code)));
}

// Asks, and adds the given password to the choice. The plug-in does not get a password that is typed into a logon
// dialog.
KeptChoice ask(Plugin& plugin, const std::wstring& password) {
  ChoiceAnswer answer = plugin.choose();
  if (answer.code != FENDREL_SUCCESS) throw refusal(answer);
  KeptChoice choice(std::move(answer.record), "The plug-in's answer");
  if (password.empty()) return choice;
  answer = plugin.repack({choice.profile(), password, choice.type(), choice.folderPath(), {}});
  if (answer.code != FENDREL_SUCCESS) throw refusal(answer);
  return KeptChoice(std::move(answer.record), "The plug-in's answer");
}

ExitCode choose(CommandContext& context, const ChooseOptions& options) {
  if (!context.options.profile.empty())
    throw Failure(ExitCode::wrongUsage, "choose asks for the profile itself; leave out --profile.");
  // Under Wine without a display the dialogs would wait invisibly.
  if (startedFromUnixShell() && environmentText(L"DISPLAY").empty())
    throw Failure(ExitCode::failed,
                  "choose shows dialogs, and there is no display. Set DISPLAY, or post with --to PATH.");
  if (context.knownProfiles().empty()) chooseProfile({}, {});
  context.profiles();  // loads MAPI before the plug-in does
  std::optional<ImposedLanguage> language;
  if (!options.language.empty()) language.emplace(options.language);
  Plugin plugin;
  const KeptChoice choice = ask(plugin, context.password());
  if (!options.file.empty()) choice.save(options.file);
  context.line(toUtf8(choice.folderPath()));
  context.document({{"profile", toUtf8(choice.profile())},
                    {"folder", toUtf8(choice.folderPath())},
                    {"type", choice.type()},
                    {"file", options.file.empty() ? Json(nullptr) : Json(options.file)}});
  return ExitCode::done;
}

}  // namespace

void addChooseCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<ChooseOptions>();
  CLI::App* command = app.add_subcommand("choose", "Choose profile and folder in the plug-in's dialogs");
  command
      ->add_option("--save", options->file,
                   "Keep the choice in this file, for \"fendrel post --options FILE\". With --password-file (or "
                   "FENDREL_PASSWORD) the password is kept with it, encrypted for this user")
      ->type_name("FILE");
  command->add_option("--language", options->language, "The dialogs' language, if its library is installed")
      ->check(CLI::IsMember(knownLanguages()))
      ->type_name("CODE");
  command->footer(
      "Prints the path of the chosen folder.\n"
      "Examples:\n"
      "  fendrel choose\n"
      "  fendrel choose --save daily.choice --language fr\n"
      "  fendrel post --options daily.choice sales.pdf");
  command->callback([&context, options] {
    context.command = [options](CommandContext& running) { return choose(running, *options); };
  });
}

}  // namespace fendrel::host
