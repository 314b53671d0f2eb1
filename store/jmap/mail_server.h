// A JMAP server (RFC 8620): its session, method calls, uploads and downloads.
//
// What passes by itself (a lost connection, a busy server) is asked again, a few times and for Settings::patience at
// most, where asking twice does no harm. Busy servers are waited for as long as their Retry-After says.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "http_client.h"
#include "mail_session.h"

namespace fendrel::jmap {

using Json = nlohmann::json;

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

  // Asked for once, then kept; the reference stays valid. Redirects on the same server are followed; another server is
  // not told the password (redirected). Throws noMail where the server has none, unauthorized, and what
  // HttpClient::send throws. A URL with a path is where the session is; one without asks where it is
  // (/.well-known/jmap).
  const MailSession& session();

  // One method call. Returns the arguments of its answer; an "error" answer is thrown.
  Json call(const MethodCall& method, Repeat repeat);

  // Several in one request; answers in their order. The first error is thrown. "#ids" and the like (RFC 8620, 3.7)
  // refer to a call by its place: "0", "1", ...
  std::vector<Json> calls(const std::vector<MethodCall>& methods, Repeat repeat);

  // Returns the blob's id. Throws tooLarge before a byte is sent where the server would not take so many.
  std::string upload(const std::string& account, const RequestBody& body);

  // The blob's bytes, all or those from `begin` on. Nothing is asked for again after bytes went to `to`. The pieces
  // are all there are unless it throws.
  void download(const std::string& account, const std::string& blob, const ByteSink& to, std::uint64_t begin = 0,
                std::optional<std::uint64_t> length = std::nullopt);

  // Waits as HttpClient does: throws cancelled.
  void wait(std::chrono::milliseconds time) const { client_.wait(time); }

  // "https://mail.example", for words.
  std::string name() const;
  const Settings& settings() const noexcept { return client_.settings(); }
  // Requests made so far, for tests and figures.
  std::uint64_t requestCount() const noexcept;

 private:
  // What came of one request, in memory.
  struct Answer {
    HttpAnswer head;
    std::string text;
  };

  Answer ask(const HttpRequest& request);
  MailSession discover();
  // Calls `once` again as the failure and `repeat` let it.
  void persist(Repeat repeat, const std::function<void()>& once);

  HttpClient client_;
  ServerAddress address_;
  std::mutex sessionMutex_;
  std::optional<MailSession> session_;
  std::atomic<std::uint64_t> requests_{0};
};

}  // namespace fendrel::jmap
