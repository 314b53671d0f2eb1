// Profiles: who may log on, and to what.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine.h"

namespace fendrel::store {

// The caller's hash of the password, stored without interpretation; all empty: no password.
struct PasswordRecord {
  Bytes salt;
  std::uint32_t iterations = 0;
  Bytes hash;
  bool empty() const noexcept { return hash.empty(); }
};

// The mail server that keeps a profile's messages.
struct ServerAccess {
  std::u16string url;            // "https://mail.example"
  std::u16string user;           // user name; empty: the secret is a bearer token
  Bytes sealedSecret;            // password or token, encrypted by the caller; empty: none is kept
  std::u16string publicAccount;  // the account that is shown as the public store; empty: none
  std::u16string tlsCaFile;      // full path of additional issuer certificates; empty: none
};

// A profile has a mailbox, which may outlive it; all share the public store.
struct Profile {
  Guid id{};
  std::u16string name;      // unique, ignoring the case of ASCII letters
  std::u16string userName;  // shown in "Mailbox - USER"
  PasswordRecord password;
  bool isDefault = false;  // at most one is; the first profile becomes it
  FileTime created{};
  Id mailbox;                          // the profile's store
  std::optional<ServerAccess> server;  // empty: its messages are in the database
};

// An unused mailbox is deleted in any case.
enum class MailboxFate { Kept, Deleted };

class ProfileBook : public Origin {
 public:
  // Creates the profile with the mailbox that a removed profile of this user left, else with a new one. Reads name,
  // userName, password, isDefault and server of `profile` and fills in the other members. AlreadyExists (nothing
  // changed), Invalid (empty name).
  virtual Status create(Profile& profile) = 0;

  // By name, ignoring the case of ASCII letters. NotFound.
  virtual Status find(const std::u16string& name, Profile& found) = 0;

  // The one marked as default. NotFound.
  virtual Status findDefault(Profile& found) = 0;

  // In the order of creation.
  virtual Status list(std::vector<Profile>& profiles) = 0;

  // Makes it the only default. NotFound.
  virtual Status setDefault(const std::u16string& name) = 0;

  // Replaces the password record. NotFound.
  virtual Status setPassword(const std::u16string& name, const PasswordRecord& password) = 0;

  // Puts the profile on that server, or moves it to another one. NotFound, Invalid (invalid URL).
  virtual Status setServer(const std::u16string& name, const ServerAccess& server) = 0;

  // Also renames the mailbox to "Mailbox - USER". A profile with an unused mailbox gets the mailbox that a removed
  // profile of this user left, if any. NotFound, Invalid (empty user name).
  virtual Status setUserName(const std::u16string& name, const std::u16string& userName) = 0;

  // AlreadyExists, NotFound, Invalid (empty name).
  virtual Status rename(const std::u16string& name, const std::u16string& newName) = 0;

  // If it was the default, the oldest other profile becomes the default. NotFound, NoAccess (its password must be
  // removed first).
  virtual Status remove(const std::u16string& name, MailboxFate mailbox) = 0;

  // The engine of its stores. `secret`: the decrypted secret of a server's profile.
  virtual Status open(const Profile& profile, const std::u16string& secret, std::shared_ptr<Engine>& engine) = 0;
};

}  // namespace fendrel::store
