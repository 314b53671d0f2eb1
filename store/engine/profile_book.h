// Profiles: who may log on, and to what.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine.h"

namespace fendrel::store {

// What the caller made of the password. It is kept without looking inside; no password: all empty.
struct PasswordRecord {
  Bytes salt;
  std::uint32_t iterations = 0;
  Bytes hash;
  bool empty() const noexcept { return hash.empty(); }
};

// The mail server that a profile's messages are on.
struct ServerAccess {
  std::u16string url;            // "https://mail.example"
  std::u16string user;           // who signs in; empty: the secret is a bearer token
  Bytes sealedSecret;            // password or token as the caller sealed it; empty: none is kept
  std::u16string publicAccount;  // the account that is shown as the public store; empty: none
  std::u16string tlsCaFile;      // full path of the certificates of more issuers; empty: none
};

// A profile has a mailbox, which may outlive it; the public store is everyone's.
struct Profile {
  Guid id{};
  std::u16string name;      // unique; ASCII letters are compared without case
  std::u16string userName;  // shown in "Mailbox - USER"
  PasswordRecord password;
  bool isDefault = false;  // at most one profile is; the first one created is
  FileTime created{};
  Id mailbox;                          // its store
  std::optional<ServerAccess> server;  // empty: its messages are in the database
};

// A mailbox that was never used is not kept.
enum class MailboxFate { Kept, Deleted };

class ProfileBook : public Origin {
 public:
  // Creates the profile with the mailbox that a profile of this user left, else with a new one. Of `profile`, name,
  // userName, password, isDefault and server are read; the other members are filled in.
  // AlreadyExists (nothing changed), Invalid (empty name).
  virtual Status create(Profile& profile) = 0;

  // By name; ASCII letters without case. NotFound.
  virtual Status find(const std::u16string& name, Profile& found) = 0;

  // The one marked as default. NotFound.
  virtual Status findDefault(Profile& found) = 0;

  // In the order of creation.
  virtual Status list(std::vector<Profile>& profiles) = 0;

  // Makes it the only default. NotFound.
  virtual Status setDefault(const std::u16string& name) = 0;

  // Replaces the password record. NotFound.
  virtual Status setPassword(const std::u16string& name, const PasswordRecord& password) = 0;

  // Makes it a profile of that server, or of another one than before. NotFound, Invalid (no such URL).
  virtual Status setServer(const std::u16string& name, const ServerAccess& server) = 0;

  // Also gives the mailbox its new name, "Mailbox - USER". A profile whose mailbox was never used gets the mailbox that
  // a profile of this user left, where there is one. NotFound, Invalid (empty user name).
  virtual Status setUserName(const std::u16string& name, const std::u16string& userName) = 0;

  // AlreadyExists, NotFound, Invalid (empty name).
  virtual Status rename(const std::u16string& name, const std::u16string& newName) = 0;

  // If it was the default, the oldest other profile becomes the default. NotFound, NoAccess (it has a password, which
  // is to be taken away first).
  virtual Status remove(const std::u16string& name, MailboxFate mailbox) = 0;

  // The engine of its stores. `secret`: of a server's profile, as it was before it was sealed.
  virtual Status open(const Profile& profile, const std::u16string& secret, std::shared_ptr<Engine>& engine) = 0;
};

}  // namespace fendrel::store
