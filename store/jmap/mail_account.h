// One account of a server: its mailboxes and messages (RFC 8621).
//
// Every call may throw what MailServer throws, and notFound, noAccess, overQuota where the server says so. An answer
// that was lost is asked for again, and what the first asking has done already is success; deliver.h says how for new
// messages.
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
  std::string parentId;  // empty: at the top
  std::string name;
  std::string role;  // "inbox", "trash" ...; empty: none
  std::uint64_t messageCount = 0, unreadCount = 0;
  MailboxRights rights;
};

// A state names what was read (RFC 8620, 5.2): it is what changes() wants.
struct MailboxList {
  std::vector<Mailbox> mailboxes;
  std::string state;
};

struct Changes {
  std::vector<std::string> created, updated, destroyed;
  std::string state;     // after these changes
  bool hasMore = false;  // ask again, from that state
};

// Which messages, and in which order. Empty or unset: no such condition.
struct EmailQuery {
  std::string mailbox;
  std::vector<std::string> withKeywords, withoutKeywords;
  std::string headerName, headerValue;  // a header that holds this text somewhere
  Json filter;                          // more conditions, as the server takes them; null: none
  std::string sortBy = "receivedAt";    // or "sentAt", "subject", "from", "size"
  bool ascending = true;
};

struct EmailPage {
  std::vector<std::string> ids;
  std::uint64_t position = 0;  // of the first one
  std::uint64_t total = 0;
};

// What a message is read with: `properties` as the server calls them ("subject", "header:X-Message-Class:asText"). Body
// values are asked for by those that have fetchTextValues set, cut to longestValue bytes each (0: whole).
struct EmailSelection {
  std::vector<std::string> properties;
  std::vector<std::string> bodyProperties;
  bool fetchTextValues = false;  // of the parts that are shown as text
  bool fetchAllValues = false;   // of every part that is text
  std::uint64_t longestValue = 0;
};

struct EmailList {
  std::vector<Json> emails;  // in the order of the ids; without those that are gone
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
  bool wasThere = false;  // the server had a message of the very same bytes, somewhere in the account
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
  // Its id, where there is one of that name.
  std::optional<std::string> findMailbox(const std::string& parent, const std::string& name);
  // Its id. parent empty: at the top. Throws nameTaken, noAccess; notFound: the parent.
  std::string createMailbox(const std::string& parent, const std::string& name);
  // Throws nameTaken, noAccess, notFound.
  void renameMailbox(const std::string& mailboxId, const std::string& name);
  void moveMailbox(const std::string& mailboxId, const std::string& parent);
  // Throws hasMailboxes, noAccess, and hasMessages unless those are to go too.
  void deleteMailbox(const std::string& mailboxId, bool withMessages);
  Changes mailboxChanges(const std::string& since);  // throws stateTooOld

  // `limit` ids from `position` on.
  EmailPage query(const EmailQuery& query, std::uint64_t position, std::uint64_t limit);
  // The id at hand of each message in a mailbox that has exactly this Message-ID, "<left@right>".
  std::vector<std::string> findByMessageId(const std::string& mailboxId, const std::string& messageId);

  // In batches of `batch` (50 to 500, as the server's limits let).
  EmailList emails(std::span<const std::string> ids, const EmailSelection& selection, std::size_t batch = 250);
  // One page in one request: query and what is to be read of its messages.
  EmailList page(const EmailQuery& query, std::uint64_t position, std::uint64_t limit, const EmailSelection& selection,
                 EmailPage* found = nullptr);
  Changes emailChanges(const std::string& since);  // throws stateTooOld

  // What is done to each message; failures by id, those that are gone as notFound, except that to destroy what is gone
  // is success.
  using Failures = std::map<std::string, ServerFailure>;
  Failures setKeywords(std::span<const std::string> ids, const std::map<std::string, bool>& keywords);
  Failures setMailboxes(std::span<const std::string> ids, std::span<const std::string> mailboxIds);
  Failures destroy(std::span<const std::string> ids);

  // One asking; `lost` means that nobody knows. Throws overQuota, tooLarge, badMessage; notFound: the mailbox or the
  // blob.
  Imported import(const EmailImport& message);

  // None where the server does not say.
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
