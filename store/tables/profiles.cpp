#include "profiles.h"

#include <optional>

#include "standard_folders.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

#define FENDREL_SELECT_PROFILES                                                                                 \
  "SELECT p.guid, p.name, p.user_name, p.password_salt, p.password_iterations, p.password_hash, p.is_default, " \
  "p.created, s.guid, p.server_url, p.server_user, p.server_secret, p.server_public_account, "                  \
  "p.server_tls_ca_file FROM profile p JOIN store s ON s.id = p.mailbox "
constexpr const char* selectAll = FENDREL_SELECT_PROFILES "ORDER BY p.id";
constexpr const char* selectByName = FENDREL_SELECT_PROFILES "WHERE p.name = ?";
constexpr const char* selectDefault = FENDREL_SELECT_PROFILES "WHERE p.is_default = 1";

Bytes copyOf(std::span<const std::byte> bytes) { return {bytes.begin(), bytes.end()}; }

Profile profileAt(const Statement& row) {
  Profile profile;
  profile.id = row.guid(0);
  profile.name = row.wideText(1);
  profile.userName = row.wideText(2);
  profile.password.salt = copyOf(row.bytes(3));
  profile.password.iterations = static_cast<std::uint32_t>(row.integer(4));
  profile.password.hash = copyOf(row.bytes(5));
  profile.isDefault = row.integer(6) != 0;
  profile.created = {static_cast<std::uint64_t>(row.integer(7))};
  profile.mailbox = row.guid(8);
  if (!row.isNull(9)) {
    profile.server =
        ServerAccess{row.wideText(9), row.wideText(10), copyOf(row.bytes(11)), row.wideText(12), row.wideText(13)};
  }
  return profile;
}

void bindPassword(Statement& statement, int first, const PasswordRecord& password) {
  if (password.empty()) return;  // unbound parameters are NULL
  statement.bind(first, std::span<const std::byte>(password.salt));
  statement.bind(first + 1, password.iterations);
  statement.bind(first + 2, std::span<const std::byte>(password.hash));
}

void writeServer(Connection& connection, std::int64_t row, const ServerAccess& server) {
  if (server.url.empty()) fail(Status::Invalid, "A mail server needs an address, like https://mail.example.");
  Query query(
      connection.statement("UPDATE profile SET server_url = ?, server_user = ?, server_secret = ?, "
                           "server_public_account = ?, server_tls_ca_file = ? WHERE id = ?"));
  query->bindOwned(1, toUtf8(server.url));
  query->bindOwned(2, toUtf8(server.user));
  query->bind(3, std::span<const std::byte>(server.sealedSecret));
  query->bindOwned(4, toUtf8(server.publicAccount));
  query->bindOwned(5, toUtf8(server.tlsCaFile));
  query->bind(6, row);
  query.run();
}

std::string quoted(const std::u16string& name) { return std::string("'").append(toUtf8(name)).append("'"); }

[[noreturn]] void failNoProfile(const std::u16string& name) {
  fail(Status::NotFound, "There is no profile " + quoted(name) + ".");
}

// The row numbers of the profile and its mailbox. Throws NotFound.
std::pair<std::int64_t, std::int64_t> profileRow(Connection& connection, const std::u16string& name) {
  const std::string utf8 = toUtf8(name);
  Query query(connection.statement("SELECT id, mailbox FROM profile WHERE name = ?"), std::string_view(utf8));
  if (!query.step()) failNoProfile(name);
  return {query->integer(0), query->integer(1)};
}

bool profileExists(Connection& connection, const std::u16string& name) {
  const std::string utf8 = toUtf8(name);
  Query query(connection.statement("SELECT 1 FROM profile WHERE name = ?"), std::string_view(utf8));
  return query.step();
}

void makeDefault(Connection& connection, std::int64_t row) {
  Query(connection.statement("UPDATE profile SET is_default = 0 WHERE is_default = 1 AND id <> ?"), row).run();
  Query(connection.statement("UPDATE profile SET is_default = 1 WHERE id = ?"), row).run();
}

std::u16string mailboxName(const std::u16string& userName) { return std::u16string(u"Mailbox - ").append(userName); }

// The latest mailbox of that name without a profile.
std::optional<std::int64_t> mailboxLeftBehind(Connection& connection, std::string_view displayName) {
  Query query(connection.statement("SELECT id FROM store WHERE kind = 1 AND display_name = ? AND NOT EXISTS "
                                   "(SELECT 1 FROM profile WHERE mailbox = store.id) ORDER BY id DESC LIMIT 1"),
              displayName);
  return query.step() ? std::optional(query->integer(0)) : std::nullopt;
}

// True if it contains only what every mailbox has.
bool isUnused(Connection& connection, std::int64_t mailbox) {
  Query query(connection.statement("SELECT EXISTS (SELECT 1 FROM folder WHERE store = ?1 AND role IS NULL) OR "
                                   "EXISTS (SELECT 1 FROM message WHERE folder IN "
                                   "(SELECT id FROM folder WHERE store = ?1))"),
              mailbox);
  query.step();
  return query->integer(0) == 0;
}

void deleteMailbox(Connection& connection, std::int64_t mailbox) {
  Query(connection.statement("DELETE FROM store WHERE id = ?"), mailbox).run();
}

// For changes of one profile by name.
template <class Change>
Status changeProfile(Database& database, const std::u16string& name, Change change) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Write);
    const auto [row, mailbox] = profileRow(connection, name);
    change(connection, row, mailbox);
    transaction.commit();
  });
}

}  // namespace

Status createProfile(Database& database, Profile& profile) {
  return guarded(database, [&](Connection& connection) {
    if (profile.name.empty()) fail(Status::Invalid, "A profile needs a name.");
    Profile made = profile;
    made.id = newGuid();
    made.created = now();
    const std::string name = toUtf8(made.name);
    const std::string userName = toUtf8(made.userName);

    Transaction transaction(connection, Transaction::Write);
    if (profileExists(connection, made.name)) {
      fail(Status::AlreadyExists, "There is already a profile " + quoted(made.name) + ".");
    }
    const std::u16string displayName = mailboxName(made.userName);
    const auto left = mailboxLeftBehind(connection, toUtf8(displayName));
    const std::int64_t mailbox = left ? *left : insertStore(connection, StoreKind::Mailbox, displayName, made.mailbox);
    if (left) made.mailbox = storeGuid(connection, mailbox);
    {
      Query query(
          connection.statement("INSERT INTO profile (guid, name, user_name, is_default, created, mailbox, "
                               "password_salt, password_iterations, password_hash) VALUES (?, ?, ?, 0, ?, ?, ?, ?, ?)"),
          made.id, std::string_view(name), std::string_view(userName), made.created.ticks, mailbox);
      bindPassword(*query, 6, made.password);
      query.run();
    }
    const std::int64_t row = sqlite3_last_insert_rowid(connection.handle());
    {
      Query others(connection.statement("SELECT 1 FROM profile WHERE id <> ?"), row);
      made.isDefault = made.isDefault || !others.step();
    }
    if (made.isDefault) makeDefault(connection, row);
    if (made.server) writeServer(connection, row, *made.server);
    transaction.commit();
    profile = std::move(made);
  });
}

Status findProfile(Database& database, const std::u16string& name, Profile& found) {
  return guarded(database, [&](Connection& connection) {
    const std::string utf8 = toUtf8(name);
    Query query(connection.statement(selectByName), std::string_view(utf8));
    if (!query.step()) failNoProfile(name);
    found = profileAt(*query);
  });
}

Status findDefaultProfile(Database& database, Profile& found) {
  return guarded(database, [&](Connection& connection) {
    Query query(connection.statement(selectDefault));
    if (!query.step()) fail(Status::NotFound, "There is no default profile.");
    found = profileAt(*query);
  });
}

Status listProfiles(Database& database, std::vector<Profile>& profiles) {
  return guarded(database, [&](Connection& connection) {
    std::vector<Profile> all;
    Query query(connection.statement(selectAll));
    while (query.step()) all.push_back(profileAt(*query));
    profiles = std::move(all);
  });
}

Status setDefaultProfile(Database& database, const std::u16string& name) {
  return changeProfile(database, name,
                       [](Connection& connection, std::int64_t row, std::int64_t) { makeDefault(connection, row); });
}

Status setPassword(Database& database, const std::u16string& name, const PasswordRecord& password) {
  return changeProfile(database, name, [&](Connection& connection, std::int64_t row, std::int64_t) {
    Query query(
        connection.statement("UPDATE profile SET password_salt = ?1, password_iterations = ?2, "
                             "password_hash = ?3 WHERE id = ?4"));
    bindPassword(*query, 1, password);
    query->bind(4, row);
    query.run();
  });
}

Status setServer(Database& database, const std::u16string& name, const ServerAccess& server) {
  return changeProfile(database, name, [&](Connection& connection, std::int64_t row, std::int64_t) {
    writeServer(connection, row, server);
  });
}

Status setUserName(Database& database, const std::u16string& name, const std::u16string& userName) {
  return changeProfile(database, name, [&](Connection& connection, std::int64_t row, std::int64_t mailbox) {
    if (userName.empty()) fail(Status::Invalid, "A user needs a name.");
    const std::string utf8 = toUtf8(userName);
    const std::string displayName = toUtf8(mailboxName(userName));
    Query(connection.statement("UPDATE profile SET user_name = ? WHERE id = ?"), std::string_view(utf8), row).run();
    const auto left = mailboxLeftBehind(connection, displayName);
    if (left && isUnused(connection, mailbox)) {
      Query(connection.statement("UPDATE profile SET mailbox = ? WHERE id = ?"), *left, row).run();
      deleteMailbox(connection, mailbox);
      return;
    }
    Query(connection.statement("UPDATE store SET display_name = ? WHERE id = ?"), std::string_view(displayName),
          mailbox)
        .run();
  });
}

Status renameProfile(Database& database, const std::u16string& name, const std::u16string& newName) {
  return changeProfile(database, name, [&](Connection& connection, std::int64_t row, std::int64_t) {
    if (newName.empty()) fail(Status::Invalid, "A profile needs a name.");
    const std::string utf8 = toUtf8(newName);
    Query query(connection.statement("SELECT 1 FROM profile WHERE name = ? AND id <> ?"), std::string_view(utf8), row);
    if (query.step()) fail(Status::AlreadyExists, "There is already a profile " + quoted(newName) + ".");
    Query(connection.statement("UPDATE profile SET name = ? WHERE id = ?"), std::string_view(utf8), row).run();
  });
}

Status deleteProfile(Database& database, const std::u16string& name, MailboxFate fate) {
  return changeProfile(database, name, [&](Connection& connection, std::int64_t row, std::int64_t mailbox) {
    {
      Query locked(connection.statement("SELECT 1 FROM profile WHERE id = ? AND password_hash IS NOT NULL"), row);
      if (locked.step()) fail(Status::NoAccess, "The profile " + quoted(name) + " has a password.");
    }
    Query(connection.statement("DELETE FROM profile WHERE id = ?"), row).run();
    if (fate == MailboxFate::Deleted || isUnused(connection, mailbox)) deleteMailbox(connection, mailbox);
    Query(connection.statement("UPDATE profile SET is_default = 1 WHERE id = (SELECT min(id) FROM profile) "
                               "AND NOT EXISTS (SELECT 1 FROM profile WHERE is_default = 1)"))
        .run();
  });
}

}  // namespace fendrel::store
