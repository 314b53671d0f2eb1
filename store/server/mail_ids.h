// Identifiers of objects on a server: the account, and the object's id in it. Their separators are in no id of a server
// (RFC 8620, 1.2).
#pragma once

#include <string>
#include <string_view>

#include "id.h"

namespace fendrel::store {

struct MailId {
  std::string account, object;
};

inline Id idOf(const std::string& account, std::string_view object) { return Id(account + "/" + std::string(object)); }

// Both empty if `id` is not such an identifier.
inline MailId mailId(const Id& id) {
  const std::string_view text = id.text();
  const std::size_t slash = text.find('/');
  if (slash == std::string_view::npos) return {};
  return {std::string(text.substr(0, slash)), std::string(text.substr(slash + 1))};
}

// Includes the server: accounts of the same name on two servers are two stores.
inline Id storeIdOf(const std::string& account, const std::string& server) { return Id(account + "@" + server); }

// Folders that servers do not have. personalFolder shows the mailbox of associated messages, created when first needed.
constexpr std::string_view rootFolder = ".root", topFolder = ".top", personalFolder = ".personal";

// The name of that mailbox.
constexpr const char* personalMailboxName = "Fendrel Personal Reports";

}  // namespace fendrel::store
