// A listener on this machine that a test scripts: a server, or a proxy in front of the real one.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace fendrel::test {

// An accepted connection. Each has its own thread.
class ListenerConnection {
 public:
  ListenerConnection(std::uintptr_t accepted, const std::atomic<bool>& listenerEnds)
      : client(accepted), isEnding(listenerEnds) {}
  ~ListenerConnection();

  // The whole request: head, empty line, body. Empty if the client disconnects first.
  std::string readRequest();
  void write(std::string_view bytes);
  // Forwards bytes between the client and that port of this machine until one of them disconnects. `fromClient` sees
  // the client's bytes.
  void passOn(std::uint16_t port, const std::function<void(std::string_view)>& fromClient);
  // Sends nothing more and ignores what comes, until the client or the listener ends.
  void stay();

 private:
  std::uintptr_t client;
  const std::atomic<bool>& isEnding;
};

class Listener {
 public:
  explicit Listener(std::function<void(ListenerConnection&)> serve);
  ~Listener();  // ends all connections
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  std::uint16_t port() const;
  std::string url() const;  // "http://localhost:PORT"

 private:
  class Parts;
  std::unique_ptr<Parts> parts;
};

// The whole answer, with its head, of the server at that port.
std::string answerOf(std::uint16_t port, std::string_view request);

// An answer with these headers, each with its line end, a Content-Length and the body.
std::string answerWith(int status, std::string_view headers, std::string_view body);

}  // namespace fendrel::test
