// HTTP over WinHTTP: one request, one answer, one connection.
//
// The system does connections, TLS and proxies. Every step is awaited in short turns: a request ends about a second
// after Settings::isCancelled at the latest, and with timedOut if nothing moves for Settings::patience. Redirects are
// not followed. Certificates are always checked. With Settings::tlsCaFile this client, and nothing else, also trusts
// the issuers in that file: it checks the chain with them before it sends anything of the request.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "server_address.h"
#include "server_failure.h"

namespace fendrel::jmap {

using ByteSink = std::function<void(std::span<const std::byte>)>;

struct Settings {
  std::string url;         // the server's: "https://mail.example"
  std::string user;        // empty: `secret` is a bearer token
  std::string secret;      // the password
  std::wstring tlsCaFile;  // issuers' certificates in PEM or DER; empty: only the machine's
  // How long a request waits for the next event, and how long a request to a busy server is retried.
  std::chrono::milliseconds patience{60'000};
  // Called several times a second, on the calling thread, while a request waits; true ends the request. May be empty.
  // Must not throw.
  std::function<bool()> isCancelled;
};

// `write` passes exactly `length` bytes to the sink, in pieces of any size. It is called once for each attempt and must
// pass the same bytes each time. send() lets its exceptions through.
struct RequestBody {
  std::string type;  // a media type
  std::uint64_t length = 0;
  std::function<void(const ByteSink&)> write;
};

struct HttpRequest {
  const char* method = "GET";
  ServerAddress address;
  std::optional<RequestBody> body;
  bool withCredentials = true;
  // The range of the answer to ask for; the server may ignore it and send everything.
  std::uint64_t rangeBegin = 0;
  std::optional<std::uint64_t> rangeLength;
};

struct HttpAnswer {
  int status = 0;
  std::string type;                                // without parameters, lower case
  std::string location;                            // of a redirect
  std::optional<std::chrono::seconds> retryAfter;  // from seconds or a date
  std::uint64_t length = 0;                        // bytes received
};

// Gets the answer's bytes in pieces of at most 64 KiB. `head.length` counts the bytes of earlier pieces.
using AnswerSink = std::function<void(const HttpAnswer& head, std::span<const std::byte> bytes)>;

// Threads: any number at once.
class HttpClient {
 public:
  explicit HttpClient(Settings settings);
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  // Returns an answer of any status. An answer that ends before its Content-Length is `lost`, after `to` has got its
  // pieces. An exception of `to` ends the request and leaves send(). Throws cancelled, unknownName, refused, timedOut,
  // lost, untrusted, wrongName, tls.
  HttpAnswer send(const HttpRequest& request, const AnswerSink& to);

  const Settings& settings() const noexcept;

  // Waits for that time. Throws cancelled if isCancelled returns true meanwhile.
  void wait(std::chrono::milliseconds time) const;

 private:
  class Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace fendrel::jmap
