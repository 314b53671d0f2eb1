#include "logon.h"

#include "database_profiles.h"
#include "logon_dialog.h"
#include "password_gate.h"
#include "secret.h"
#include "session.h"
#include "status_codes.h"
#include "text.h"

namespace fendrel::provider {
namespace {

// The secret of a server's profile: the caller's, else the stored one. Nothing for other profiles.
HRESULT secretOf(const store::Profile& profile, std::u16string given, std::u16string& secret) {
  if (!profile.server) return S_OK;
  secret = std::move(given);
  return !secret.empty() || store::openSecret(profile.server->sealedSecret, secret) ? S_OK : MAPI_E_LOGON_FAILED;
}

// Checks the password and opens the profile's engine.
HRESULT openProfile(SessionContext& context, const store::Profile& profile, const std::u16string& password) {
  HRESULT result = tryPassword(profile, password);
  if (FAILED(result)) return result;
  std::u16string secret;
  result = secretOf(profile, password, secret);
  if (FAILED(result)) return result;
  const auto status = context.profiles->open(profile, secret, context.engine);
  store::wipe(secret);
  if (status == store::Status::Ok) context.profile = profile;
  return toResult(status);
}

// Opens the profile asked for. With MAPI_LOGON_UI the user chooses it if none is named, and types the password of a
// mail server that refuses the one at hand.
HRESULT chooseProfile(SessionContext& context, ULONG_PTR window, const void* profileName, const void* password,
                      ULONG flags) {
  const std::u16string name = textArgument(profileName, flags);
  const bool mayAsk = (flags & MAPI_LOGON_UI) != 0;
  const LogonAttempt attempt = [&](const store::Profile& profile, const std::u16string& typed) {
    return openProfile(context, profile, typed);
  };
  store::Profile profile;
  store::Status status = store::Status::NotFound;
  if (!name.empty()) {
    status = context.profiles->find(name, profile);
  } else if (flags & MAPI_USE_DEFAULT) {
    status = context.profiles->findDefault(profile);
  } else if (mayAsk) {
    return logOnByDialog(*context.profiles, window, nullptr, attempt);
  }
  if (status == store::Status::NotFound) return MAPI_E_LOGON_FAILED;
  if (status != store::Status::Ok) return toResult(status);
  const HRESULT result = openProfile(context, profile, textArgument(password, flags));
  if (result != MAPI_E_LOGON_FAILED || !profile.server || !mayAsk) return result;
  return logOnByDialog(*context.profiles, window, &profile, attempt);
}

// The session that the process may share.
class SharedSession {
 public:
  std::shared_ptr<SharedLogon> get() {
    const std::lock_guard lock(mutex_);
    return logon_.lock();
  }

  // An existing one is kept.
  std::shared_ptr<SharedLogon> offer(const SessionPointer& context) {
    const std::lock_guard lock(mutex_);
    if (!logon_.expired()) return {};
    auto made = std::make_shared<SharedLogon>(SharedLogon{context});
    logon_ = made;
    return made;
  }

 private:
  std::mutex mutex_;
  std::weak_ptr<SharedLogon> logon_;
};

SharedSession& sharedSession() {
  static SharedSession session;
  return session;
}

}  // namespace

HRESULT logon(ULONG_PTR window, const void* profileName, const void* password, ULONG flags, LPMAPISESSION* session) {
  const bool isNamed = !textArgument(profileName, flags).empty();
  if (!isNamed && !(flags & MAPI_NEW_SESSION)) {
    if (auto shared = sharedSession().get()) {
      auto opened = makeObject<Session>(shared->context, shared);
      return handOut(opened, session);
    }
  }
  auto context = std::make_shared<SessionContext>();
  if (const auto status = store::openProfileBook(context->profiles); status != store::Status::Ok) {
    return toResult(status);
  }
  const HRESULT result = chooseProfile(*context, window, profileName, password, flags);
  if (FAILED(result)) return result;
  std::shared_ptr<SharedLogon> shared;
  if (flags & MAPI_ALLOW_OTHERS) shared = sharedSession().offer(context);
  auto opened = makeObject<Session>(std::move(context), std::move(shared));
  return handOut(opened, session);
}

}  // namespace fendrel::provider
