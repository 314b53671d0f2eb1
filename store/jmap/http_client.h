// HTTP over WinHTTP: one request, one answer, one connection, always within bounds.
//
// The system does connections, TLS and proxies. Every step is awaited in short turns, so that a request ends within a
// second of Settings::isCancelled, and with timedOut when nothing moves for Settings::patience. Redirects are not
// followed. TLS is checked always; with Settings::tlsCaFile the issuers of that file are trusted besides the machine's,
// by this client alone: the chain is built a second time with them before anything of the request is sent.
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
  std::string url;         // of the server: "https://mail.example"
  std::string user;        // empty: `secret` is a bearer token
  std::string secret;      // the password
  std::wstring tlsCaFile;  // certificates of issuers in PEM or DER; empty: the machine's alone
  // How long a request waits for the next thing to happen, and how long a busy server is asked again.
  std::chrono::milliseconds patience{60'000};
  // Asked several times a second, on the calling thread, while a request waits; true ends it. Empty: never. Must not
  // throw.
  std::function<bool()> isCancelled;
};

// What is sent: `write` hands exactly `length` bytes to the sink, in pieces of any size. It is called once for each
// time the request is made and must hand over the same bytes each time; what it throws leaves send() unchanged.
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
  // Bytes of the answer that are asked for, from the first on; the server may hand over all the same.
  std::uint64_t rangeBegin = 0;
  std::optional<std::uint64_t> rangeLength;
};

struct HttpAnswer {
  int status = 0;
  std::string type;                                // without parameters, lower case
  std::string location;                            // of a redirect
  std::optional<std::chrono::seconds> retryAfter;  // given as a number or as a date
  std::uint64_t length = 0;                        // bytes that came
};

// Gets the answer's bytes as they come, in pieces of at most 64 KiB, with its head; `length` counts those of before.
using AnswerSink = std::function<void(const HttpAnswer& head, std::span<const std::byte> bytes)>;

// Threads: any number at once.
class HttpClient {
 public:
  explicit HttpClient(Settings settings);
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  // Answers with any status. An answer that ends before its Content-Length is `lost`, after its pieces have gone to
  // `to`. What `to` throws ends the request and leaves send(). Throws cancelled, unknownName, refused, timedOut, lost,
  // untrusted, wrongName, tls.
  HttpAnswer send(const HttpRequest& request, const AnswerSink& to);

  const Settings& settings() const noexcept;

  // Ends with cancelled when isCancelled says so; else waits for that time.
  void wait(std::chrono::milliseconds time) const;

 private:
  class Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace fendrel::jmap
