// Profiles: who may log on. A profile has a mailbox, which may outlive it; the public store is everyone's.
#pragma once

#include <vector>

#include "database.h"

namespace fendrel::store {

// What the caller made of the password. The engine keeps it without looking inside; no password: all empty.
struct PasswordRecord {
  Bytes salt;
  std::uint32_t iterations = 0;
  Bytes hash;
  bool empty() const noexcept { return hash.empty(); }
};

struct Profile {
  Guid id{};
  std::u16string name;      // unique; ASCII letters are compared without case
  std::u16string userName;  // shown in "Mailbox - USER"
  PasswordRecord password;
  bool isDefault = false;   // at most one profile is; the first one created is
  FileTime created{};
  Guid mailbox{};           // its store
};

// Creates the profile with the mailbox that a profile of this user left, else with a new one. Of `profile`, name, userName, password and
// isDefault are read; the other members are filled in.
// AlreadyExists (nothing changed), Invalid (empty name).
Status createProfile(Database& database, Profile& profile);

// By name; ASCII letters without case. NotFound.
Status findProfile(Database& database, const std::u16string& name, Profile& found);

// The one marked as default. NotFound.
Status findDefaultProfile(Database& database, Profile& found);

// In the order of creation.
Status listProfiles(Database& database, std::vector<Profile>& profiles);

// Makes it the only default. NotFound.
Status setDefaultProfile(Database& database, const std::u16string& name);

// Replaces the password record. NotFound.
Status setPassword(Database& database, const std::u16string& name, const PasswordRecord& password);

// Also gives the mailbox its new name, "Mailbox - USER". A profile whose mailbox was never used gets the mailbox that a
// profile of this user left, where there is one. NotFound, Invalid (empty user name).
Status setUserName(Database& database, const std::u16string& name, const std::u16string& userName);

// AlreadyExists, NotFound, Invalid (empty name).
Status renameProfile(Database& database, const std::u16string& name, const std::u16string& newName);

// A mailbox that was never used is not kept.
enum class MailboxFate { Kept, Deleted };

// If it was the default, the oldest other profile becomes the default. NotFound, NoAccess (it has a password, which is to
// be taken away first).
Status deleteProfile(Database& database, const std::u16string& name, MailboxFate mailbox);

}  // namespace fendrel::store
