// fendrel folder: creates, renames and deletes folders.
#include <fmt/format.h>

#include <initializer_list>
#include <memory>

#include "commands.h"
#include "error_words.h"
#include "folder_path.h"
#include "text.h"

namespace fendrel::host {
namespace {

// A folder to be changed, never a message store.
OpenFolder folderToChange(CommandContext& context, const std::string& path) {
  OpenFolder folder = context.session().walkToChange(toWide(path));
  if (folder.names.size() < 2)
    throw Failure(ExitCode::folderRefused,
                  fmt::format("'{}' is a message store. Give the path of a folder in it.", printable(folder.path)));
  return folder;
}

ExitCode createFolders(CommandContext& context, const std::string& path) {
  std::vector<std::wstring> created;
  const OpenFolder folder = context.session().walk(toWide(path), true, &created);
  Json list = Json::array();
  for (const std::wstring& made : created) {
    context.line(fmt::format("Folder '{}' was made.", printable(made)));
    list.push_back(toUtf8(made));
  }
  if (created.empty()) context.line(fmt::format("Folder '{}' is there already.", printable(folder.path)));
  context.document({{"folder", toUtf8(folder.path)}, {"created", list}});
  return ExitCode::done;
}

// A name that paths can contain and that reports can be posted to.
std::wstring checkedName(const std::string& given) {
  const std::wstring name = toWide(given);
  if (name.empty()) throw Failure(ExitCode::wrongUsage, "The folder's new name is empty.");
  if (!isPlainName(name))
    throw Failure(ExitCode::wrongUsage, fmt::format("'{}' cannot be a folder's name: it is blank, or holds control "
                                                    "characters.",
                                                    printable(given)));
  if (name.find(L'@') != std::wstring::npos)
    throw Failure(ExitCode::wrongUsage,
                  fmt::format("'{}' cannot be a folder's name: '@' separates the names of a path. Give the new name "
                              "alone, without its path.",
                              printable(given)));
  if (name.size() > longestName)
    throw Failure(ExitCode::wrongUsage,
                  fmt::format("The new name has {} characters, and reports can be posted to names of at most {}.",
                              name.size(), longestName));
  return name;
}

ExitCode renameFolder(CommandContext& context, const std::string& path, const std::string& newName) {
  std::wstring name = checkedName(newName);
  const OpenFolder folder = folderToChange(context, path);
  const std::string subject = fmt::format("Folder '{}' cannot be renamed", printable(folder.path));
  SPropValue value{};
  value.ulPropTag = PR_DISPLAY_NAME_W;
  value.Value.lpszW = name.data();
  MapiBuffer<SPropProblemArray> problems;
  HRESULT code = folder.folder->SetProps(1, &value, receive(problems));
  if (SUCCEEDED(code) && problems && problems->cProblem > 0) code = problems->aProblem[0].scode;
  if (code == MAPI_E_NO_ACCESS)
    throw failureOf(ExitCode::folderRefused, subject, code, "A store's own folders keep their names.");
  check(code, folderExitCode(code), subject);
  const std::wstring renamed = folder.path.substr(0, folder.path.size() - folder.names.back().size()) + name;
  context.line(fmt::format("Folder '{}' is now '{}'.", printable(folder.path), printable(renamed)));
  context.document({{"folder", toUtf8(folder.path)}, {"renamed", toUtf8(renamed)}});
  return ExitCode::done;
}

struct Held {
  std::uint64_t folders = 0, messages = 0;
};

// Counts the contents of a folder and its subfolders, associated messages included.
Held heldBy(Session& session, IMsgStore& store, IMAPIFolder& folder, const std::wstring& path) {
  Held held;
  for (const ULONG flags : {ULONG{0}, ULONG{MAPI_ASSOCIATED}}) {
    ComPtr<IMAPITable> table;
    ULONG rows = 0;
    const std::string subject = fmt::format("Folder '{}' cannot be read", printable(path));
    check(folder.GetContentsTable(flags, &table), ExitCode::failed, subject);
    check(table->GetRowCount(0, &rows), ExitCode::failed, subject);
    held.messages += rows;
  }
  for (const FolderEntry& entry : session.foldersOf(folder, path)) {
    const std::wstring below = path + L'@' + entry.name;
    const Held more = heldBy(session, store, *session.openFolder(store, entry.id, below, false).Get(), below);
    held.folders += 1 + more.folders;
    held.messages += more.messages;
  }
  return held;
}

EntryId idOf(IMAPIFolder& folder, ULONG tag, const std::string& subject) {
  MapiBuffer<SPropValue> id;
  check(mapi().hrGetOneProp(&folder, tag, receive(id)), ExitCode::failed, subject);
  return EntryId(id->Value.bin.lpb, id->Value.bin.lpb + id->Value.bin.cb);
}

ExitCode deleteFolder(CommandContext& context, const std::string& path, bool recursive) {
  const OpenFolder folder = folderToChange(context, path);
  const std::string subject = fmt::format("Folder '{}' cannot be deleted", printable(folder.path));
  Session& session = context.session();
  const Held held = heldBy(session, *folder.store.Get(), *folder.folder.Get(), folder.path);
  const std::string words =
      fmt::format("{} and {}", counted(held.messages, "message"), counted(held.folders, "folder"));
  if (!recursive && (held.messages > 0 || held.folders > 0))
    throw Failure(
        ExitCode::folderRefused,
        fmt::format("Folder '{}' holds {} and was not deleted. --recursive deletes it with all of them, permanently.",
                    printable(folder.path), words));
  const EntryId id = idOf(*folder.folder.Get(), PR_ENTRYID, subject);
  const EntryId parentId = idOf(*folder.folder.Get(), PR_PARENT_ENTRYID, subject);
  const ComPtr<IMAPIFolder> parent = session.openFolder(*folder.store.Get(), parentId, folder.path, true);
  // Without --recursive no flag: a message posted just now then prevents the deletion.
  const HRESULT code = parent->DeleteFolder(static_cast<ULONG>(id.size()), asEntryId(id), 0, nullptr,
                                            recursive ? DEL_FOLDERS | DEL_MESSAGES : 0);
  if (code == MAPI_E_NO_ACCESS) throw failureOf(ExitCode::folderRefused, subject, code, "A store's own folders stay.");
  if (code == MAPI_E_HAS_MESSAGES || code == MAPI_E_HAS_FOLDERS)
    throw failureOf(ExitCode::folderRefused, subject, code,
                    "Something was added to it just now; check it and try again.");
  check(code, folderExitCode(code), subject);
  const bool wasEmpty = held.messages == 0 && held.folders == 0;
  context.line(fmt::format("Folder '{}' was deleted{}.", printable(folder.path), wasEmpty ? "" : " with " + words));
  context.document({{"deleted", toUtf8(folder.path)}, {"messages", held.messages}, {"folders", held.folders}});
  return ExitCode::done;
}

}  // namespace

void addFolderCommand(CLI::App& app, CommandContext& context) {
  constexpr const char* pathWords = "The folder: names joined by '@', message store first";
  CLI::App* command = app.add_subcommand("folder", "Make, rename and delete folders");
  command->require_subcommand(1);
  command->footer("\"fendrel folders\" shows the folders and their paths.");

  const auto path = std::make_shared<std::string>();
  CLI::App* create = command->add_subcommand("create", "Make a folder and its missing parent folders");
  create->add_option("PATH", *path, pathWords)->required();
  create->footer(
      "If the folder exists already, the command succeeds.\n"
      "Example:\n"
      "  fendrel folder create \"Public Folders@Reports@Weekly\"");
  create->callback([&context, path] {
    context.command = [path](CommandContext& running) { return createFolders(running, *path); };
  });

  const auto name = std::make_shared<std::string>();
  CLI::App* rename = command->add_subcommand("rename", "Give a folder another name; it stays where it is");
  rename->add_option("PATH", *path, pathWords)->required();
  rename->add_option("NAME", *name, "The new name, without the path before it")->required();
  rename->footer("Example:\n  fendrel folder rename \"Public Folders@Reports@Weekly\" \"Each week\"");
  rename->callback([&context, path, name] {
    context.command = [path, name](CommandContext& running) { return renameFolder(running, *path, *name); };
  });

  const auto recursive = std::make_shared<bool>(false);
  CLI::App* remove = command->add_subcommand("delete", "Delete a folder");
  remove->add_option("PATH", *path, pathWords)->required();
  remove->add_flag("--recursive", *recursive, "With its messages and all its subfolders, permanently");
  remove->footer(
      "Without --recursive only an empty folder is deleted. The command does not ask.\n"
      "Example:\n"
      "  fendrel folder delete \"Public Folders@Reports@Weekly\" --recursive");
  remove->callback([&context, path, recursive] {
    context.command = [path, recursive](CommandContext& running) { return deleteFolder(running, *path, *recursive); };
  });
}

}  // namespace fendrel::host
