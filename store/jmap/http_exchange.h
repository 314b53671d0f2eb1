// One request through asynchronous WinHTTP. WinHTTP works on its own threads; each step is started here and awaited in
// short turns, because nothing else ends a wait on every system.
#pragma once

#include <windows.h>
#include <winhttp.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "http_client.h"
#include "tls_issuers.h"

namespace fendrel::jmap {

constexpr std::size_t pieceSize = 64 * 1024;

// With its text; `error` is the system's.
ServerFailure connectionFailure(FailureKind kind, const std::string& server, DWORD error);

class HttpExchange {
 public:
  // `session` is asynchronous. If `issuers` is null, only the system checks the certificate. A probe goes on with any
  // certificate; refusal() then says what is wrong with it.
  HttpExchange(HINTERNET session, const HttpRequest& request, const Settings& settings,
               std::shared_ptr<const TlsIssuers> issuers, bool isProbe = false);
  ~HttpExchange();
  HttpExchange(const HttpExchange&) = delete;
  HttpExchange& operator=(const HttpExchange&) = delete;

  // Call in this order. All throw ServerFailure.
  void sendHead(const std::wstring& headers, std::uint64_t bodyLength);
  void sendPiece(std::span<const std::byte> piece);  // at most pieceSize bytes
  // A long body gets more time: the server may have to process it first.
  void receiveHead(std::uint64_t bodyLength);
  std::span<const std::byte> readPiece();  // empty: the end; valid until the next call

  DWORD status() const;
  std::wstring header(DWORD which) const;  // WINHTTP_QUERY_...; empty if missing

  std::optional<FailureKind> refusal() const;  // of the server's certificate

 private:
  struct State;
  struct CloseHandle {
    void operator()(void* handle) const noexcept { WinHttpCloseHandle(handle); }
  };

  static void CALLBACK onStatus(HINTERNET handle, DWORD_PTR context, DWORD status, void* information, DWORD length);
  void begun(BOOL success, std::chrono::milliseconds patience);
  [[noreturn]] void fail(DWORD error) const;

  const Settings& settings_;
  std::string server_;
  std::unique_ptr<void, CloseHandle> connection_;
  HINTERNET request_ = nullptr;
  DWORD_PTR context_ = 0;
  std::shared_ptr<State> state_;
};

}  // namespace fendrel::jmap
