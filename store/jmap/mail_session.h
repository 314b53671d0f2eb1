// The session: what a server offers to a user (RFC 8620, 2).
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "server_address.h"

namespace fendrel::jmap {

struct MailSession {
  struct Account {
    std::string id, name;
    bool isPersonal = false;
    bool isReadOnly = false;
    bool mayCreateTopLevelMailbox = false;
  };
  struct Limits {                      // 0: unknown
    std::uint64_t maxSizeUpload = 0;   // bytes
    std::uint64_t maxSizeRequest = 0;  // bytes
    std::uint64_t maxCallsInRequest = 0;
    std::uint64_t maxObjectsInGet = 0;
    std::uint64_t maxObjectsInSet = 0;
  };
  std::string userName;
  std::vector<Account> accounts;  // those with mail: personal ones first, then by name
  std::string primaryAccount;     // id of the user's own mail
  Limits limits;
  std::vector<std::string> capabilities;  // names, "urn:ietf:params:jmap:mail"
  ServerAddress apiUrl;
  ServerAddress base;                  // of relative templates
  std::string uploadUrl, downloadUrl;  // templates
};

// Returns nullopt if the document is not the session of a server with mail. Throws badAddress.
std::optional<MailSession> readSession(const nlohmann::json& document, const ServerAddress& from);

}  // namespace fendrel::jmap
