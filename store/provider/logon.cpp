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

}  // namespace

HRESULT logon(ULONG_PTR window, const void* profileName, const void* password, ULONG flags, LPMAPISESSION* session) {
  auto context = std::make_shared<SessionContext>();
  if (const HRESULT result = openStoreFile(context->database); FAILED(result)) return result;
  const HRESULT result = chooseProfile(*context->database, window, profileName, password, flags, context->profile);
  if (FAILED(result)) return result;
  auto opened = makeObject<Session>(std::move(context));
  return handOut(opened, session);
}

}  // namespace fendrel::provider
