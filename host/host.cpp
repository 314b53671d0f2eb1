#include "host.h"

#include "console.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {

void Host::useMapi() {
  if (!options.store.empty()) {
    // The local store reads this variable; other subsystems do not know it.
    const std::wstring file = fullPath(options.store);
    if (!SetEnvironmentVariableW(L"FENDREL_STORE", file.c_str()))
      throw systemFailure(ExitCode::wrongUsage, "--store " + options.store, GetLastError());
  }
  loadMapi(options.mapi == "system" ? MapiSubsystem::system : MapiSubsystem::local);
}

Profiles& Host::profiles() {
  if (!profileAdmin) {
    useMapi();
    profileAdmin.emplace();
  }
  return *profileAdmin;
}

Session& Host::session() {
  if (logon) return *logon;
  const std::wstring named = toWide(options.profile);
  if (named.empty()) {
    logon = std::make_unique<Session>(profiles().choose({}), password());
    return *logon;
  }
  useMapi();
  try {
    logon = std::make_unique<Session>(named, password());
  } catch (const Failure& refused) {
    // Where the name is unknown, the names that are known say more.
    std::vector<ProfileEntry> known;
    try {
      known = profiles().list();
    } catch (const Failure&) {
      throw refused;
    }
    chooseProfile(known, named);
    throw;
  }
  return *logon;
}

std::wstring Host::password() const { return toWide(options.password); }

void Host::line(const std::string& utf8) const {
  if (!options.json) printLine(utf8);
}

void Host::document(const Json& result) const {
  if (options.json) printLine(result.dump(2, ' ', false, Json::error_handler_t::replace));
}

Json jsonTime(const FILETIME& time) {
  if (time.dwHighDateTime == 0 && time.dwLowDateTime == 0) return nullptr;
  return utcTime(time);
}

}  // namespace fendrel::host
