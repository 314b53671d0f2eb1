#include "profiles.h"

#include <mapiguid.h>

#include <fendrel/server_profile.h>
#include <fmt/format.h>

#include <algorithm>

#include "text.h"

namespace fendrel::host {
namespace {

// The mailbox owner's name in a profile's section for the whole profile.
constexpr ULONG ownerName = PROP_TAG(PT_UNICODE, 0x661B);

std::string listed(const std::vector<ProfileEntry>& profiles) {
  std::string list;
  for (const ProfileEntry& profile : profiles)
    list += fmt::format("{}'{}'", list.empty() ? "" : ", ", printable(profile.name));
  return list;
}

// A flag of the local store, not one of MAPI's.
constexpr ULONG deleteWithMailbox = 0x00010000;

constexpr const char* howToAdd = "Make one with: fendrel profile add NAME --user \"Your Name\"";

}  // namespace

Profiles::Profiles() { check(mapi().adminProfiles(0, &admin_), ExitCode::mapiUnusable, "The profiles cannot be read"); }

std::vector<ProfileEntry> Profiles::list() {
  const std::string subject = "The list of profiles";
  ComPtr<IMAPITable> table;
  check(admin_->GetProfileTable(0, &table), ExitCode::mapiUnusable, subject + " cannot be opened");
  setColumns(*table.Get(), {PR_DISPLAY_NAME_W, PR_DISPLAY_NAME_A, PR_DEFAULT_PROFILE}, subject);
  std::vector<ProfileEntry> found;
  forEachRow(*table.Get(), subject, [&](const SRow& row) {
    ProfileEntry profile{textAt(row, 0, PR_DISPLAY_NAME_W), flagAt(row, 2, PR_DEFAULT_PROFILE)};
    // Some subsystems have only 8-bit profile names.
    const SPropValue* narrow = valueAt(row, 1, PR_DISPLAY_NAME_A);
    if (profile.name.empty() && narrow && narrow->Value.lpszA) profile.name = fromAnsi(narrow->Value.lpszA);
    found.push_back(profile);
  });
  return found;
}

ComPtr<IProfSect> Profiles::section(const std::wstring& profile, const std::wstring& password, bool toWrite,
                                    HRESULT& code) {
  ComPtr<IMsgServiceAdmin> services;
  code = admin_->AdminServices(asMapiText(profile), password.empty() ? nullptr : asMapiText(password), 0, MAPI_UNICODE,
                               &services);
  if (FAILED(code)) return nullptr;
  MAPIUID whole;
  static_assert(sizeof whole == sizeof MUID_PROFILE_INSTANCE);
  std::memcpy(&whole, &MUID_PROFILE_INSTANCE, sizeof whole);
  ComPtr<IProfSect> found;
  code = services->OpenProfileSection(&whole, nullptr, toWrite ? MAPI_MODIFY : 0, &found);
  return FAILED(code) ? nullptr : found;
}

std::optional<std::wstring> Profiles::userName(const std::wstring& profile, const std::wstring& password) {
  HRESULT code = S_OK;
  const ComPtr<IProfSect> found = section(profile, password, false, code);
  MapiBuffer<SPropValue> value;
  if (!found || FAILED(mapi().hrGetOneProp(found.Get(), ownerName, receive(value)))) return std::nullopt;
  return value->Value.lpszW;
}

void Profiles::add(const std::wstring& name, const std::wstring& password) {
  const HRESULT code =
      admin_->CreateProfile(asMapiText(name), password.empty() ? nullptr : asMapiText(password), 0, MAPI_UNICODE);
  check(code, ExitCode::failed, fmt::format("Profile '{}' cannot be made", printable(name)));
}

void Profiles::setUserName(const std::wstring& profile, const std::wstring& password, const std::wstring& user) {
  const std::string subject = fmt::format("The user's name cannot be kept in profile '{}'", printable(profile));
  HRESULT code = S_OK;
  const ComPtr<IProfSect> found = section(profile, password, true, code);
  check(code, ExitCode::failed, subject);
  SPropValue value{};
  value.ulPropTag = ownerName;
  value.Value.lpszW = asMapiText(user);
  MapiBuffer<SPropProblemArray> problems;
  check(found->SetProps(1, &value, receive(problems)), ExitCode::failed, subject);
  if (problems && problems->cProblem > 0) check(problems->aProblem[0].scode, ExitCode::failed, subject);
  check(found->SaveChanges(0), ExitCode::failed, subject);
}

std::optional<ServerProfile> Profiles::server(const std::wstring& profile, const std::wstring& password) {
  HRESULT code = S_OK;
  const ComPtr<IProfSect> found = section(profile, password, false, code);
  const auto text = [&](ULONG tag) {
    MapiBuffer<SPropValue> value;
    const bool isThere = found && SUCCEEDED(mapi().hrGetOneProp(found.Get(), tag, receive(value)));
    return isThere ? std::wstring(value->Value.lpszW) : std::wstring();
  };
  ServerProfile server{text(serverUrlTag), text(serverUserTag), text(publicAccountTag), text(tlsCaFileTag)};
  return server.url.empty() ? std::nullopt : std::optional(std::move(server));
}

void Profiles::setServer(const std::wstring& profile, const ServerProfile& server, const std::wstring& secret) {
  const std::string subject = fmt::format("Profile '{}' cannot be put on the mail server", printable(profile));
  ComPtr<IMsgServiceAdmin> services;
  check(admin_->AdminServices(asMapiText(profile), nullptr, 0, MAPI_UNICODE, &services), ExitCode::failed, subject);
  ComPtr<IMAPITable> table;
  check(services->GetMsgServiceTable(0, &table), ExitCode::failed, subject);
  setColumns(*table.Get(), {PR_SERVICE_UID}, subject);
  MAPIUID uid{};
  forEachRow(*table.Get(), subject, [&](const SRow& row) {
    const SPropValue* value = valueAt(row, 0, PR_SERVICE_UID);
    if (value && value->Value.bin.cb == sizeof uid) std::memcpy(&uid, value->Value.bin.lpb, sizeof uid);
  });
  SPropValue values[5] = {};
  const std::pair<ULONG, const std::wstring*> texts[] = {{serverUrlTag, &server.url},
                                                         {serverUserTag, &server.user},
                                                         {publicAccountTag, &server.publicAccount},
                                                         {tlsCaFileTag, &server.tlsCaFile},
                                                         {serverSecretTag, &secret}};
  for (std::size_t i = 0; i < std::size(texts); ++i) {
    values[i].ulPropTag = texts[i].first;
    values[i].Value.lpszW = asMapiText(*texts[i].second);
  }
  const HRESULT code = services->ConfigureMsgService(&uid, 0, 0, static_cast<ULONG>(std::size(values)), values);
  check(code, ExitCode::failed, subject, *services.Get());
}

void Profiles::makeDefault(const std::wstring& name) {
  check(admin_->SetDefaultProfile(asMapiText(name), MAPI_UNICODE), ExitCode::failed,
        fmt::format("Profile '{}' cannot be made the default", printable(name)));
}

void Profiles::remove(const std::wstring& name, const std::wstring& password, bool withMailbox) {
  const std::string subject = fmt::format("Profile '{}' cannot be removed", printable(name));
  if (!password.empty()) setPassword(name, password, {});  // required by the local store before it removes the profile
  const HRESULT code = admin_->DeleteProfile(asMapiText(name), MAPI_UNICODE | (withMailbox ? deleteWithMailbox : 0));
  if (code == MAPI_E_NO_ACCESS && password.empty())
    throw Failure(ExitCode::mapiUnusable,
                  subject + ": it has a password (MAPI_E_NO_ACCESS, 0x80070005). Give it with --password-file.", code);
  check(code, ExitCode::failed, subject);
}

void Profiles::rename(const std::wstring& name, const std::wstring& password, const std::wstring& newName) {
  check(admin_->RenameProfile(asMapiText(name), password.empty() ? nullptr : asMapiText(password), asMapiText(newName),
                              0, MAPI_UNICODE),
        ExitCode::failed, fmt::format("Profile '{}' cannot be renamed", printable(name)));
}

void Profiles::setPassword(const std::wstring& name, const std::wstring& password, const std::wstring& newPassword) {
  check(admin_->ChangeProfilePassword(asMapiText(name), password.empty() ? nullptr : asMapiText(password),
                                      newPassword.empty() ? nullptr : asMapiText(newPassword), MAPI_UNICODE),
        ExitCode::mapiUnusable, fmt::format("The password of profile '{}' cannot be changed", printable(name)));
}

std::wstring chooseProfile(const std::vector<ProfileEntry>& profiles, const std::wstring& wanted) {
  if (!wanted.empty()) {
    // MAPI compares profile names ignoring case.
    const auto known = std::ranges::find_if(profiles, [&](const ProfileEntry& profile) {
      return CompareStringOrdinal(profile.name.c_str(), -1, wanted.c_str(), -1, TRUE) == CSTR_EQUAL;
    });
    if (known != profiles.end()) return known->name;
    throw Failure(ExitCode::mapiUnusable,
                  fmt::format("There is no profile '{}' (MAPI_E_NOT_FOUND, 0x8004010F). {}", printable(wanted),
                              profiles.empty() ? std::string("There is none yet. ") + howToAdd
                                               : "There is " + listed(profiles) + "."),
                  MAPI_E_NOT_FOUND);
  }
  if (profiles.empty())
    throw Failure(ExitCode::mapiUnusable, std::string("There is no profile yet. ") + howToAdd, MAPI_E_NOT_FOUND);
  const auto standard = std::ranges::find_if(profiles, &ProfileEntry::isDefault);
  if (standard != profiles.end()) return standard->name;
  if (profiles.size() == 1) return profiles.front().name;
  throw Failure(ExitCode::mapiUnusable,
                fmt::format("Several profiles exist and none is the default: {}. Choose one with --profile NAME.",
                            listed(profiles)));
}

}  // namespace fendrel::host
