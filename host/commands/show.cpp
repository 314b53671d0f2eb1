// fendrel show: prints one message with all its properties.
#include <fmt/format.h>

#include <memory>

#include "message_place.h"
#include "property_names.h"
#include "property_text.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct ShowOptions {
  MessagePlace place;
  std::string number;
  bool brief = false;
};

void printProperties(CommandContext& context, const std::vector<PropertyText>& properties) {
  std::size_t nameWidth = 0, typeWidth = 0;
  for (const PropertyText& property : properties) {
    nameWidth = std::max(nameWidth, propertyName(property.tag).size());
    typeWidth = std::max(typeWidth, propertyTypeName(property.tag).size());
  }
  for (const PropertyText& property : properties)
    context.line(fmt::format("  {}  {}  {}", padded(propertyName(property.tag), nameWidth),
                             padded(propertyTypeName(property.tag), typeWidth), property.value));
}

Json jsonProperties(const std::vector<PropertyText>& properties) {
  Json list = Json::array();
  for (const PropertyText& property : properties)
    list.push_back({{"name", propertyName(property.tag)},
                    {"tag", fmt::format("0x{:08X}", property.tag)},
                    {"type", propertyTypeName(property.tag)},
                    {"value", property.json}});
  return list;
}

std::string timeOrNone(const FILETIME& time) {
  return time.dwHighDateTime == 0 && time.dwLowDateTime == 0 ? "-" : localTime(time);
}

void printSummary(CommandContext& context, std::uint64_t number, const OpenFolder& folder, const MessageRow& message) {
  context.line(fmt::format("Message {} of {}", number, printable(folder.path)));
  context.line(fmt::format("  Subject    {}", printable(message.subject)));
  context.line(fmt::format("  Class      {}", printable(message.messageClass)));
  context.line(fmt::format("  Sender     {}", message.sender.empty() ? "-" : printable(message.sender)));
  context.line(fmt::format("  Submitted  {}", timeOrNone(message.submitted)));
  context.line(fmt::format("  Delivered  {}", timeOrNone(message.delivered)));
  context.line(fmt::format("  Size       {}", counted(message.size, "byte")));
}

ExitCode showMessage(CommandContext& context, const ShowOptions& options) {
  const std::string& given = options.place.personal ? options.place.path : options.number;
  if (given.empty() || (options.place.personal && !options.number.empty()))
    throw Failure(ExitCode::wrongUsage, "Give the folder's PATH and the message's number N, or --personal and N.");
  const std::uint64_t number = messageNumber(given);
  const OpenFolder folder = options.place.open(context.session());
  MessageTable table(folder, options.place.hidden);
  const MessageRow row = table.at(number);
  const ComPtr<IMessage> message = openMessage(folder, row);
  const std::vector<Attachment> attachments = attachmentsOf(*message.Get());
  const std::vector<PropertyText> properties = propertiesOf(*message.Get(), "The message's properties");

  printSummary(context, number, folder, row);
  if (!options.brief) {
    context.line("");
    printProperties(context, properties);
  }
  Json attached = Json::array();
  for (std::size_t index = 0; index < attachments.size(); ++index) {
    const Attachment& attachment = attachments[index];
    const std::vector<PropertyText> own =
        propertiesOf(*attachment.object.Get(), fmt::format("Attachment '{}'", printable(attachment.name)));
    const std::string size = attachment.isFile ? counted(attachment.size, "byte") : "no file";
    if (options.brief) {
      context.line(fmt::format("  Attached   {}, {}", printable(attachment.name), size));
    } else {
      context.line("");
      context.line(fmt::format("Attachment {}: {}, {}", index + 1, printable(attachment.name), size));
      printProperties(context, own);
    }
    attached.push_back({{"name", toUtf8(attachment.name)}, {"size", attachment.size}});
    if (!options.brief) attached.back()["properties"] = jsonProperties(own);
  }
  Json document = {{"folder", toUtf8(folder.path)},        {"number", number},
                   {"subject", toUtf8(row.subject)},       {"class", toUtf8(row.messageClass)},
                   {"sender", toUtf8(row.sender)},         {"submitted", jsonTime(row.submitted)},
                   {"delivered", jsonTime(row.delivered)}, {"size", row.size}};
  if (!options.brief) document["properties"] = jsonProperties(properties);
  document["attachments"] = attached;
  context.document(document);
  return ExitCode::done;
}

}  // namespace

void addShowCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<ShowOptions>();
  CLI::App* command = app.add_subcommand("show", "Show one message with all its properties and attachments");
  options->place.addOptions(*command);
  command->add_option("N", options->number, "The message's number in \"fendrel list\"");
  command->add_flag("--brief", options->brief, "Subject, class, sender, times, size and attachments only");
  command->footer(
      "Examples:\n"
      "  fendrel show \"Public Folders@Reports@Daily\" 1\n"
      "  fendrel show --personal 3");
  command->callback([&context, options] {
    context.command = [options](CommandContext& running) { return showMessage(running, *options); };
  });
}

}  // namespace fendrel::host
