// What every command works with: the global options, MAPI once it is needed, and the output.
#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "profiles.h"
#include "session.h"

namespace fendrel::host {

using Json = nlohmann::ordered_json;

struct GlobalOptions {
  std::string store;
  std::string mapi = "local";
  std::string profile;
  std::string password;
  bool json = false;
};

class Host {
 public:
  GlobalOptions options;
  // Set by the command line: what to do.
  std::function<ExitCode(Host&)> command;

  // MAPI is loaded by the first of these; each throws Failure(mapiUnusable).
  Profiles& profiles();
  // Logged on to the profile asked for, or the default one, or the only one.
  Session& session();
  std::wstring password() const;

  // A line of the result, shown unless the result is wanted as JSON.
  void line(const std::string& utf8) const;
  // The command's result: the one JSON document, shown when it is wanted.
  void document(const Json& result) const;

 private:
  void useMapi();

  std::optional<Profiles> profileAdmin;
  std::unique_ptr<Session> logon;
};

// A time as JSON has it; null when there is none.
Json jsonTime(const FILETIME& time);

}  // namespace fendrel::host
