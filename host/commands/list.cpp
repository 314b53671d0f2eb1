// fendrel list: lists the messages of a folder.
#include <fmt/format.h>

#include <memory>

#include "console.h"
#include "message_place.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct ListOptions {
  MessagePlace place;
  MessageFilter filter;
  std::vector<std::string> numbers;
  std::uint64_t newest = 0;  // 0: all
  bool brief = false, ids = false, wide = false;
};

std::string attachmentWords(const std::vector<Attachment>& attachments) {
  std::string words;
  for (const Attachment& attachment : attachments)
    words += fmt::format("{}{} ({})", words.empty() ? "" : ", ", printable(attachment.name),
                         attachment.isFile ? counted(attachment.size, "byte") : "no file");
  return words.empty() ? "-" : words;
}

Json jsonRow(const ChosenMessage& chosen, const std::vector<Attachment>* attachments) {
  const MessageRow& message = chosen.row;
  Json item = {{"number", chosen.number},
               {"id", messageId(message)},
               {"subject", toUtf8(message.subject)},
               {"class", toUtf8(message.messageClass)},
               {"sender", toUtf8(message.sender)},
               {"submitted", jsonTime(message.submitted)},
               {"delivered", jsonTime(message.delivered)},
               {"size", message.size}};
  if (!attachments) {
    item["hasAttachments"] = message.hasAttachments;
    return item;
  }
  item["attachments"] = Json::array();
  for (const Attachment& attachment : *attachments)
    item["attachments"].push_back({{"name", toUtf8(attachment.name)}, {"size", attachment.size}});
  return item;
}

// Lines of cells, each column as wide as its widest cell.
class TextTable {
 public:
  explicit TextTable(std::vector<bool> alignRight) : right_(std::move(alignRight)), widths_(right_.size()) {}

  void add(std::vector<std::string> cells) {
    for (std::size_t column = 0; column < cells.size(); ++column)
      widths_[column] = std::max(widths_[column], displayWidth(cells[column]));
    lines_.push_back(std::move(cells));
  }

  // In at most `width` columns, with shortened names; 0: unlimited.
  void print(const CommandContext& context, std::size_t width) {
    if (width > 0) fit(width);
    for (std::vector<std::string>& cells : lines_) {
      std::string text;
      for (std::size_t column = 0; column < cells.size(); ++column)
        cells[column] = shortened(cells[column], widths_[column]);
      for (std::size_t column = 0; column < cells.size(); ++column) {
        if (column > 0) text += "  ";
        if (right_[column]) text.append(widths_[column] - displayWidth(cells[column]), ' ');
        text += right_[column] || column + 1 == cells.size() ? cells[column] : padded(cells[column], widths_[column]);
      }
      context.line(text);
    }
  }

 private:
  // Shortens the columns with names, always the widest first.
  void fit(std::size_t width) {
    constexpr std::size_t narrowest = 12;
    for (;;) {
      std::size_t total = 2 * (widths_.size() - 1), widest = 0;
      for (std::size_t column = 0; column < widths_.size(); ++column) {
        total += widths_[column];
        if (!right_[column] && (right_[widest] || widths_[column] > widths_[widest])) widest = column;
      }
      if (total <= width || widths_[widest] <= narrowest) return;
      --widths_[widest];
    }
  }

  std::vector<bool> right_;
  std::vector<std::size_t> widths_;
  std::vector<std::vector<std::string>> lines_;
};

ExitCode listMessages(CommandContext& context, const ListOptions& options) {
  if (options.place.path.empty() && !options.place.personal)
    throw Failure(ExitCode::wrongUsage, "Which folder? Give its PATH, or --personal.");
  const OpenFolder folder = options.place.open(context.session());
  MessageTable table(folder, options.place.hidden);
  const std::uint64_t count = table.count();
  std::vector<std::string> numbers = options.numbers;
  // With --personal the word parsed as PATH is the first number.
  if (options.place.personal && !options.place.path.empty()) numbers.insert(numbers.begin(), options.place.path);
  const bool isNewestAlone = numbers.empty() && options.filter.isEmpty();
  if (isNewestAlone && options.newest > 0 && options.newest < count)
    numbers.push_back(fmt::format("{}-{}", count - options.newest + 1, count));  // the others need not be read
  std::vector<ChosenMessage> rows = chooseMessages(table, numbers, options.filter);
  if (options.newest > 0 && options.newest < rows.size())
    rows.erase(rows.begin(), rows.end() - static_cast<std::ptrdiff_t>(options.newest));
  Json messages = Json::array();
  std::vector<bool> alignment = {true, false, false, false, true, false};
  std::vector<std::string> heads = {"No.", "Subject", "Class", "Delivered", "Size", "Attachments"};
  if (options.ids) {
    alignment.insert(alignment.begin() + 1, false);
    heads.insert(heads.begin() + 1, "Id");
  }
  TextTable text(alignment);
  text.add(heads);
  for (const ChosenMessage& chosen : rows) {
    if (cancelRequested()) throw Failure(ExitCode::cancelled, "Cancelled.");
    const MessageRow& row = chosen.row;
    std::vector<Attachment> attachments;
    if (!options.brief && row.hasAttachments) attachments = attachmentsOf(*openMessage(folder, row).Get());
    const std::string words = options.brief ? (row.hasAttachments ? "yes" : "-") : attachmentWords(attachments);
    if (context.options.json || context.options.jsonLines) {
      messages.push_back(jsonRow(chosen, options.brief ? nullptr : &attachments));
      continue;
    }
    std::vector<std::string> cells = {std::to_string(chosen.number), printable(row.subject),
                                      printable(row.messageClass),   localTime(row.delivered),
                                      withThousands(row.size),       words};
    if (options.ids) cells.insert(cells.begin() + 1, messageId(row));
    text.add(std::move(cells));
  }
  if (rows.empty())
    context.line(count == 0 ? fmt::format("{} holds no messages.", printable(folder.path)) : "No message matches.");
  else
    text.print(context, options.wide ? 0 : outputWidth());
  context.document({{"folder", toUtf8(folder.path)}, {"count", count}, {"messages", messages}});
  return ExitCode::done;
}

}  // namespace

void addListCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<ListOptions>();
  CLI::App* command = app.add_subcommand("list", "List the messages of a folder");
  options->place.addOptions(*command);
  command->add_option("N", options->numbers, "Only the messages with these numbers, also as 1-3,7");
  options->filter.addOptions(*command);
  command->add_flag("--ids", options->ids, "Show the messages' identifiers, which stay when their numbers change");
  command->add_flag("--wide", options->wide, "On a terminal too: names are not shortened to its width");
  command->add_option("--newest", options->newest, "Only the newest N messages")->type_name("N");
  command->add_flag("--brief", options->brief, "Do not open the messages: faster, without attachment names");
  command->footer(
      "Examples:\n"
      "  fendrel list \"Public Folders@Reports@Daily\" --newest 20\n"
      "  fendrel list \"Public Folders@Reports@Daily\" --subject sales* --since 2026-11-01 --ids");
  command->callback([&context, options] {
    context.command = [options](CommandContext& running) { return listMessages(running, *options); };
  });
}

}  // namespace fendrel::host
