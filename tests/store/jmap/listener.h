// A listener on this machine that a test scripts: it plays a server, or stands between a client and the real one.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace fendrel::test {

// One connection that was accepted, on a thread of its own.
class ListenerConnection {
 public:
  ListenerConnection(std::uintptr_t accepted, const std::atomic<bool>& listenerEnds)
      : client(accepted), isEnding(listenerEnds) {}
  ~ListenerConnection();

  // The whole request: head, empty line, body. Empty where the client went before.
  std::string readRequest();
  void write(std::string_view bytes);
  // What comes from the client goes to that port of this machine, and back, until one of them goes; `fromClient` sees
  // the former.
  void passOn(std::uint16_t port, const std::function<void(std::string_view)>& fromClient);
  // Says and reads nothing more until the client goes, or the listener.
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

// What the server at that port answers to the request, byte by byte.
std::string answerOf(std::uint16_t port, std::string_view request);

// "HTTP/1.1 STATUS ..." with these headers, each with its line end, a length, and the body.
std::string answerWith(int status, std::string_view headers, std::string_view body);

}  // namespace fendrel::test
