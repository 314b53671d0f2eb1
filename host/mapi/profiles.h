// MAPI's profiles and the choice among them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "session.h"

namespace fendrel::host {

struct ProfileEntry {
  std::wstring name;
  bool isDefault = false;
};

// The requested profile; without a request the default one, or the only one. Throws Failure(mapiUnusable), listing the
// choices.
std::wstring chooseProfile(const std::vector<ProfileEntry>& profiles, const std::wstring& wanted);

// The mail server that keeps a profile's messages.
struct ServerProfile {
  std::wstring url, user;  // user empty: the secret is a token
  std::wstring publicAccount, tlsCaFile;
};

class Profiles {
 public:
  Profiles();

  std::vector<ProfileEntry> list();
  // The user's name in the profile; absent if it cannot be read, for example without its password.
  std::optional<std::wstring> userName(const std::wstring& profile, const std::wstring& password);

  // Absent for a profile of the local store, and if it cannot be read.
  std::optional<ServerProfile> server(const std::wstring& profile, const std::wstring& password);

  void add(const std::wstring& name, const std::wstring& password);
  void setUserName(const std::wstring& profile, const std::wstring& password, const std::wstring& user);
  void setServer(const std::wstring& profile, const ServerProfile& server, const std::wstring& secret);
  void makeDefault(const std::wstring& name);
  // Removing a profile with a password requires the password; without `withMailbox` its messages stay in the store.
  void remove(const std::wstring& name, const std::wstring& password, bool withMailbox);
  void rename(const std::wstring& name, const std::wstring& password, const std::wstring& newName);
  void setPassword(const std::wstring& name, const std::wstring& password, const std::wstring& newPassword);

  std::wstring choose(const std::wstring& wanted) { return chooseProfile(list(), wanted); }

 private:
  ComPtr<IProfSect> section(const std::wstring& profile, const std::wstring& password, bool toWrite, HRESULT& code);

  MapiStart start_;
  ComPtr<IProfAdmin> admin_;
};

}  // namespace fendrel::host
