#include "store_files.h"

#include "file_handle.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {

std::wstring storePath(const CommandContext& context, const std::string& given) {
  if (!given.empty()) return fullPath(given);
  if (!context.options.store.empty()) return fullPath(context.options.store);
  const std::wstring present = store::presentStore();
  if (present.empty()) throw Failure(ExitCode::failed, "There is no store in use. Name its FILE.", MAPI_E_NOT_FOUND);
  return fullPath(toUtf8(present));
}

std::wstring storePlace(const CommandContext& context) {
  if (!context.options.store.empty()) return fullPath(context.options.store);
  const std::wstring present = store::presentStore();
  return present.empty() ? present : fullPath(toUtf8(present));
}

bool looksLikeStore(const std::wstring& path) {
  constexpr std::string_view databaseMark("SQLite format 3\0", 16), ourMark("Fndl");
  constexpr std::size_t ourMarkAt = 68;  // SQLite's application identifier
  const FileHandle file = openToRead(longPath(path), FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
  char header[100] = {};
  DWORD read = 0;
  if (!file || !ReadFile(file.get(), header, sizeof header, &read, nullptr)) return true;  // unknown
  return std::string_view(header, sizeof header).starts_with(databaseMark) &&
         std::string_view(header + ourMarkAt, ourMark.size()) == ourMark;
}

Failure noStore(const std::wstring& path) {
  return Failure(ExitCode::damageFound,
                 fmt::format("'{}' is not a fendrel store, or its beginning is destroyed. Name another file with "
                             "--store or FENDREL_STORE; \"fendrel store salvage\" recovers undamaged messages.",
                             printable(displayPath(path))),
                 MAPI_E_CORRUPT_DATA);
}

ExitCode exitCodeOf(store::Status status) {
  if (status == store::Status::Corrupt) return ExitCode::damageFound;
  return status == store::Status::Cancelled ? ExitCode::cancelled : ExitCode::failed;
}

}  // namespace fendrel::host
