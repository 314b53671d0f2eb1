#include "server_examination.h"

// clang-format off
#include <winsock2.h>
#include <ws2tcpip.h>
// clang-format on

#include <algorithm>

#include "database_profiles.h"
#include "mail_account.h"
#include "secret.h"
#include "server_profile.h"
#include "server_status.h"
#include "unicode.h"
#include "wide_text.h"

namespace fendrel::store {
namespace {

using jmap::FailureKind;
using jmap::ServerFailure;

constexpr std::size_t mostAddresses = 4;
constexpr std::string_view standardCapability = "urn:ietf:params:jmap:";

template <class Work>
auto asking(Work&& work) {
  try {
    return work();
  } catch (const ServerFailure& failure) {
    throw StatusFailure(statusOf(failure.kind), failure.text);
  }
}

std::u16string wideText(const std::wstring& text) { return {text.begin(), text.end()}; }

// As numbers; none if only a proxy knows the name.
std::vector<std::string> addressesOf(const std::string& host) {
  WSADATA data{};
  if (WSAStartup(MAKEWORD(2, 2), &data) != 0) return {};
  std::vector<std::string> addresses;
  ADDRINFOW wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  ADDRINFOW* found = nullptr;
  if (GetAddrInfoW(jmap::toWide(host).c_str(), nullptr, &wanted, &found) == 0) {
    for (const ADDRINFOW* one = found; one && addresses.size() < mostAddresses; one = one->ai_next) {
      wchar_t text[NI_MAXHOST] = L"";
      const auto size = static_cast<socklen_t>(one->ai_addrlen);
      if (GetNameInfoW(one->ai_addr, size, text, NI_MAXHOST, nullptr, 0, NI_NUMERICHOST) != 0) continue;
      std::string address = jmap::toUtf8(text);
      if (std::ranges::find(addresses, address) == addresses.end()) addresses.push_back(std::move(address));
    }
    FreeAddrInfoW(found);
  }
  WSACleanup();
  return addresses;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

}  // namespace

class ServerExamination::Parts {
 public:
  Parts(const Profile& profile, jmap::Settings given, bool hasSecret)
      : access(*profile.server),
        user(profile.userName),
        settings(std::move(given)),
        isSecretRead(hasSecret),
        address(jmap::parseAddress(settings.url)) {}

  // One request, without user name and secret, tests the connection to the server.
  void probe() {
    if (isProbed_) return;
    isProbed_ = true;
    jmap::Settings anonymous = settings;
    anonymous.user.clear();
    anonymous.secret.clear();
    std::unique_ptr<jmap::HttpClient> client;
    try {
      client = std::make_unique<jmap::HttpClient>(anonymous);
    } catch (const ServerFailure& failure) {
      ofIssuers = failure;
      anonymous.tlsCaFile.clear();
      client = std::make_unique<jmap::HttpClient>(anonymous);
    }
    jmap::HttpRequest request;
    request.address = address;
    request.withCredentials = false;
    try {
      client->send(request, [](const jmap::HttpAnswer&, std::span<const std::byte>) {});
    } catch (const ServerFailure& failure) {
      ofWay = failure;
    }
  }

  bool hasFailed(std::initializer_list<FailureKind> kinds) const {
    return ofWay && std::ranges::find(kinds, ofWay->kind) != kinds.end();
  }

  jmap::MailServer& server() {
    if (!opened_) opened_ = std::make_unique<jmap::MailServer>(settings);
    return *opened_;
  }

  const ServerAccess access;
  const std::u16string user;
  const jmap::Settings settings;
  const bool isSecretRead;
  const jmap::ServerAddress address;
  std::optional<ServerFailure> ofIssuers, ofWay;

 private:
  bool isProbed_ = false;
  std::unique_ptr<jmap::MailServer> opened_;
};

std::unique_ptr<ServerExamination> ServerExamination::of(const std::wstring& name, const std::wstring& password,
                                                         std::function<bool()> isCancelled) {
  std::shared_ptr<ProfileBook> profiles;
  Profile profile;
  Status status = openProfileBook(profiles);
  if (status == Status::Ok) status = profiles->find(wideText(name), profile);
  if (status != Status::Ok) {
    throw StatusFailure(status == Status::NotFound ? Status::NotFound : Status::Failed,
                        "The profile '" + jmap::toUtf8(name) + "' cannot be read.");
  }
  if (!profile.server) return nullptr;
  std::u16string secret = wideText(password);
  const bool isSecretRead = !secret.empty() || openSecret(profile.server->sealedSecret, secret);
  return asking([&] {
    jmap::Settings settings = settingsOf(*profile.server, secret);
    wipe(secret);
    settings.isCancelled = std::move(isCancelled);
    auto parts = std::make_unique<Parts>(profile, std::move(settings), isSecretRead);
    return std::unique_ptr<ServerExamination>(new ServerExamination(std::move(parts)));
  });
}

ServerExamination::ServerExamination(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}
ServerExamination::~ServerExamination() = default;

std::string ServerExamination::lookAtName() {
  return asking([&] {
    parts_->probe();
    if (parts_->hasFailed({FailureKind::unknownName})) throw *parts_->ofWay;
    const std::string addresses = joined(addressesOf(parts_->address.host));
    return parts_->address.host + " is " + (addresses.empty() ? "known to the proxy" : addresses);
  });
}

std::string ServerExamination::lookAtConnection() {
  return asking([&] {
    parts_->probe();
    if (parts_->ofWay && !parts_->hasFailed({FailureKind::untrusted, FailureKind::wrongName, FailureKind::tls})) {
      throw *parts_->ofWay;
    }
    return "port " + std::to_string(parts_->address.port) + " answers";
  });
}

std::string ServerExamination::lookAtCertificate() {
  return asking([&]() -> std::string {
    parts_->probe();
    if (parts_->ofIssuers) throw *parts_->ofIssuers;
    if (parts_->ofWay) throw *parts_->ofWay;
    if (!parts_->address.isSecure) return "none, and none is needed on this machine";
    const std::string trusting = parts_->settings.tlsCaFile.empty() ? "" : " or this profile (--tls-ca)";
    return "is for " + parts_->address.host + ", from an issuer that this machine" + trusting + " trusts";
  });
}

std::string ServerExamination::lookAtSession() {
  if (!parts_->isSecretRead) {
    throw StatusFailure(Status::LogonFailed,
                        "The password that the profile keeps can be read by the user who set it alone, on that "
                        "machine. Set it again with: fendrel profile password NAME");
  }
  return asking([&] {
    const std::string name = parts_->server().session().userName;
    return "signed in" + (name.empty() ? "" : " as '" + name + "'") + " at " + parts_->server().name();
  });
}

std::string ServerExamination::lookAtCapabilities() {
  return asking([&] {
    std::vector<std::string> known = parts_->server().session().capabilities;
    std::erase_if(known, [](const std::string& one) { return !one.starts_with(standardCapability); });
    for (std::string& one : known) one.erase(0, standardCapability.size());
    if (std::ranges::find(known, "mail") == known.end()) {
      throw StatusFailure(Status::Unreachable,
                          parts_->server().name() + " speaks JMAP, but not for mail. Ask its administrator.");
    }
    return joined(known);
  });
}

std::string ServerExamination::lookAtAccounts() {
  return asking([&] {
    const jmap::MailSession& session = parts_->server().session();
    std::vector<std::string> found;
    bool hasOwn = false, hasPublic = parts_->access.publicAccount.empty();
    for (const jmap::MailSession::Account& account : session.accounts) {
      const std::u16string store = storeNameOf(parts_->access, parts_->user, session, account);
      hasOwn = hasOwn || account.id == session.primaryAccount;
      hasPublic = hasPublic || isPublicAccount(parts_->access, account);
      found.push_back("'" + account.name + "' as '" + toUtf8(store) + "'" +
                      (account.isReadOnly ? " (to be read only)" : ""));
    }
    const std::string there = " There is " + joined(found) + ".";
    if (!hasOwn) {
      throw StatusFailure(Status::NotFound, parts_->server().name() + " names no account as the user's own." + there);
    }
    if (!hasPublic) {
      throw StatusFailure(Status::NotFound,
                          parts_->server().name() + " has no account '" + toUtf8(parts_->access.publicAccount) +
                              "' for this user, which the profile names as public (--public)." + there);
    }
    return joined(found);
  });
}

std::optional<ServerExamination::Quota> ServerExamination::quotaOf(const std::wstring& store) {
  return asking([&]() -> std::optional<Quota> {
    const jmap::MailSession& session = parts_->server().session();
    std::string id = session.primaryAccount;
    for (const jmap::MailSession::Account& account : session.accounts) {
      if (storeNameOf(parts_->access, parts_->user, session, account) == wideText(store)) id = account.id;
    }
    std::optional<Quota> least;
    const auto room = [](const Quota& quota) { return quota.limit - std::min(quota.limit, quota.used); };
    for (const jmap::Quota& one : jmap::MailAccount(parts_->server(), id).quotas()) {
      const Quota quota{one.used, one.limit};
      if (!least || room(quota) < room(*least)) least = quota;
    }
    return least;
  });
}

std::uint64_t ServerExamination::largestUpload() {
  return asking([&] { return parts_->server().session().limits.maxSizeUpload; });
}

}  // namespace fendrel::store
