#include "command_context.h"

#include <fmt/format.h>

#include <utility>

#include "console.h"
#include "error_words.h"
#include "password_input.h"
#include "paths.h"
#include "store_files.h"
#include "text.h"

namespace fendrel::host {
namespace {

std::string textOf(const Json& document, int indent) {
  return document.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

void CommandContext::useMapi() {
  if (!options.store.empty()) {
    // The local store reads this variable; other subsystems do not know it.
    const std::wstring file = fullPath(options.store);
    if (!SetEnvironmentVariableW(L"FENDREL_STORE", file.c_str()))
      throw systemFailure(ExitCode::wrongUsage, "--store " + options.store, GetLastError());
  }
  loadMapi(options.mapi == "system" ? MapiSubsystem::system : MapiSubsystem::local);
}

Profiles& CommandContext::profiles() {
  if (!profileAdmin_) {
    useMapi();
    profileAdmin_.emplace();
  }
  return *profileAdmin_;
}

bool CommandContext::isStoreMissing() const {
  if (options.mapi == "system") return false;
  const std::wstring place = storePlace(*this);
  return GetFileAttributesW(longPath(place).c_str()) == INVALID_FILE_ATTRIBUTES &&
         (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND);
}

std::vector<ProfileEntry> CommandContext::knownProfiles() {
  if (isStoreMissing()) return {};
  return profiles().list();
}

// Asks for a password only if the logon fails without one.
void CommandContext::logOn(const std::wstring& profile) {
  try {
    logon_ = std::make_unique<Session>(profile, password());
  } catch (const Failure& refused) {
    if (refused.code() != MAPI_E_LOGON_FAILED || !options.password.empty() || !inputIsTerminal()) throw;
    options.password = askForPassword(fmt::format("Password of profile '{}': ", printable(profile)));
    if (options.password.empty()) throw;
    logon_ = std::make_unique<Session>(profile, password());
  }
}

Session& CommandContext::session() {
  if (logon_) return *logon_;
  const std::wstring named = toWide(options.profile);
  if (isStoreMissing()) {
    useMapi();  // reports a missing library first
    chooseProfile({}, named);
  }
  if (named.empty()) {
    logOn(profiles().choose({}));
    return *logon_;
  }
  useMapi();
  try {
    logOn(named);
  } catch (const Failure& refused) {
    // If the profile does not exist, list those that do.
    std::vector<ProfileEntry> known;
    try {
      known = profiles().list();
    } catch (const Failure&) {
      throw refused;
    }
    chooseProfile(known, named);
    throw;
  }
  return *logon_;
}

void CommandContext::endSession() {
  logon_.reset();
  profileAdmin_.reset();
}

std::wstring CommandContext::password() {
  if (options.password.empty()) {
    if (!options.passwordFile.empty())
      options.password = readPasswordFile(options.passwordFile);
    else if (!options.passwordCommand.empty())
      options.password = runPasswordCommand(options.passwordCommand);
    else
      options.password = environmentText(L"FENDREL_PASSWORD");
  }
  return toWide(options.password);
}

void CommandContext::line(const std::string& utf8) const {
  if (!options.json && !options.jsonLines) printLine(utf8);
}

void CommandContext::document(const Json& result) const {
  if (options.jsonLines) {
    Json record = {{"event", "result"}};
    record.update(result);
    printLine(textOf(record, -1));
  } else if (options.json) {
    printLine(textOf(result, 2));
  }
}

void CommandContext::tell(const Event& event) {
  if (event.level == Level::detail && !options.verbose) return;
  static constexpr const char* names[] = {"detail", "info", "info", "notice", "error"};
  const char* const level = names[static_cast<int>(event.level)];
  if (event.level == Level::error)
    printError("fendrel: " + event.words);
  else if (event.level == Level::notice && !options.quiet)
    printError("fendrel: " + event.words);
  else if (!options.quiet && (event.level == Level::info || event.level == Level::detail))
    line(event.words);
  if (options.jsonLines) {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    Json record = {{"time", jsonTime(now)}, {"level", level}, {"event", event.name}};
    if (!event.file.empty()) record["file"] = event.file;
    record.update(event.fields);
    if (!event.fields.contains("error")) record["words"] = event.words;
    printLine(textOf(record, -1));
  }
  if (log_ && !log_->append(level, event.name, event.file, event.words) && !std::exchange(logLost_, true))
    printError(fmt::format("fendrel: Log file '{}' cannot be written; the work goes on.", printable(options.logFile)));
}

void CommandContext::tell(const char* name, const std::string& file, const Failure& failure) {
  tell({Level::error, name, file, failure.what(), {{"error", jsonError(failure)}}});
}

void CommandContext::keepLog(const std::string& file) {
  log_.emplace(file);
  options.logFile = file;
}

Json jsonError(const Failure& failure) {
  const bool coded = failure.code() != S_OK;
  return {{"code", coded ? Json(static_cast<std::uint32_t>(failure.code())) : Json(nullptr)},
          {"name", coded ? Json(errorName(failure.code())) : Json(nullptr)},
          {"words", failure.what()},
          {"retryable", failure.retryable()}};
}

Json jsonTime(const FILETIME& time) {
  if (time.dwHighDateTime == 0 && time.dwLowDateTime == 0) return nullptr;
  return utcTime(time);
}

}  // namespace fendrel::host
