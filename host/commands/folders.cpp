// fendrel folders: shows the folder tree of all stores.
#include <fmt/format.h>

#include "commands.h"
#include "console.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct Line {
  std::size_t depth;
  std::string name;
  ULONG messages;
};

// Reads the subfolders of a folder into JSON and lines.
Json readTree(Session& session, IMsgStore& store, IMAPIFolder& folder, const std::wstring& path, std::size_t depth,
              std::vector<Line>& lines) {
  Json list = Json::array();
  for (const FolderEntry& entry : session.foldersOf(folder, path)) {
    const std::wstring entryPath = path + L'@' + entry.name;
    lines.push_back({depth, printable(entry.name), entry.messages});
    Json item = {{"name", toUtf8(entry.name)}, {"path", toUtf8(entryPath)}, {"messages", entry.messages}};
    item["folders"] = Json::array();
    if (entry.hasFolders) {
      const ComPtr<IMAPIFolder> opened = session.openFolder(store, entry.id, entryPath, false);
      item["folders"] = readTree(session, store, *opened.Get(), entryPath, depth + 1, lines);
    }
    list.push_back(item);
  }
  return list;
}

void printStore(CommandContext& context, const StoreEntry& store, const std::vector<Line>& lines) {
  context.line(printable(store.name) + (store.isDefault ? "  (default store)" : ""));
  std::size_t width = 0;
  for (const Line& line : lines) width = std::max(width, 2 * line.depth + displayWidth(line.name));
  for (const Line& line : lines)
    context.line(fmt::format("{}  {}", padded(std::string(2 * line.depth, ' ') + line.name, width),
                             line.messages == 0 ? "-" : counted(line.messages, "message")));
}

ExitCode showFolders(CommandContext& context) {
  Session& session = context.session();
  Json stores = Json::array();
  ExitCode outcome = ExitCode::done;
  for (const StoreEntry& store : session.stores()) {
    Json item = {{"name", toUtf8(store.name)}, {"default", store.isDefault}};
    std::vector<Line> lines;
    try {
      const ComPtr<IMsgStore> opened = session.openStore(store, false);
      const ComPtr<IMAPIFolder> top = session.openTop(*opened.Get(), store.name);
      item["folders"] = readTree(session, *opened.Get(), *top.Get(), store.name, 1, lines);
      printStore(context, store, lines);
    } catch (const Failure& failure) {
      // The other stores are still shown.
      item["error"] = jsonError(failure);
      printError(std::string("fendrel: ") + failure.what());
      outcome = failure.exitCode();
    }
    stores.push_back(item);
  }
  context.document({{"profile", toUtf8(session.profile())}, {"stores", stores}});
  return outcome;
}

}  // namespace

void addFoldersCommand(CLI::App& app, CommandContext& context) {
  CLI::App* command = app.add_subcommand("folders", "Show the folders of all message stores as a tree");
  command->footer(
      "Folder names joined by '@', message store first, are the path that other commands take:\n"
      "  fendrel list \"Public Folders@Reports@Daily\"");
  command->callback([&context] { context.command = showFolders; });
}

}  // namespace fendrel::host
