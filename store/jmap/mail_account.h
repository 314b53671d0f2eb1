// One account of a server: its mailboxes and messages (RFC 8621).
//
// Every call may throw what MailServer throws, and notFound, noAccess, overQuota if the server says so. Calls other
// than import() are repeated if the answer is lost; it is success if the first attempt has done the work already.
// deliver.h does so for new messages.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <span>

#include "mail_server.h"

namespace fendrel::jmap {

struct MailboxRights {
  bool mayRead = false, mayAdd = false, mayRemove = false, maySetSeen = false, maySetKeywords = false;
  bool mayCreateChild = false, mayRename = false, mayDelete = false;
};

struct Mailbox {
  std::string id;
  std::string parentId;  // empty: top level
  std::string name;
  std::string role;  // "inbox", "trash" ...; empty: none
  std::uint64_t messageCount = 0, unreadCount = 0;
  MailboxRights rights;
};

// `state` identifies what was read (RFC 8620, 5.2); pass it to mailboxChanges().
struct MailboxList {
  std::vector<Mailbox> mailboxes;
  std::string state;
};

struct Changes {
  std::vector<std::string> created, updated, destroyed;
  std::string state;     // after these changes
  bool hasMore = false;  // call again with `state`
};

// Which messages, and in which order. An empty member is not a condition.
struct EmailQuery {
  std::string mailbox;
  std::vector<std::string> withKeywords, withoutKeywords;
  std::string headerName, headerValue;  // a header that contains this text
  Json filter;                          // more conditions, in JMAP's form; null: none
  std::string sortBy = "receivedAt";    // or "sentAt", "subject", "from", "size"
  bool ascending = true;
};

struct EmailPage {
  std::vector<std::string> ids;
  std::uint64_t position = 0;  // of the first one
  std::uint64_t total = 0;
};

// What to read of messages: `properties` have JMAP's names ("subject", "header:X-Message-Class:asText"). Values of body
// parts are read only with one of the fetch flags, and cut to longestValue bytes each (0: whole).
struct EmailSelection {
  std::vector<std::string> properties;
  std::vector<std::string> bodyProperties;
  bool fetchTextValues = false;  // of the parts shown as text
  bool fetchAllValues = false;   // of every text part
  std::uint64_t longestValue = 0;
};

struct EmailList {
  std::vector<Json> emails;  // in the order of the ids; deleted ones are left out
  std::string state;         // of the first batch
};

struct EmailImport {
  std::string blob;
  std::string mailbox;
  std::vector<std::string> keywords;  // lower case: "$seen"
  std::chrono::sys_seconds receivedAt{};
};

struct Imported {
  std::string id;
  bool wasThere = false;  // the account already had a message of the same bytes
};

struct Quota {
  std::string name;
  std::uint64_t used = 0, limit = 0;  // bytes
};

class MailAccount {
 public:
  // The server must outlive it.
  MailAccount(MailServer& server, std::string id) : server_(server), id_(std::move(id)) {}

  const std::string& id() const noexcept { return id_; }
  MailServer& server() const noexcept { return server_; }

  MailboxList mailboxes();
  // Throws notFound.
  Mailbox mailbox(const std::string& mailboxId);
  // The id of the mailbox of that name, if it exists.
  std::optional<std::string> findMailbox(const std::string& parent, const std::string& name);
  // Returns its id. Empty parent: top level. Throws nameTaken, noAccess; notFound for the parent.
  std::string createMailbox(const std::string& parent, const std::string& name);
  // Throws nameTaken, noAccess, notFound.
  void renameMailbox(const std::string& mailboxId, const std::string& name);
  void moveMailbox(const std::string& mailboxId, const std::string& parent);
  // Throws hasMailboxes, noAccess, notFound, and hasMessages unless withMessages.
  void deleteMailbox(const std::string& mailboxId, bool withMessages);
  Changes mailboxChanges(const std::string& since);  // throws stateTooOld

  // At most `limit` ids from `position` on.
  EmailPage query(const EmailQuery& query, std::uint64_t position, std::uint64_t limit);
  // The ids of the mailbox's messages with exactly this Message-ID, "<left@right>".
  std::vector<std::string> findByMessageId(const std::string& mailboxId, const std::string& messageId);

  // Reads `batch` messages a request, or fewer if the server's limit is lower.
  EmailList emails(std::span<const std::string> ids, const EmailSelection& selection, std::size_t batch = 250);
  // Queries a page and reads its messages in one request.
  EmailList page(const EmailQuery& query, std::uint64_t position, std::uint64_t limit, const EmailSelection& selection,
                 EmailPage* found = nullptr);
  Changes emailChanges(const std::string& since);  // throws stateTooOld

  // Each returns the failures by message id. A message that does not exist fails with notFound; destroying it is
  // success.
  using Failures = std::map<std::string, ServerFailure>;
  Failures setKeywords(std::span<const std::string> ids, const std::map<std::string, bool>& keywords);
  Failures setMailboxes(std::span<const std::string> ids, std::span<const std::string> mailboxIds);
  Failures destroy(std::span<const std::string> ids);

  // Not repeated if the answer is lost: the outcome is then unknown. Throws overQuota, tooLarge, badMessage; notFound
  // for the mailbox or the blob.
  Imported import(const EmailImport& message);

  // Empty if the server does not report quotas.
  std::vector<Quota> quotas();

 private:
  Failures update(std::span<const std::string> ids, const Json& patch);
  void checkNewName(const std::string& parent, const std::string& name);
  bool isGone(const std::string& mailboxId);
  void updateMailbox(const std::string& mailboxId, const Json& patch, const std::string& name);

  MailServer& server_;
  std::string id_;
};

}  // namespace fendrel::jmap
