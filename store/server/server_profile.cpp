#include "server_profile.h"

#include "unicode.h"

namespace fendrel::store {

jmap::Settings settingsOf(const ServerAccess& server, const std::u16string& secret) {
  jmap::Settings settings;
  settings.url = toUtf8(server.url);
  settings.user = toUtf8(server.user);
  settings.secret = toUtf8(secret);
  settings.tlsCaFile.assign(server.tlsCaFile.begin(), server.tlsCaFile.end());
  return settings;
}

bool isPublicAccount(const ServerAccess& server, const jmap::MailSession::Account& account) {
  const std::string wanted = toUtf8(server.publicAccount);
  return !wanted.empty() && (account.id == wanted || account.name == wanted);
}

std::u16string storeNameOf(const ServerAccess& server, const std::u16string& user, const jmap::MailSession& session,
                           const jmap::MailSession::Account& account) {
  if (isPublicAccount(server, account)) return u"Public Folders";
  if (account.id == session.primaryAccount) return u"Mailbox - " + user;
  std::u16string name;
  if (!fromUtf8(account.name, name) || name.empty()) name.assign(account.id.begin(), account.id.end());
  return name;
}

}  // namespace fendrel::store
