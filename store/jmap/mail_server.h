// A JMAP server (RFC 8620): its session, method calls, uploads and downloads.
//
// What passes by itself (a lost connection, a busy server) is asked again, a few times and for Settings::patience at
// most, where asking twice does no harm. Busy servers are waited for as long as their Retry-After says.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "http_client.h"

namespace fendrel::jmap {

using Json = nlohmann::json;

// What a server says of itself to a user.
struct MailSession {
  struct Account {
    std::string id, name;
    bool isPersonal = false;
    bool isReadOnly = false;
    bool mayCreateTopLevelMailbox = false;
  };
  struct Limits {
    std::uint64_t maxSizeUpload = 0;      // bytes; 0: not said
    std::uint64_t maxSizeRequest = 0;     // bytes
    std::uint64_t maxCallsInRequest = 1;
    std::uint64_t maxObjectsInGet = 0;
    std::uint64_t maxObjectsInSet = 0;
  };
  std::string userName;
  std::vector<Account> accounts;  // those with mail, the person's own first, then by name
  std::string primaryAccount;     // id of the person's own mail
  Limits limits;
  std::vector<std::string> capabilities;  // names, "urn:ietf:params:jmap:mail"
  ServerAddress apiUrl;
  std::string uploadUrl, downloadUrl;  // templates, whole URLs
};

struct MethodCall {
  std::string name;
  Json arguments;
};

// May a request be made again when its answer was lost?
enum class Repeat { always, never };

// Threads: any number at once.
class MailServer {
 public:
  explicit MailServer(Settings settings);

  // Asked for once, then kept. Redirects on the same server are followed; another server is not told the password
  // (redirected). Throws noMail where the server has none, unauthorized, and all that HttpClient::send throws.
  const MailSession& session();

  // One method call. Returns the arguments of its answer; an "error" answer is thrown.
  Json call(const MethodCall& method, Repeat repeat);

  // Several, in one request where the server's limits let them; answers in their order. The first error is thrown.
  // "#ids" and the like (RFC 8620, 3.7) refer to a call by its place: "0", "1", ...
  std::vector<Json> calls(const std::vector<MethodCall>& methods, Repeat repeat);

  // Returns the blob's id. Throws tooLarge before a byte is sent where the server would not take so many.
  std::string upload(const std::string& account, const RequestBody& body);

  // The blob's bytes, all or those from `begin` on. Nothing is asked for again after bytes went to `to`. The pieces
  // are all there are unless it throws.
  void download(const std::string& account, const std::string& blob, const ByteSink& to, std::uint64_t begin = 0,
                std::optional<std::uint64_t> length = std::nullopt);

  // "https://mail.example", for words.
  std::string name() const;
  const Settings& settings() const noexcept { return client_.settings(); }
  // Requests made so far, for tests and figures.
  std::uint64_t requestCount() const noexcept;

 private:
  class Asking;

  HttpClient client_;
  ServerAddress address_;
  std::mutex sessionMutex_;
  std::optional<MailSession> session_;
  std::atomic<std::uint64_t> requests_{0};
};

}  // namespace fendrel::jmap
