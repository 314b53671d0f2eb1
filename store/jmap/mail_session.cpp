#include "mail_session.h"

#include <algorithm>

#include "json_reading.h"

namespace fendrel::jmap {
namespace {

constexpr const char* mail = "urn:ietf:params:jmap:mail";

bool isMore(const MailSession::Account& left, const MailSession::Account& right) {
  return left.isPersonal != right.isPersonal ? left.isPersonal : left.name < right.name;
}

}  // namespace

std::optional<MailSession> readSession(const nlohmann::json& document, const ServerAddress& from) {
  const std::string apiUrl = textOf(document, "apiUrl");
  if (apiUrl.empty() || !member(document, "capabilities").is_object()) return std::nullopt;
  MailSession session;
  session.userName = textOf(document, "username");
  for (const auto& [capability, value] : member(document, "capabilities").items())
    session.capabilities.push_back(capability);
  const nlohmann::json& core = member(member(document, "capabilities"), "urn:ietf:params:jmap:core");
  session.limits = {numberOf(core, "maxSizeUpload"), numberOf(core, "maxSizeRequest"),
                    numberOf(core, "maxCallsInRequest"), numberOf(core, "maxObjectsInGet"),
                    numberOf(core, "maxObjectsInSet")};
  session.primaryAccount = textOf(member(document, "primaryAccounts"), mail);
  for (const auto& [id, account] : member(document, "accounts").items()) {
    const nlohmann::json& ofMail = member(member(account, "accountCapabilities"), mail);
    if (!ofMail.is_object()) continue;
    session.accounts.push_back({id, textOf(account, "name"), flagOf(account, "isPersonal"),
                                flagOf(account, "isReadOnly"), flagOf(ofMail, "mayCreateTopLevelMailbox")});
  }
  if (session.accounts.empty()) return std::nullopt;
  std::ranges::sort(session.accounts, isMore);
  session.apiUrl = resolve(from, apiUrl);
  session.base = from;
  session.uploadUrl = textOf(document, "uploadUrl");
  session.downloadUrl = textOf(document, "downloadUrl");
  return session;
}

}  // namespace fendrel::jmap
