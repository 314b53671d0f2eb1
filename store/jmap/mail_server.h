// A JMAP server (RFC 8620): its session, method calls, uploads and downloads.
//
// Transient failures (a lost connection, a busy server) are retried a few times, for Settings::patience at most, if
// repeating is safe. A busy server's Retry-After is respected.
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

// Whether a request may be repeated if its answer is lost.
enum class Repeat { always, never };

// Threads: any number at once.
class MailServer {
 public:
  explicit MailServer(Settings settings);

  // Read once, then kept; the reference stays valid. If the URL has a path, the session is read there, else from
  // /.well-known/jmap. Redirects on the same server are followed; one to another server throws redirected, and that
  // server does not get the password. Throws noMail if the server has no JMAP mail, unauthorized, and what
  // HttpClient::send throws.
  const MailSession& session();

  // One method call. Returns the arguments of the response; an "error" response is thrown.
  Json call(const MethodCall& method, Repeat repeat);

  // Several in one request. Returns their responses in the same order; the first error is thrown. Back-references
  // ("#ids"; RFC 8620, 3.7) name a call by its index: "0", "1", ...
  std::vector<Json> calls(const std::vector<MethodCall>& methods, Repeat repeat);

  // Returns the blob's id. Throws tooLarge, before a byte is sent, if the body exceeds the server's limit.
  std::string upload(const std::string& account, const RequestBody& body);

  // Passes the blob's bytes, all or those from `begin` on, to `to`. After a lost connection it goes on with the first
  // byte that `to` has not got. Throws unless all bytes were passed.
  void download(const std::string& account, const std::string& blob, const ByteSink& to, std::uint64_t begin = 0,
                std::optional<std::uint64_t> length = std::nullopt);

  // As HttpClient::wait().
  void wait(std::chrono::milliseconds time) const { client_.wait(time); }

  // "https://mail.example", for messages.
  std::string name() const;
  const Settings& settings() const noexcept { return client_.settings(); }
  // Requests made so far, for tests and figures.
  std::uint64_t requestCount() const noexcept;

 private:
  // A whole answer, in memory.
  struct Answer {
    HttpAnswer head;
    std::string text;
  };

  Answer ask(const HttpRequest& request);
  MailSession discover();
  // Calls `once`, and again if the failure and `repeat` allow it.
  void persist(Repeat repeat, const std::function<void()>& once);

  HttpClient client_;
  ServerAddress address_;
  std::mutex sessionMutex_;
  std::optional<MailSession> session_;
  std::atomic<std::uint64_t> requests_{0};
};

}  // namespace fendrel::jmap
