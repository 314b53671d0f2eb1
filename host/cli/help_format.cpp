#include "help_format.h"

#include <algorithm>
#include <sstream>

#include "console.h"

namespace fendrel::host {
namespace {

constexpr std::size_t nameColumn = 24;
// The width in a pipe, and the maximum on a terminal.
constexpr std::size_t widestLine = 100;

std::size_t lineWidth() {
  const std::size_t terminal = outputWidth();
  return terminal == 0 ? widestLine : std::clamp<std::size_t>(terminal - 1, 50, widestLine);
}

// NAME in its column, the text wrapped in the next one.
std::string entry(const std::string& name, const std::string& words) {
  std::string text = "  " + name;
  std::size_t column = text.size();
  if (column + 2 > nameColumn) {
    text += '\n';
    column = 0;
  }
  text.append(nameColumn - column, ' ');
  column = nameColumn;
  std::istringstream stream(words);
  for (std::string word; stream >> word;) {
    if (column + word.size() + 1 > lineWidth()) {
      text += '\n' + std::string(nameColumn, ' ');
      column = nameColumn;
    }
    if (column > nameColumn) {
      text += ' ';
      ++column;
    }
    text += word;
    column += word.size();
  }
  return text + '\n';
}

std::string positionalName(const CLI::Option& option) {
  const std::string name = option.get_name(true) + (option.get_items_expected_max() > 1 ? "..." : "");
  return option.get_required() ? name : '[' + name + ']';
}

}  // namespace

std::string HelpFormat::make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const {
  std::string text = Formatter::make_help(app, name, mode);
  const std::size_t end = text.find_last_not_of('\n');
  text.erase(end == std::string::npos ? 0 : end + 1);
  if (app->get_parent())
    text +=
        "\n\nFor every command: --store FILE, --mapi WHICH, --profile NAME, --password-file FILE,\n"
        "--password-command COMMAND, --json, --json-lines, --log-file FILE, --quiet, --verbose;\n"
        "\"fendrel --help\" explains them.";
  return text;
}

std::string HelpFormat::make_option(const CLI::Option* option, bool isPositional) const {
  if (isPositional) return entry(option->get_name(true), option->get_description());
  std::string name = option->get_name(false, true);
  for (std::size_t comma = name.find(','); comma != std::string::npos; comma = name.find(',', comma + 2))
    name.replace(comma, 1, ", ");
  if (option->get_type_size() != 0) {
    // A check appends its own text to the type's name.
    const std::string type = option->get_type_name();
    name += ' ' + type.substr(0, type.find(':'));
  }
  return entry(name, option->get_description());
}

std::string HelpFormat::make_usage(const CLI::App* app, std::string name) const {
  std::string usage = "\nUsage: " + name + " [OPTIONS]";
  if (!app->get_subcommands({}).empty()) usage += " COMMAND";
  for (const CLI::Option* option : app->get_options([](const CLI::Option* each) { return each->get_positional(); }))
    usage += ' ' + positionalName(*option);
  return usage + '\n';
}

std::string HelpFormat::make_subcommand(const CLI::App* command) const {
  return entry(command->get_name(), command->get_description());
}

}  // namespace fendrel::host
