// What a profile says of its mail server.
#pragma once

#include <string>

#include "http_client.h"
#include "mail_session.h"
#include "profile_book.h"

namespace fendrel::store {

// How the server is spoken to. `secret`: the password or token.
jmap::Settings settingsOf(const ServerAccess& server, const std::u16string& secret);

// Whether it is the account that the profile shows as its public store.
bool isPublicAccount(const ServerAccess& server, const jmap::MailSession::Account& account);

// What the message store of that account is called. `user`: of the profile.
std::u16string storeNameOf(const ServerAccess& server, const std::u16string& user, const jmap::MailSession& session,
                           const jmap::MailSession::Account& account);

}  // namespace fendrel::store
