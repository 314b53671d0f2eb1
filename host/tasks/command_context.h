// The context of every command: the global options, MAPI once it is needed, and the output.
#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "log_file.h"
#include "profiles.h"
#include "session.h"

namespace fendrel::host {

using Json = nlohmann::ordered_json;

struct GlobalOptions {
  std::string store;
  std::string mapi;  // "local" or empty, or "system"
  std::string profile;
  std::string password;
  std::string passwordFile, passwordCommand;
  std::string logFile;
  bool json = false, jsonLines = false;
  bool quiet = false, verbose = false;
};

enum class Level {
  detail,  // with --verbose only
  record,  // for the log and the JSON lines; the user has seen it already
  info,    // a result, on standard output
  notice,  // a notice, on standard error
  error
};

// An event of one file or of the whole run.
struct Event {
  Level level;
  const char* name;              // the kind of event, one or two words: "posted"
  std::string file;              // as the user wrote it; may be empty
  std::string words;             // for display
  Json fields = Json::object();  // additional fields in JSON
};

class CommandContext {
 public:
  GlobalOptions options;
  // The command to run; set by the command line.
  std::function<ExitCode(CommandContext&)> command;

  // The first of these loads MAPI; each throws Failure(mapiUnusable). A missing local store is created.
  Profiles& profiles();
  // The profiles; none if the local store is missing, which is not created.
  std::vector<ProfileEntry> knownProfiles();
  // Logs on to the requested profile, or the default one, or the only one. Asks on the terminal for a password if one
  // is needed and none was given.
  Session& session();
  // The next session() logs on again.
  void endSession();
  // From --password-file, --password-command or FENDREL_PASSWORD, else empty.
  std::wstring password();

  // Prints a line of the result unless JSON is requested.
  void line(const std::string& utf8) const;
  // Prints the command's result, if requested, as the one JSON document or as the last JSON line.
  void document(const Json& result) const;
  // Reports an event to the user, the log and the JSON lines, as requested.
  void tell(const Event& event);
  void tell(const char* name, const std::string& file, const Failure& failure);
  // Writes all further events to this log, too. Throws Failure(failed).
  void keepLog(const std::string& file);
  // Whether writing a line of the log has failed.
  bool logIsLost() const { return logLost_; }

 private:
  void useMapi();
  void logOn(const std::wstring& profile);
  bool isStoreMissing() const;

  std::optional<Profiles> profileAdmin_;
  std::unique_ptr<Session> logon_;
  std::optional<LogFile> log_;
  bool logLost_ = false;
};

// A failure in JSON: code, name, words, retryable.
Json jsonError(const Failure& failure);

// A time in JSON; null if there is none.
Json jsonTime(const FILETIME& time);

}  // namespace fendrel::host
