// fendrel delete: deletes messages by number or identifier, or those that match a filter.
#include <fmt/format.h>

#include <memory>

#include "console.h"
#include "deletion.h"
#include "error_words.h"
#include "message_place.h"
#include "password_input.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct DeleteOptions {
  MessagePlace place;
  MessageFilter filter;
  std::vector<std::string> numbers;
  bool yes = false, dryRun = false;
};

std::vector<std::string> wantedNumbers(const DeleteOptions& options) {
  std::vector<std::string> numbers = options.numbers;
  // With --personal the word parsed as PATH is the first number.
  if (options.place.personal && !options.place.path.empty()) numbers.insert(numbers.begin(), options.place.path);
  if ((numbers.empty() && options.filter.isEmpty()) || (!options.place.personal && options.place.path.empty()))
    throw Failure(ExitCode::wrongUsage,
                  "Which messages? Give the folder's PATH or --personal, and the messages' numbers N, --id, or an "
                  "option like --older-than.");
  return numbers;
}

// Messages given one by one are deleted at once; those found by a filter are shown first.
void askFirst(const DeleteOptions& options, const OpenFolder& folder, const std::vector<ChosenMessage>& messages) {
  if (!options.filter.hasCriteria() || options.yes || messages.empty()) return;
  const std::string words = fmt::format("{} of '{}'", counted(messages.size(), "message"), printable(folder.path));
  if (!inputIsTerminal())
    throw Failure(ExitCode::wrongUsage,
                  fmt::format("{} would be deleted. Add --yes to delete them, or --dry-run to see them.", words));
  for (const ChosenMessage& message : messages) printError(deletionWords(message));
  if (!confirm(fmt::format("Delete {} permanently?", words)))
    throw Failure(ExitCode::cancelled, "Nothing was deleted.");
}

ExitCode deleteMessages(CommandContext& context, const DeleteOptions& options) {
  const std::vector<std::string> numbers = wantedNumbers(options);
  Session& session = context.session();
  const bool toWrite = !options.dryRun;
  const OpenFolder folder = options.place.personal ? session.personalReports(toWrite)
                            : toWrite              ? session.walkToChange(toWide(options.place.path))
                                                   : session.walk(toWide(options.place.path));
  // All are looked up first, because deleting a message changes the numbers.
  MessageTable table(folder, options.place.hidden);
  const std::vector<ChosenMessage> messages = chooseMessages(table, numbers, options.filter);
  if (!options.dryRun) {
    askFirst(options, folder, messages);
    deleteChosen(folder, messages);
  }
  Json deleted = Json::array();
  for (const ChosenMessage& message : messages) deleted.push_back(tellDeletion(context, message, options.dryRun));
  if (messages.empty()) context.line("No message matches.");
  Json document = {{"folder", toUtf8(folder.path)}, {"deleted", deleted}};
  if (options.dryRun) document["dryRun"] = true;
  context.document(document);
  return ExitCode::done;
}

}  // namespace

void addDeleteCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<DeleteOptions>();
  CLI::App* command = app.add_subcommand("delete", "Delete messages of a folder");
  options->place.addOptions(*command);
  command->add_option("N", options->numbers, "The messages' numbers in \"fendrel list\", also as 1-3,7");
  options->filter.addOptions(*command);
  command->add_flag("-y,--yes", options->yes, "Delete what matches without asking");
  command->add_flag("-n,--dry-run", options->dryRun, "Show what would be deleted, and delete nothing");
  command->footer(
      "Deletes permanently, all or none. Later messages get new numbers: \"fendrel list\" shows them;\n"
      "identifiers stay. With --subject, --class, --since, --until or --older-than it shows what it would\n"
      "delete and asks; without a terminal it requires --yes.\n"
      "Examples:\n"
      "  fendrel delete \"Public Folders@Reports@Daily\" 1-3,7\n"
      "  fendrel delete \"Public Folders@Reports@Daily\" --older-than 90d --yes\n"
      "  fendrel delete --personal 3");
  command->callback([&context, options] {
    context.command = [options](CommandContext& running) { return deleteMessages(running, *options); };
  });
}

}  // namespace fendrel::host
