// fendrel export: writes the messages of a folder or of a whole store to files.
#include <fmt/format.h>

#include <map>
#include <memory>

#include "console.h"
#include "export_names.h"
#include "message_file.h"
#include "message_place.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct ExportOptions {
  MessagePlace place;
  MessageForm form;
  MessageFilter filter;
  std::vector<std::string> numbers;
  std::string directory;
  bool onlyFolder = false, dryRun = false;
};

struct ExportFolder {
  OpenFolder folder;
  std::wstring directory;  // the full path
  std::string shown;       // the same for display
  std::vector<MessageRow> messages;
};

struct Counts {
  std::uint64_t written = 0, present = 0, empty = 0, failed = 0;

  Counts& operator+=(const Counts& more) {
    written += more.written;
    present += more.present;
    empty += more.empty;
    failed += more.failed;
    return *this;
  }
};

// A disk failure or cancelling would affect every further message.
bool endsEverything(const Failure& failure) {
  return failure.exitCode() == ExitCode::cancelled || failure.code() == HRESULT_FROM_WIN32(ERROR_DISK_FULL) ||
         failure.code() == STG_E_MEDIUMFULL;
}

class Exporting {
 public:
  Exporting(CommandContext& running, const ExportOptions& chosen) : context_(running), options_(chosen) {}

  // Shows what run() would do.
  ExitCode tellPlan() {
    collect(options_.place.open(context_.session()), fullPath(options_.directory), options_.directory);
    Json list = Json::array();
    for (const ExportFolder& folder : folders_) {
      context_.tell({Level::info,
                     "would export",
                     {},
                     fmt::format("{} -> {}, {} would be exported", printable(folder.folder.path),
                                 printable(folder.shown), counted(folder.messages.size(), "message"))});
      list.push_back(
          {{"folder", toUtf8(folder.folder.path)}, {"directory", folder.shown}, {"messages", folder.messages.size()}});
    }
    context_.document({{"folders", list}, {"dryRun", true}});
    return ExitCode::done;
  }

  ExitCode run() {
    std::wstring top = fullPath(options_.directory);
    while (top.size() > 3 && top.back() == L'\\') top.pop_back();
    collect(options_.place.open(context_.session()), top, options_.directory);
    std::uint64_t messages = 0, bytes = 0;
    for (const ExportFolder& folder : folders_) {
      messages += folder.messages.size();
      for (const MessageRow& message : folder.messages) bytes += message.size;
    }
    progress_.emplace("exported", messages, bytes);
    try {
      for (const ExportFolder& folder : folders_) exportFolder(folder);
    } catch (const Failure& failure) {
      progress_.reset();
      throw Failure(failure.exitCode(),
                    fmt::format("{} Exported so far: {} of {}. Repeat the command for the others.", failure.what(),
                                withThousands(total_.written + total_.present), counted(messages, "message")),
                    failure.code());
    }
    progress_.reset();
    context_.document({{"folders", shownFolders_}, {"errors", errors_}});
    if (errors_.empty()) return ExitCode::done;
    return total_.written + total_.present > 0 ? ExitCode::somePosted : ExitCode::failed;
  }

 private:
  void tell(const Failure& failure) {
    context_.tell("failed", {}, failure);
    errors_.push_back(jsonError(failure));
  }

  void collect(OpenFolder folder, const std::wstring& directory, const std::string& shown) {
    if (cancelRequested()) throw Failure(ExitCode::cancelled, "Cancelled.");
    ExportFolder next{folder, directory, shown, {}};
    MessageTable table(folder, options_.place.hidden);
    for (ChosenMessage& message : chooseMessages(table, options_.numbers, options_.filter))
      next.messages.push_back(std::move(message.row));
    folders_.push_back(std::move(next));
    // Numbers and identifiers select in one folder.
    const bool isOne = !options_.numbers.empty() || !options_.filter.ids.empty();
    if (options_.onlyFolder || options_.place.personal || isOne) return;
    Session& session = context_.session();
    const std::vector<FolderEntry> below = session.foldersOf(*folder.folder.Get(), folder.path);
    // Folder names are case-sensitive; on many file systems names are not.
    std::map<std::wstring, unsigned> uses;
    for (const FolderEntry& entry : below) ++uses[upperCase(escapedName(entry.name))];
    for (const FolderEntry& entry : below) {
      const bool isShared = uses[upperCase(escapedName(entry.name))] > 1;
      const std::wstring name = directoryName(entry.name, nameKey(entry.id), isShared);
      try {
        OpenFolder opened{folder.store, nullptr, folder.path + L'@' + entry.name, folder.names};
        opened.names.push_back(entry.name);
        opened.folder = session.openFolder(*folder.store.Get(), entry.id, opened.path, false);
        collect(std::move(opened), directory + L'\\' + name, joinedForDisplay(shown, toUtf8(name)));
      } catch (const Failure& failure) {
        if (endsEverything(failure)) throw;
        tell(failure);
      }
    }
  }

  static std::wstring upperCase(std::wstring text) {
    CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
  }

  void exportFolder(const ExportFolder& folder) {
    makeDirectory(folder.directory);
    deleteUnfinishedFiles(folder.directory);
    Counts counts;
    for (const MessageRow& message : folder.messages) {
      if (cancelRequested()) throw Failure(ExitCode::cancelled, "Cancelled; no partial file was left.");
      Counts one;
      progress_->startFile(toUtf8(message.subject));
      try {
        one = options_.form.isWholeMessage() ? exportMessage(folder, message) : exportFiles(folder, message);
      } catch (const Failure& failure) {
        if (endsEverything(failure)) throw;
        one.failed = 1;
        tell(Failure(failure.exitCode(),
                     fmt::format("Message '{}' of '{}' was not exported. {}", printable(message.subject),
                                 printable(folder.folder.path), failure.what())));
      }
      progress_->endFile();
      counts += one;
      total_ += one;
    }
    report(folder, counts);
  }

  // Files get their names when they are complete, so a file with the name is complete.
  static bool isThere(const ExportFolder& folder, const std::wstring& name) {
    const DWORD attributes = GetFileAttributesW(longPath(folder.directory + L'\\' + name).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
  }

  // False if another export has created the file.
  static bool giveName(NewFile& file, const ExportFolder& folder, const std::wstring& name) {
    if (file.giveExactName(name)) return true;
    if (isThere(folder, name)) return false;
    throw systemFailure(ExitCode::failed, fmt::format("'{}' cannot be written", printable(name)), ERROR_ALREADY_EXISTS,
                        "Something that is not a file has this name; move it away.");
  }

  Counts exportMessage(const ExportFolder& folder, const MessageRow& row) {
    const std::wstring name = keyedName(row.subject.empty() ? std::wstring_view(L"message") : row.subject,
                                        nameKey(row.id), options_.form.extension());
    if (isThere(folder, name)) {
      progress_->addBytes(row.size);
      return {.present = 1};
    }
    NewFile file(folder.directory);
    writeMessage(*openMessage(folder.folder, row).Get(), options_.form, file, *progress_);
    const bool first = giveName(file, folder, name);
    return {.written = first, .present = !first};
  }

  // Each attachment's file has the message's key; from the second on with "-2" and so on.
  Counts exportFiles(const ExportFolder& folder, const MessageRow& row) {
    const ComPtr<IMessage> message = openMessage(folder.folder, row);
    const std::wstring key = nameKey(row.id);
    std::uint64_t files = 0, written = 0;
    for (const Attachment& attachment : attachmentsOf(*message.Get())) {
      if (!attachment.isFile) {
        tellLeftOut(attachment.name);
        continue;
      }
      ++files;
      const std::wstring_view extension = extensionOf(attachment.name);
      const std::size_t stemLength = attachment.name.size() - extension.size();
      const std::wstring_view stem = std::wstring_view(attachment.name).substr(0, stemLength);
      const std::wstring name = keyedName(stem.empty() ? std::wstring_view(L"attachment") : stem,
                                          files == 1 ? key : key + L'-' + std::to_wstring(files), extension);
      if (isThere(folder, name)) {
        progress_->addBytes(attachment.size);
        continue;
      }
      NewFile file(folder.directory);
      writeAttachment(attachment, file, *progress_);
      written += giveName(file, folder, name);
    }
    if (files == 0) return {.empty = 1};
    return {.written = written > 0, .present = written == 0};
  }

  void report(const ExportFolder& folder, const Counts& counts) {
    std::string words = fmt::format("{} -> {}, {}", printable(folder.folder.path), printable(folder.shown),
                                    counted(counts.written, "message"));
    if (counts.present > 0) words += fmt::format(", {} there already", withThousands(counts.present));
    if (counts.empty > 0) words += fmt::format(", {} without a file", withThousands(counts.empty));
    if (counts.failed > 0) words += fmt::format(", {} failed", withThousands(counts.failed));
    context_.tell({Level::info, "exported", {}, words});
    shownFolders_.push_back({{"folder", toUtf8(folder.folder.path)},
                             {"directory", folder.shown},
                             {"exported", counts.written},
                             {"present", counts.present},
                             {"withoutFile", counts.empty},
                             {"failed", counts.failed}});
  }

  CommandContext& context_;
  const ExportOptions& options_;
  std::vector<ExportFolder> folders_;
  std::optional<Progress> progress_;
  Counts total_;
  Json shownFolders_ = Json::array(), errors_ = Json::array();
};

ExitCode exportMessages(CommandContext& context, const ExportOptions& options) {
  const bool personal = options.place.personal;
  ExportOptions placed = options;
  if (personal) placed.directory = options.place.path;
  if (placed.directory.empty() || (personal && !options.directory.empty()) || (!personal && options.place.path.empty()))
    throw Failure(ExitCode::wrongUsage, "Give the folder's PATH and the directory DIR, or --personal and DIR.");
  Exporting exporting(context, placed);
  return options.dryRun ? exporting.tellPlan() : exporting.run();
}

}  // namespace

void addExportCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<ExportOptions>();
  CLI::App* command = app.add_subcommand("export", "Save all messages of a folder or of a whole store as files");
  options->place.addOptions(*command);
  command->add_option("DIR", options->directory, "The directory; it is created if missing");
  options->form.addOption(
      *command,
      "The form: file for the attached files (default), msg or eml for the whole message, as mail programs keep it");
  command->add_flag("--only-folder", options->onlyFolder, "Leave out subfolders");
  command
      ->add_option("--number", options->numbers,
                   "Only the messages with these numbers in \"fendrel list\", also as 1-3,7; without subfolders")
      ->type_name("N")
      ->allow_extra_args(false);
  options->filter.addOptions(*command);
  command->add_flag("-n,--dry-run", options->dryRun, "Show what would be exported, and export nothing");
  command->footer(
      "Subfolders become directories. A file's name ends with a key of its message, so that it is the same\n"
      "in every run: existing files are kept, and repeating an interrupted export continues it. A message\n"
      "that cannot be exported is reported and left out; the exit code is 3 then.\n"
      "Examples:\n"
      "  fendrel export \"Public Folders@Reports@Daily\" reports\n"
      "  fendrel export \"Public Folders\" archive --as eml\n"
      "  fendrel export --personal mine --as msg");
  command->callback([&context, options] {
    context.command = [options](CommandContext& running) { return exportMessages(running, *options); };
  });
}

}  // namespace fendrel::host
