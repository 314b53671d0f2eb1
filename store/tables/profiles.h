// The profiles of a database, each with its mailbox. profile_book.h describes the calls.
#pragma once

#include <string>
#include <vector>

#include "database.h"
#include "profile_book.h"

namespace fendrel::store {

Status createProfile(Database& database, Profile& profile);
Status findProfile(Database& database, const std::u16string& name, Profile& found);
Status findDefaultProfile(Database& database, Profile& found);
Status listProfiles(Database& database, std::vector<Profile>& profiles);
Status setDefaultProfile(Database& database, const std::u16string& name);
Status setPassword(Database& database, const std::u16string& name, const PasswordRecord& password);
Status setServer(Database& database, const std::u16string& name, const ServerAccess& server);
Status setUserName(Database& database, const std::u16string& name, const std::u16string& userName);
Status renameProfile(Database& database, const std::u16string& name, const std::u16string& newName);
Status deleteProfile(Database& database, const std::u16string& name, MailboxFate mailbox);

}  // namespace fendrel::store
