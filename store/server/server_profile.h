// A profile's settings for its mail server.
#pragma once

#include <string>

#include "http_client.h"
#include "mail_session.h"
#include "profile_book.h"

namespace fendrel::store {

// The client's settings. `secret`: the password or token.
jmap::Settings settingsOf(const ServerAccess& server, const std::u16string& secret);

// Whether the profile shows this account as its public store.
bool isPublicAccount(const ServerAccess& server, const jmap::MailSession::Account& account);

// The name of the account's message store. `user`: the profile's user name.
std::u16string storeNameOf(const ServerAccess& server, const std::u16string& user, const jmap::MailSession& session,
                           const jmap::MailSession::Account& account);

}  // namespace fendrel::store
