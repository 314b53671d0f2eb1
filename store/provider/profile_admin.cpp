#include "profile_admin.h"

#include "last_error.h"
#include "mapi_table.h"
#include "memory_rows.h"
#include "password.h"
#include "password_gate.h"
#include "secret.h"
#include "service_admin.h"
#include "status_codes.h"

namespace fendrel::provider {
namespace {

constexpr std::size_t longestName = cchProfileNameMax;

// Our flag for DeleteProfile, used by fendrel.exe: deletes the mailbox too.
constexpr ULONG withMailbox = 0x00010000;

// Finds a profile and checks its password.
HRESULT unlockedProfile(store::ProfileBook& profiles, const void* name, const void* password, ULONG flags,
                        store::Profile& profile) {
  const auto status = profiles.find(textArgument(name, flags), profile);
  if (status != store::Status::Ok) return toResult(status);
  return tryPassword(profile, textArgument(password, flags));
}

}  // namespace

STDMETHODIMP ProfileAdmin::GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) {
  return guarded([&] { return lastError(*profiles_, result, flags, error); });
}

STDMETHODIMP ProfileAdmin::GetProfileTable(ULONG flags, LPMAPITABLE* table) {
  if (!table) return MAPI_E_INVALID_PARAMETER;
  return guarded([&] {
    *table = nullptr;
    std::vector<store::Profile> profiles;
    const auto status = profiles_->list(profiles);
    if (status != store::Status::Ok) return toResult(status);
    std::vector<MemoryRows::Row> rows;
    for (const store::Profile& profile : profiles) {
      rows.push_back({makeProperty(PR_DISPLAY_NAME_W, profile.name),
                      makeProperty(PR_DEFAULT_PROFILE, profile.isDefault),
                      makeProperty(PR_INSTANCE_KEY, store::Bytes(profile.id.bytes, profile.id.bytes + 16)),
                      makeProperty(PR_MAILBOX_OWNER_NAME_W, profile.userName)});
    }
    auto source = std::make_unique<MemoryRows>(
        std::vector<PropertyTag>{PR_DISPLAY_NAME_W, PR_DEFAULT_PROFILE, PR_INSTANCE_KEY, PR_MAILBOX_OWNER_NAME_W},
        std::move(rows));
    auto opened = makeObject<MapiTable>(ObjectHome{std::make_shared<std::recursive_mutex>(), profiles_},
                                        std::move(source), textForm(flags));
    return handOut(opened, table);
  });
}

STDMETHODIMP ProfileAdmin::CreateProfile(LPTSTR name, LPTSTR password, ULONG_PTR, ULONG flags) {
  if (!name) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    store::Profile profile;
    profile.name = textArgument(name, flags);
    if (profile.name.empty() || profile.name.size() > longestName) return MAPI_E_INVALID_PARAMETER;
    profile.userName = profile.name;
    const std::u16string secret = textArgument(password, flags);
    if (!secret.empty()) {
      if (const HRESULT result = hashPassword(secret, profile.password); FAILED(result)) return result;
    }
    const auto status = profiles_->create(profile);
    if (status == store::Status::Ok) noteMade(profile.name);
    // The documented result for a name in use.
    return status == store::Status::AlreadyExists ? MAPI_E_NO_ACCESS : toResult(status);
  });
}

STDMETHODIMP ProfileAdmin::DeleteProfile(LPTSTR name, ULONG flags) {
  if (!name) return MAPI_E_INVALID_PARAMETER;
  const auto mailbox = flags & withMailbox ? store::MailboxFate::Deleted : store::MailboxFate::Kept;
  return guarded([&] { return toResult(profiles_->remove(textArgument(name, flags), mailbox)); });
}

STDMETHODIMP ProfileAdmin::ChangeProfilePassword(LPTSTR name, LPTSTR oldPassword, LPTSTR newPassword, ULONG flags) {
  if (!name) return MAPI_E_INVALID_PARAMETER;
  return guarded([&] {
    store::Profile profile;
    if (const HRESULT result = unlockedProfile(*profiles_, name, oldPassword, flags, profile); FAILED(result)) {
      return result;
    }
    store::PasswordRecord record;
    std::u16string secret = textArgument(newPassword, flags);
    if (profile.server) {
      const bool isSealed = store::sealSecret(secret, profile.server->sealedSecret);
      store::wipe(secret);
      return isSealed ? toResult(profiles_->setServer(profile.name, *profile.server)) : MAPI_E_CALL_FAILED;
    }
    if (!secret.empty()) {
      if (const HRESULT result = hashPassword(secret, record); FAILED(result)) return result;
    }
    return toResult(profiles_->setPassword(profile.name, record));
  });
}

// The copy has the same user and password, and its own mailbox or the same server.
STDMETHODIMP ProfileAdmin::CopyProfile(LPTSTR name, LPTSTR password, LPTSTR newName, ULONG_PTR, ULONG flags) {
  if (!name || !newName) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    store::Profile profile;
    const std::u16string wanted = textArgument(newName, flags);
    if (wanted.empty() || wanted.size() > longestName) return MAPI_E_INVALID_PARAMETER;
    if (const HRESULT result = unlockedProfile(*profiles_, name, password, flags, profile); FAILED(result)) {
      return result;
    }
    store::Profile copy;
    copy.name = wanted;
    copy.userName = profile.userName;
    copy.password = profile.password;
    copy.server = profile.server;
    const auto status = profiles_->create(copy);
    return status == store::Status::AlreadyExists ? MAPI_E_NO_ACCESS : toResult(status);
  });
}

void ProfileAdmin::noteMade(const std::u16string& name) {
  const std::lock_guard lock(mutex_);
  made_.insert(name);
}

bool ProfileAdmin::hasMade(const std::u16string& name) {
  const std::lock_guard lock(mutex_);
  return made_.contains(name);
}

STDMETHODIMP ProfileAdmin::RenameProfile(LPTSTR name, LPTSTR password, LPTSTR newName, ULONG_PTR, ULONG flags) {
  if (!name || !newName) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    const std::u16string wanted = textArgument(newName, flags);
    if (wanted.empty() || wanted.size() > longestName) return MAPI_E_INVALID_PARAMETER;
    store::Profile profile;
    if (const HRESULT result = unlockedProfile(*profiles_, name, password, flags, profile); FAILED(result)) {
      return result;
    }
    return toResult(profiles_->rename(profile.name, wanted));
  });
}

STDMETHODIMP ProfileAdmin::SetDefaultProfile(LPTSTR name, ULONG flags) {
  if (!name) return MAPI_E_INVALID_PARAMETER;
  return guarded([&] { return toResult(profiles_->setDefault(textArgument(name, flags))); });
}

STDMETHODIMP ProfileAdmin::AdminServices(LPTSTR name, LPTSTR password, ULONG_PTR, ULONG flags, LPSERVICEADMIN* admin) {
  if (!name || !admin) return MAPI_E_INVALID_PARAMETER;
  return guarded([&] {
    *admin = nullptr;
    store::Profile profile;
    if (const HRESULT result = unlockedProfile(*profiles_, name, password, flags, profile); FAILED(result)) {
      return result;
    }
    auto opened = makeObject<ServiceAdmin>(profiles_, profile.name, hasMade(profile.name));
    return handOut(opened, admin);
  });
}

}  // namespace fendrel::provider
