// fendrel list: the messages of a folder.
#include <fmt/format.h>

#include <memory>

#include "console.h"
#include "message_place.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct ListOptions {
  MessagePlace place;
  std::uint64_t newest = 0;  // 0: all
  bool brief = false;
};

struct Row {
  std::uint64_t number;
  MessageRow message;
};

std::string attachmentWords(const std::vector<Attachment>& attachments) {
  std::string words;
  for (const Attachment& attachment : attachments)
    words += fmt::format("{}{} ({})", words.empty() ? "" : ", ", printable(attachment.name),
                         attachment.isFile ? counted(attachment.size, "byte") : "no file");
  return words.empty() ? "-" : words;
}

Json jsonRow(const Row& row, const std::vector<Attachment>* attachments) {
  const MessageRow& message = row.message;
  Json item = {{"number", row.number},
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
  explicit TextTable(std::vector<bool> alignRight) : right(std::move(alignRight)), widths(right.size()) {}

  void add(std::vector<std::string> cells) {
    for (std::size_t column = 0; column < cells.size(); ++column)
      widths[column] = std::max(widths[column], displayWidth(cells[column]));
    lines.push_back(std::move(cells));
  }

  void print(const Host& host) const {
    for (const std::vector<std::string>& cells : lines) {
      std::string text;
      for (std::size_t column = 0; column < cells.size(); ++column) {
        if (column > 0) text += "  ";
        if (right[column]) text.append(widths[column] - displayWidth(cells[column]), ' ');
        text += right[column] || column + 1 == cells.size() ? cells[column] : padded(cells[column], widths[column]);
      }
      host.line(text);
    }
  }

 private:
  std::vector<bool> right;
  std::vector<std::size_t> widths;
  std::vector<std::vector<std::string>> lines;
};

ExitCode listMessages(Host& host, const ListOptions& options) {
  if (options.place.path.empty() && !options.place.personal)
    throw Failure(ExitCode::wrongUsage, "Which folder? Give its PATH, or --personal.");
  const OpenFolder folder = options.place.open(host.session());
  MessageTable table(folder, options.place.hidden);
  const std::uint64_t count = table.count();
  const std::uint64_t first = options.newest > 0 && options.newest < count ? count - options.newest + 1 : 1;

  std::vector<Row> rows;
  table.read(first, UINT64_MAX, [&](std::uint64_t number, const MessageRow& message) {
    rows.push_back({number, message});
  });
  Json messages = Json::array();
  TextTable text({true, false, false, false, true, false});
  text.add({"No.", "Subject", "Class", "Delivered", "Size", "Attachments"});
  for (const Row& row : rows) {
    if (cancelRequested()) throw Failure(ExitCode::cancelled, "Cancelled.");
    std::vector<Attachment> attachments;
    if (!options.brief && row.message.hasAttachments)
      attachments = attachmentsOf(*openMessage(folder, row.message).Get());
    const std::string words = options.brief ? (row.message.hasAttachments ? "yes" : "-") : attachmentWords(attachments);
    if (host.options.json)
      messages.push_back(jsonRow(row, options.brief ? nullptr : &attachments));
    else
      text.add({std::to_string(row.number), printable(row.message.subject), printable(row.message.messageClass),
                localTime(row.message.delivered), withThousands(row.message.size), words});
  }
  if (rows.empty())
    host.line(fmt::format("{} holds no messages.", printable(folder.path)));
  else
    text.print(host);
  host.document({{"folder", toUtf8(folder.path)}, {"count", count}, {"messages", messages}});
  return ExitCode::done;
}

}  // namespace

void addListCommand(CLI::App& app, Host& host) {
  const auto options = std::make_shared<ListOptions>();
  CLI::App* command = app.add_subcommand("list", "List the messages of a folder");
  options->place.addOptions(*command);
  command->add_option("--newest", options->newest, "Only the newest N messages")->type_name("N");
  command->add_flag("--brief", options->brief, "Do not open the messages: faster, without attachment names");
  command->footer("Example:\n  fendrel list \"Public Folders@Reports@Daily\" --newest 20");
  command->callback([&host, options] {
    host.command = [options](Host& running) { return listMessages(running, *options); };
  });
}

}  // namespace fendrel::host
