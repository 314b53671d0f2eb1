// What every command works with: the global options, MAPI once it is needed, and the output.
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
  std::string mapi;  // "local", as also when it is empty, or "system"
  std::string profile;
  std::string password;
  std::string passwordFile, passwordCommand;
  std::string logFile;
  bool json = false, jsonLines = false;
  bool quiet = false, verbose = false;
};

enum class Level {
  detail,  // with --verbose only
  record,  // for the log and the lines of JSON; a person has seen it already
  info,    // a result, on standard output
  notice,  // something to know, on standard error
  error
};

// Something that happened to one file, or to the whole.
struct Event {
  Level level;
  const char* name;              // one word or two, the same for all of its kind: "posted"
  std::string file;              // as the caller wrote it; may be empty
  std::string words;             // for a person
  Json fields = Json::object();  // what JSON says besides
};

class CommandContext {
 public:
  GlobalOptions options;
  // Set by the command line: what to do.
  std::function<ExitCode(CommandContext&)> command;

  // MAPI is loaded by the first of these; each throws Failure(mapiUnusable). A local store that is missing is made.
  Profiles& profiles();
  // The profiles; none where the local store is missing, which stays so.
  std::vector<ProfileEntry> knownProfiles();
  // Logged on to the profile asked for, or the default one, or the only one. Asks a person for the password when one is
  // needed and none was given.
  Session& session();
  // The next session() logs on anew.
  void endSession();
  // That of --password-file, --password-command or FENDREL_PASSWORD, else empty.
  std::wstring password();

  // A line of the result, shown unless the result is wanted as JSON.
  void line(const std::string& utf8) const;
  // The command's result: the one JSON document, or the last line of JSON, when it is wanted.
  void document(const Json& result) const;
  // To the person, the log and the lines of JSON, as far as they are wanted.
  void tell(const Event& event);
  void tell(const char* name, const std::string& file, const Failure& failure);
  // What happens from now on goes into this log, too. Throws Failure(failed).
  void keepLog(const std::string& file);
  // A line of the log could not be written.
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

// A failure as every document shows it: code, name, words, retryable.
Json jsonError(const Failure& failure);

// A time as JSON has it; null when there is none.
Json jsonTime(const FILETIME& time);

}  // namespace fendrel::host
