// fendrel post: hands files to the plug-in and looks whether their messages are there.
#include <fmt/format.h>

#include <memory>
#include <set>

#include "commands.h"
#include "console.h"
#include "folder_path.h"
#include "input_files.h"
#include "kept_choice.h"
#include "plugin.h"
#include "posted_check.h"
#include "progress.h"
#include "text.h"

namespace fendrel::host {
namespace {

// The folder is looked into after a single file, or at this distance while many are posted.
constexpr ULONGLONG lookEvery = 500;
// The plug-in counts an export's files in 16 bits.
constexpr std::size_t mostFilesTogether = 65535;

struct PostOptions {
  std::string to, choice;
  std::string type = "instance";
  std::vector<std::string> files;
  bool personal = false, create = false, together = false;
};

class Posting {
 public:
  Posting(Host& running, const PostOptions& chosen)
      : host(running), options(chosen), files(lookAtFiles(chosen.files)), results(files.size()) {}

  ExitCode run();

 private:
  struct Result {
    bool posted = false;
    std::wstring messageClass;
    std::optional<Failure> failure;
  };

  void openDestination();
  void takeKeptChoice();
  void checkNames() const;
  std::set<std::wstring> names() const;
  void postEach();
  void postTogether();
  void look(PostedCheck& check, const ExportAnswer* together);
  void fail(std::size_t file, Failure failure);
  Failure refusal(std::size_t file, const ExportAnswer& answer) const;
  Failure notThere(std::size_t file, const Found& found) const;
  ExitCode outcome() const;
  Json document(ExitCode exit) const;

  Host& host;
  const PostOptions& options;
  std::vector<InputFile> files;
  std::vector<Result> results;
  OpenFolder folder;
  std::vector<std::wstring> created;
  Destination destination;
  std::optional<Plugin> plugin;
  std::optional<Progress> progress;
  std::optional<Failure> exportFailure;  // of an export of all files together
  bool cancelled = false;
};

std::string shownName(const InputFile& file) { return printable(file.name.empty() ? toWide(file.given) : file.name); }

void Posting::fail(std::size_t file, Failure failure) {
  printError(std::string("fendrel: ") + failure.what());
  results[file].failure = std::move(failure);
}

// The saved record is handed to the plug-in as it is, unless it lacks the password that was given now.
void Posting::takeKeptChoice() {
  const KeptChoice choice = KeptChoice::load(options.choice);
  destination.type = choice.type();
  destination.folderPath = choice.folderPath();
  host.options.profile = toUtf8(choice.profile());
  const bool passwordGiven = !host.options.password.empty();
  if (choice.password()) host.options.password = toUtf8(*choice.password());
  if (choice.password() || !passwordGiven) destination.packed = choice.record();
}

void Posting::openDestination() {
  if (!options.choice.empty()) {
    takeKeptChoice();
  } else if (options.personal) {
    destination.type = FENDREL_PERSONAL_REPORT;
  } else {
    destination.type = options.type == "folder" ? FENDREL_FOLDER_REPORT : FENDREL_REPORT_INSTANCE;
    destination.folderPath = toWide(options.to);
  }
  Session& session = host.session();
  if (destination.type == FENDREL_PERSONAL_REPORT) {
    folder = session.personalReports();
    destination.folderPath.clear();
  } else {
    folder = session.walk(destination.folderPath, options.create, &created);
    for (const std::wstring& path : created) host.line(fmt::format("Made folder {}", printable(path)));
    destination.folderPath = folder.path;
    checkNames();
  }
  destination.profile = session.profile();
  destination.password = host.password();
}

void Posting::checkNames() const {
  for (const std::wstring& name : folder.names) {
    if (name.size() > longestName)
      throw Failure(ExitCode::folderRefused,
                    fmt::format("The name '{}' has {} characters, and reports can be posted to names of at most {}. "
                                "Choose another folder, or rename it.",
                                printable(name), name.size(), longestName));
    if (!fitsAnsi(name))
      throw Failure(ExitCode::folderRefused,
                    fmt::format("The name '{}' has characters that this system's code page {} does not know, so "
                                "reports cannot be posted there. Choose another folder, or rename it.",
                                printable(name), GetACP()));
  }
}

Failure Posting::refusal(std::size_t file, const ExportAnswer& answer) const {
  const std::string subject = fmt::format("{} was not posted. ", shownName(files[file]));
  if (!answer.jobMade) {
    const std::string what =
        fmt::format("{}The plug-in cannot use profile '{}'", subject, printable(destination.profile));
    if (answer.meaning != S_OK) return failureOf(ExitCode::mapiUnusable, what, answer.meaning);
    return Failure(ExitCode::mapiUnusable,
                   fmt::format("{} (plug-in code {}). Check the profile and its password.", what,
                               static_cast<std::int32_t>(answer.code)));
  }
  const std::string what = fmt::format("{}Folder '{}' refused the message", subject, printable(folder.path));
  if (answer.meaning != S_OK) return failureOf(folderExitCode(answer.meaning), what, answer.meaning);
  return Failure(ExitCode::failed, fmt::format("{}: {} (plug-in code {}).", what,
                                               answer.errorText.empty() ? "no reason was given"
                                                                        : printable(answer.errorText),
                                               static_cast<std::int32_t>(answer.code)));
}

Failure Posting::notThere(std::size_t file, const Found& found) const {
  const InputFile& input = files[file];
  if (!found.there)
    return Failure(ExitCode::failed,
                   fmt::format("{} was not posted. The plug-in reported success, but folder '{}' did not keep the "
                               "message. Check the store's free disk space and your rights, and post it again.",
                               shownName(input), printable(folder.path)));
  const std::optional<std::uint64_t> now = sizeNow(input);
  return Failure(ExitCode::failed,
                 fmt::format("{} was not posted whole: its message in '{}' holds {} of {} bytes. {}", shownName(input),
                             printable(folder.path), withThousands(found.attachedBytes), withThousands(input.size),
                             now && *now != input.size ? "The file changed meanwhile; delete the message and post again."
                                                       : "Delete the message, check the store and post again."));
}

void Posting::look(PostedCheck& check, const ExportAnswer* together) {
  for (const Found& found : check.look()) {
    const InputFile& file = files[found.file];
    if (found.there && found.attachedBytes == file.size) {
      results[found.file].posted = true;
      results[found.file].messageClass = found.messageClass;
      host.line(fmt::format("{} -> {}, {}", shownName(file), printable(folder.path), counted(file.size, "byte")));
    } else if (!found.there && together && together->code != FENDREL_SUCCESS) {
      fail(found.file, refusal(found.file, *together));
    } else {
      fail(found.file, notThere(found.file, found));
    }
  }
}

std::set<std::wstring> Posting::names() const {
  std::set<std::wstring> all;
  for (const InputFile& file : files) all.insert(file.name);
  return all;
}

void Posting::postEach() {
  PostedCheck check(folder, names());
  for (std::size_t file = 0; file < files.size(); ++file) {
    if (results[file].failure) continue;
    if (cancelRequested()) {
      cancelled = true;
      break;
    }
    progress->startFile(shownName(files[file]));
    const ExportAnswer answer =
        plugin->exportFiles(destination, std::span(&files[file].path, 1), std::span(&files[file].name, 1));
    if (answer.code == FENDREL_SUCCESS)
      check.expect({file, files[file].name, files[file].size});
    else
      fail(file, refusal(file, answer));
    progress->addBytes(files[file].size);
    progress->endFile();
    if (check.waiting() >= lookEvery) look(check, nullptr);
  }
  look(check, nullptr);
}

void Posting::postTogether() {
  std::vector<std::wstring> paths, fileNames;
  for (const InputFile& file : files) {
    paths.push_back(file.path);
    fileNames.push_back(file.name);
  }
  PostedCheck check(folder, names());
  progress->startFile("all together");
  const ExportAnswer answer = plugin->exportFiles(destination, paths, fileNames);
  for (std::size_t file = 0; file < files.size(); ++file) check.expect({file, files[file].name, files[file].size});
  look(check, &answer);
  const bool allThere = std::ranges::all_of(results, &Result::posted);
  if (answer.code != FENDREL_SUCCESS && allThere) {
    exportFailure = Failure(ExitCode::failed,
                            fmt::format("Every file is in folder '{}', but the plug-in reported a failure: {} (code {}).",
                                        printable(folder.path), printable(answer.errorText),
                                        static_cast<std::int32_t>(answer.code)));
    printError(std::string("fendrel: ") + exportFailure->what());
  }
}

ExitCode Posting::outcome() const {
  const auto posted = std::ranges::count_if(results, &Result::posted);
  if (cancelled) return ExitCode::cancelled;
  if (exportFailure) return exportFailure->exitCode();
  if (posted == std::ssize(results)) return ExitCode::done;
  if (posted > 0) return ExitCode::somePosted;
  for (const Result& result : results)
    if (result.failure) return result.failure->exitCode();
  return ExitCode::failed;
}

Json Posting::document(ExitCode exit) const {
  Json list = Json::array();
  for (std::size_t file = 0; file < files.size(); ++file) {
    const Result& result = results[file];
    Json item = {{"file", files[file].given},
                 {"name", toUtf8(files[file].name)},
                 {"size", files[file].size},
                 {"posted", result.posted}};
    if (result.posted) item["class"] = toUtf8(result.messageClass);
    if (result.failure) item["error"] = result.failure->what();
    list.push_back(item);
  }
  Json made = Json::array();
  for (const std::wstring& path : created) made.push_back(toUtf8(path));
  Json all = {{"folder", folder.path.empty() ? Json(nullptr) : Json(toUtf8(folder.path))},
              {"profile", destination.profile.empty() ? Json(nullptr) : Json(toUtf8(destination.profile))},
              {"created", made},
              {"files", list},
              {"posted", std::ranges::count_if(results, &Result::posted)},
              {"cancelled", cancelled},
              {"exitCode", static_cast<int>(exit)}};
  if (exportFailure) all["error"] = exportFailure->what();
  return all;
}

ExitCode Posting::run() {
  std::size_t readable = 0;
  std::uint64_t bytes = 0;
  for (std::size_t file = 0; file < files.size(); ++file) {
    if (files[file].problem) {
      fail(file, *files[file].problem);
      continue;
    }
    ++readable;
    bytes += files[file].size;
  }
  // An export of all files together is whole or not at all.
  const bool start = readable > 0 && (!options.together || readable == files.size());
  if (start) {
    openDestination();
    plugin.emplace();
    progress.emplace("posted", readable, bytes);
    options.together ? postTogether() : postEach();
    progress.reset();
  } else if (options.together && readable > 0) {
    printError("fendrel: Nothing was posted: files that go together are posted all or not at all.");
  }
  if (cancelled) printError("fendrel: Cancelled; the files listed above are posted, the others are not.");
  const ExitCode exit = outcome();
  host.document(document(exit));
  return exit;
}

ExitCode post(Host& host, const PostOptions& options) {
  if (options.personal + !options.to.empty() + !options.choice.empty() != 1)
    throw Failure(ExitCode::wrongUsage, "Where to? Give one of --to PATH, --personal and --options FILE.");
  if (options.create && options.to.empty())
    throw Failure(ExitCode::wrongUsage, "--create makes the folders of --to PATH and goes with nothing else.");
  if (!options.choice.empty() && !host.options.profile.empty())
    throw Failure(ExitCode::wrongUsage, "--options FILE names the profile itself; leave out --profile.");
  if (options.together && options.files.size() > mostFilesTogether)
    throw Failure(ExitCode::wrongUsage,
                  fmt::format("At most {} files go together; leave out --together.", withThousands(mostFilesTogether)));
  return Posting(host, options).run();
}

}  // namespace

void addPostCommand(CLI::App& app, Host& host) {
  const auto options = std::make_shared<PostOptions>();
  CLI::App* command = app.add_subcommand("post", "Post files into a folder, each as a message of its own");
  command->add_option("FILE", options->files, "The files; a pattern with * or ? names several")->required();
  command->add_option("--to", options->to, "The folder: names joined by '@', message store first")->type_name("PATH");
  command->add_flag("--personal", options->personal, "Post as personal reports of the default store instead");
  command->add_option("--options", options->choice, "Use the profile and folder saved by \"fendrel choose --save FILE\"")
      ->type_name("FILE");
  command->add_flag("--create", options->create, "Make the folders of PATH that are missing (never a store)");
  command->add_flag("--together", options->together,
                    "Hand all files to one export, as a report engine does, instead of one export a file");
  command->add_option("--type", options->type, "Posting type with --to: instance (default) or folder")
      ->check(CLI::IsMember({"instance", "folder"}))
      ->type_name("TYPE");
  command->footer(
      "Afterwards the folder is looked into: a file counts as posted when its message is there with every byte.\n"
      "A file that cannot be read is named and left out; with --together nothing is posted then.\n"
      "Examples:\n"
      "  fendrel post --to \"Public Folders@Reports@Daily\" --create sales.pdf stock.csv\n"
      "  fendrel post --personal sales.pdf\n"
      "  fendrel post --options daily.choice sales.pdf\n"
      "  fendrel post --profile jane --to \"Mailbox - Jane Doe@Inbox\" *.pdf");
  command->callback([&host, options] {
    host.command = [options](Host& running) { return post(running, *options); };
  });
}

}  // namespace fendrel::host
