#include "logon.h"

#include "logon_dialog.h"
#include "password_gate.h"
#include "session.h"
#include "status_codes.h"
#include "store_file.h"
#include "text.h"

namespace fendrel::provider {
namespace {

// The profile to log on to, its password checked.
HRESULT chooseProfile(store::Database& database, ULONG_PTR window, const void* profileName, const void* password,
                      ULONG flags, store::Profile& profile) {
  const std::u16string name = textArgument(profileName, flags);
  const bool mayAsk = (flags & MAPI_LOGON_UI) != 0;
  store::Status status = store::Status::NotFound;
  if (!name.empty()) {
    status = store::findProfile(database, name, profile);
  } else if (flags & MAPI_USE_DEFAULT) {
    status = store::findDefaultProfile(database, profile);
  } else if (mayAsk) {
    return askForProfile(database, window, profile);
  }
  if (status == store::Status::NotFound) return MAPI_E_LOGON_FAILED;
  if (status != store::Status::Ok) return toResult(status);
  return tryPassword(profile, textArgument(password, flags));
}

// The one session that the programs of this process may share.
class SharedSession {
public:
  std::shared_ptr<SharedLogon> get() {
    const std::lock_guard lock(mutex_);
    return logon_.lock();
  }

  // The one that there is stays.
  std::shared_ptr<SharedLogon> offer(const SessionPointer& context) {
    const std::lock_guard lock(mutex_);
    if (!logon_.expired()) return {};
    auto made = std::make_shared<SharedLogon>(context);
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
  if (const HRESULT result = openStoreFile(context->database); FAILED(result)) return result;
  const HRESULT result = chooseProfile(*context->database, window, profileName, password, flags, context->profile);
  if (FAILED(result)) return result;
  store::StoreInfo publicStore;
  const auto status = store::findPublicStore(*context->database, publicStore);
  if (status != store::Status::Ok) return toResult(status);
  context->publicStore = publicStore.id;
  std::shared_ptr<SharedLogon> shared;
  if (flags & MAPI_ALLOW_OTHERS) shared = sharedSession().offer(context);
  auto opened = makeObject<Session>(std::move(context), std::move(shared));
  return handOut(opened, session);
}

}  // namespace fendrel::provider
