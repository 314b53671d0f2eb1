// fendrel save: a message's attachments become files.
#include <fmt/format.h>

#include <memory>

#include "console.h"
#include "message_place.h"
#include "paths.h"
#include "progress.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr ULONG chunkSize = 256 * 1024;

struct SaveOptions {
  MessagePlace place;
  std::string number, directory;
  bool force = false;
};

// A file that takes its name only when it is whole; before that it stands beside it under another name.
class NewFile {
 public:
  explicit NewFile(const std::wstring& directory)
      : folder(directory),
        temporary(longPath(directory + L'\\' + toWide(fmt::format("fendrel-{}-{}.part", GetCurrentProcessId(), ++counter)))),
        handle(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                           nullptr)) {
    if (handle == INVALID_HANDLE_VALUE)
      throw systemFailure(ExitCode::failed, fmt::format("No file can be made in '{}'", printable(directory)),
                          GetLastError());
  }
  ~NewFile() {
    close();
    if (!named) DeleteFileW(temporary.c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(const void* bytes, ULONG size) {
    DWORD written = 0;
    if (!WriteFile(handle, bytes, size, &written, nullptr) || written != size)
      throw systemFailure(ExitCode::failed, fmt::format("A file in '{}' cannot be written", printable(folder)),
                          GetLastError());
  }

  // Gives the file its name, or, when that is taken and is not to be replaced, the next free "name (2).ext".
  std::wstring giveName(const std::wstring& wanted, bool replace) {
    if (!FlushFileBuffers(handle))
      throw systemFailure(ExitCode::failed, fmt::format("A file in '{}' cannot be written", printable(folder)),
                          GetLastError());
    close();
    constexpr unsigned highestNumber = 10000;
    for (unsigned number = 1;; ++number) {
      const std::wstring name = number == 1 ? wanted : numberedFileName(wanted, number);
      const std::wstring path = longPath(folder + L'\\' + name);
      if (MoveFileExW(temporary.c_str(), path.c_str(), replace ? MOVEFILE_REPLACE_EXISTING : 0)) {
        named = true;
        return name;
      }
      const DWORD error = GetLastError();
      if (replace || (error != ERROR_ALREADY_EXISTS && error != ERROR_FILE_EXISTS) || number == highestNumber)
        throw systemFailure(ExitCode::failed, fmt::format("'{}' cannot be written", printable(name)), error);
    }
  }

 private:
  void close() {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
    handle = INVALID_HANDLE_VALUE;
  }

  static inline unsigned counter = 0;
  std::wstring folder, temporary;
  HANDLE handle;
  bool named = false;
};

// Makes a directory and those above it.
void makeDirectory(const std::wstring& full) {
  const DWORD attributes = GetFileAttributesW(longPath(full).c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) {
    if (attributes & FILE_ATTRIBUTE_DIRECTORY) return;
    throw systemFailure(ExitCode::failed, fmt::format("'{}' is no directory", printable(full)), ERROR_DIRECTORY);
  }
  const std::size_t separator = full.find_last_of(L'\\');
  if (separator != std::wstring::npos && separator > 2) makeDirectory(full.substr(0, separator));
  if (!CreateDirectoryW(longPath(full).c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
    throw systemFailure(ExitCode::failed, fmt::format("Directory '{}' cannot be made", printable(full)),
                        GetLastError());
}

std::uint64_t copyBytes(IStream& from, NewFile& to, Progress& progress) {
  std::vector<std::uint8_t> chunk(chunkSize);
  std::uint64_t copied = 0;
  for (;;) {
    if (cancelRequested()) throw Failure(ExitCode::cancelled, "Cancelled; no half file was left.");
    ULONG read = 0;
    check(from.Read(chunk.data(), chunkSize, &read), ExitCode::failed, "The attachment's bytes cannot be read");
    if (read == 0) return copied;
    to.write(chunk.data(), read);
    copied += read;
    progress.addBytes(read);
  }
}

ExitCode save(Host& host, const SaveOptions& options) {
  const bool personal = options.place.personal;
  const std::string& number = personal ? options.place.path : options.number;
  const std::string& directory = personal ? options.number : options.directory;
  if (number.empty() || directory.empty() || (personal && !options.directory.empty()))
    throw Failure(ExitCode::wrongUsage,
                  "Give the folder's PATH, the message's number N and the directory DIR, or --personal, N and DIR.");
  const std::uint64_t wanted = messageNumber(number);
  std::wstring target = fullPath(directory);
  while (target.size() > 3 && target.back() == L'\\') target.pop_back();

  const OpenFolder folder = options.place.open(host.session());
  const MessageRow row = MessageTable(folder, options.place.hidden).at(wanted);
  const ComPtr<IMessage> message = openMessage(folder, row);
  const std::vector<Attachment> attachments = attachmentsOf(*message.Get());
  std::uint64_t files = 0, bytes = 0;
  for (const Attachment& attachment : attachments) {
    files += attachment.isFile ? 1 : 0;
    bytes += attachment.size;
  }
  if (files == 0)
    throw Failure(ExitCode::failed, fmt::format("Message {} of '{}' has no attached file.", wanted,
                                                printable(folder.path)));
  makeDirectory(target);

  Progress progress("saved", files, bytes);
  Json saved = Json::array();
  for (const Attachment& attachment : attachments) {
    if (!attachment.isFile) {
      printError(fmt::format("fendrel: Attachment '{}' is no file and was left out.", printable(attachment.name)));
      continue;
    }
    progress.startFile(toUtf8(attachment.name));
    NewFile file(target);
    const ComPtr<IStream> stream = openBytes(*attachment.object.Get());
    const std::uint64_t copied = copyBytes(*stream.Get(), file, progress);
    if (copied != attachment.size)
      throw Failure(ExitCode::failed,
                    fmt::format("Attachment '{}' gave {} of its {} bytes. It was not saved.",
                                printable(attachment.name), withThousands(copied), withThousands(attachment.size)));
    const std::string name = toUtf8(file.giveName(safeFileName(attachment.name), options.force));
    progress.endFile();
    const std::string shown = joinedForDisplay(directory, name);
    host.line(fmt::format("{} -> {}, {}", printable(attachment.name), printable(shown), counted(copied, "byte")));
    saved.push_back({{"name", toUtf8(attachment.name)}, {"file", shown}, {"size", copied}});
  }
  host.document({{"folder", toUtf8(folder.path)}, {"number", wanted}, {"saved", saved}});
  return ExitCode::done;
}

}  // namespace

void addSaveCommand(CLI::App& app, Host& host) {
  const auto options = std::make_shared<SaveOptions>();
  CLI::App* command = app.add_subcommand("save", "Save the files attached to a message into a directory");
  options->place.addOptions(*command);
  command->add_option("N", options->number, "The message's number in \"fendrel list\"");
  command->add_option("DIR", options->directory, "The directory; it is made when it is missing");
  command->add_flag("--force", options->force, "Replace a file of the same name");
  command->footer(
      "A file that is there already is kept, unless --force is given: the new one becomes \"name (2).ext\".\n"
      "Examples:\n"
      "  fendrel save \"Public Folders@Reports@Daily\" 1 reports\n"
      "  fendrel save --personal 3 .");
  command->callback([&host, options] {
    host.command = [options](Host& running) { return save(running, *options); };
  });
}

}  // namespace fendrel::host
