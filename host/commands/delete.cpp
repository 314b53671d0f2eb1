// fendrel delete: deletes messages by their numbers.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "error_words.h"
#include "message_place.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct DeleteOptions {
  MessagePlace place;
  std::vector<std::string> numbers;
};

std::vector<std::uint64_t> wantedNumbers(const DeleteOptions& options) {
  std::vector<std::string> given = options.numbers;
  // With --personal the word in PATH's place is the first number.
  if (options.place.personal && !options.place.path.empty()) given.insert(given.begin(), options.place.path);
  if (given.empty() || (!options.place.personal && options.place.path.empty()))
    throw Failure(ExitCode::wrongUsage,
                  "Give the folder's PATH and the messages' numbers N, or --personal and the numbers.");
  std::vector<std::uint64_t> numbers;
  for (const std::string& number : given) numbers.push_back(messageNumber(number));
  std::ranges::sort(numbers);
  const auto repeated = std::ranges::unique(numbers);
  numbers.erase(repeated.begin(), repeated.end());
  return numbers;
}

ExitCode deleteMessages(Host& host, const DeleteOptions& options) {
  const std::vector<std::uint64_t> numbers = wantedNumbers(options);
  Session& session = host.session();
  const OpenFolder folder =
      options.place.personal ? session.personalReports(true) : session.walkToChange(toWide(options.place.path));
  // All numbers are looked up before the first message goes and the others move up.
  MessageTable table(folder, options.place.hidden);
  std::vector<MessageRow> messages;
  for (const std::uint64_t number : numbers) messages.push_back(table.at(number));

  std::vector<SBinary> ids;
  for (MessageRow& message : messages) ids.push_back({static_cast<ULONG>(message.id.size()), message.id.data()});
  ENTRYLIST list{static_cast<ULONG>(ids.size()), ids.data()};
  const HRESULT code = folder.folder->DeleteMessages(&list, 0, nullptr, 0);
  const std::string subject = fmt::format("The messages of '{}' cannot be deleted", printable(folder.path));
  check(code, folderExitCode(code), subject);
  if (code == MAPI_W_PARTIAL_COMPLETION)
    throw Failure(ExitCode::failed,
                  fmt::format("Not all of the messages of '{}' were deleted (MAPI_W_PARTIAL_COMPLETION, 0x00040680). "
                              "\"fendrel list\" shows which are left.", printable(folder.path)),
                  code);
  Json deleted = Json::array();
  for (std::size_t index = 0; index < messages.size(); ++index) {
    host.line(fmt::format("Message {}, '{}', was deleted.", numbers[index], printable(messages[index].subject)));
    deleted.push_back({{"number", numbers[index]}, {"subject", toUtf8(messages[index].subject)}});
  }
  host.document({{"folder", toUtf8(folder.path)}, {"deleted", deleted}});
  return ExitCode::done;
}

}  // namespace

void addDeleteCommand(CLI::App& app, Host& host) {
  const auto options = std::make_shared<DeleteOptions>();
  CLI::App* command = app.add_subcommand("delete", "Delete messages of a folder");
  options->place.addOptions(*command);
  command->add_option("N", options->numbers, "The messages' numbers in \"fendrel list\"");
  command->footer(
      "They are deleted for good, all or none. Those behind them get new numbers: \"fendrel list\" shows them.\n"
      "Examples:\n"
      "  fendrel delete \"Public Folders@Reports@Daily\" 1 2 3\n"
      "  fendrel delete --personal 3");
  command->callback([&host, options] {
    host.command = [options](Host& running) { return deleteMessages(running, *options); };
  });
}

}  // namespace fendrel::host
