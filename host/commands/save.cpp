// fendrel save: writes a message's attachments to files, or the message to one file.
#include <fmt/format.h>

#include <memory>

#include "message_file.h"
#include "message_place.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct SaveOptions {
  MessagePlace place;
  MessageForm form;
  std::string number, target;
  bool force = false;
};

// The parsed request.
struct Request {
  std::uint64_t number = 0;
  std::string target;      // as given, for display
  std::wstring directory;  // the full path
  std::wstring name;       // of the file, if the target names one
};

bool endsWith(std::wstring_view text, std::wstring_view end) {
  return text.size() > end.size() &&
         CompareStringOrdinal(text.data() + text.size() - end.size(), static_cast<int>(end.size()), end.data(),
                              static_cast<int>(end.size()), TRUE) == CSTR_EQUAL;
}

std::wstring withoutSeparators(std::wstring path) {
  while (path.size() > 3 && path.back() == L'\\') path.pop_back();
  return path;
}

Request requestOf(const SaveOptions& options) {
  const bool personal = options.place.personal;
  const std::string& number = personal ? options.place.path : options.number;
  Request request;
  request.target = personal ? options.number : options.target;
  if (request.target.empty() && options.form.isWholeMessage()) request.target = ".";
  if (number.empty() || request.target.empty() || (personal && !options.target.empty()))
    throw Failure(ExitCode::wrongUsage,
                  "Give the folder's PATH, the message's number N and the directory DIR, or --personal, N and DIR.");
  request.number = messageNumber(number);
  request.directory = withoutSeparators(fullPath(request.target));
  const DWORD attributes = GetFileAttributesW(longPath(request.directory).c_str());
  const bool isDirectory = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
  if (options.form.isWholeMessage() && !isDirectory && endsWith(request.directory, options.form.extension())) {
    request.name = fileNameOf(request.directory);
    request.directory.resize(request.directory.size() - request.name.size());
    request.directory = withoutSeparators(request.directory);
    const std::size_t behindDirectory = request.target.find_last_of("/\\");
    request.target.resize(behindDirectory == std::string::npos ? 0 : behindDirectory + 1);
  }
  return request;
}

ExitCode saveMessage(CommandContext& context, const SaveOptions& options, const Request& request,
                     const OpenFolder& folder, const MessageRow& row, IMessage& message) {
  makeDirectory(request.directory);
  Progress progress("saved", 1, row.size);
  progress.startFile(toUtf8(row.subject));
  NewFile file(request.directory);
  writeMessage(message, options.form, file, progress);
  const std::wstring wanted =
      request.name.empty()
          ? safeFileName((row.subject.empty() ? std::wstring(L"message") : row.subject) + options.form.extension())
          : request.name;
  const std::string name = toUtf8(file.giveName(wanted, options.force));
  progress.endFile();
  const std::string shown = joinedForDisplay(request.target, name);
  context.line(fmt::format("{} -> {}", printable(row.subject), printable(shown)));
  context.document({{"folder", toUtf8(folder.path)},
                    {"number", request.number},
                    {"saved", Json::array({{{"name", toUtf8(row.subject)}, {"file", shown}}})}});
  return ExitCode::done;
}

ExitCode saveFiles(CommandContext& context, const SaveOptions& options, const Request& request,
                   const OpenFolder& folder, IMessage& message) {
  const std::vector<Attachment> attachments = attachmentsOf(message);
  std::uint64_t files = 0, bytes = 0;
  for (const Attachment& attachment : attachments) {
    files += attachment.isFile ? 1 : 0;
    bytes += attachment.size;
  }
  if (files == 0)
    throw Failure(ExitCode::failed,
                  fmt::format("Message {} of '{}' has no attached file.", request.number, printable(folder.path)));
  makeDirectory(request.directory);

  Progress progress("saved", files, bytes);
  Json saved = Json::array();
  for (const Attachment& attachment : attachments) {
    if (!attachment.isFile) {
      tellLeftOut(attachment.name);
      continue;
    }
    progress.startFile(toUtf8(attachment.name));
    NewFile file(request.directory);
    writeAttachment(attachment, file, progress);
    const std::string name = toUtf8(file.giveName(safeFileName(attachment.name), options.force));
    progress.endFile();
    const std::string shown = joinedForDisplay(request.target, name);
    context.line(
        fmt::format("{} -> {}, {}", printable(attachment.name), printable(shown), counted(attachment.size, "byte")));
    saved.push_back({{"name", toUtf8(attachment.name)}, {"file", shown}, {"size", attachment.size}});
  }
  context.document({{"folder", toUtf8(folder.path)}, {"number", request.number}, {"saved", saved}});
  return ExitCode::done;
}

ExitCode save(CommandContext& context, const SaveOptions& options) {
  const Request request = requestOf(options);
  const OpenFolder folder = options.place.open(context.session());
  const MessageRow row = MessageTable(folder, options.place.hidden).at(request.number);
  const ComPtr<IMessage> message = openMessage(folder, row);
  return options.form.isWholeMessage() ? saveMessage(context, options, request, folder, row, *message.Get())
                                       : saveFiles(context, options, request, folder, *message.Get());
}

}  // namespace

void addSaveCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<SaveOptions>();
  CLI::App* command = app.add_subcommand("save", "Save the files attached to a message, or the message as one file");
  options->place.addOptions(*command);
  command->add_option("N", options->number, "The message's number in \"fendrel list\"");
  command->add_option(
      "DIR", options->target,
      "The directory; it is created if missing. With --as msg or eml it is optional, and may be the file's name");
  options->form.addOption(*command,
                          "What to save: file for the attached files (default), msg or eml for the whole "
                          "message, as mail programs keep it");
  command->add_flag("--force", options->force, "Replace a file of the same name");
  command->footer(
      "An existing file is kept, unless --force is given: the new one becomes \"name (2).ext\".\n"
      "Examples:\n"
      "  fendrel save \"Public Folders@Reports@Daily\" 1 reports\n"
      "  fendrel save \"Public Folders@Reports@Daily\" 1 --as eml sales.eml\n"
      "  fendrel save --personal 3 .");
  command->callback([&context, options] {
    context.command = [options](CommandContext& running) { return save(running, *options); };
  });
}

}  // namespace fendrel::host
