#include "listener.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace fendrel::test {
namespace {

SOCKET newSocket() {
  static const int started = [] {
    WSADATA data{};
    return WSAStartup(MAKEWORD(2, 2), &data);
  }();
  const SOCKET socket = started == 0 ? ::socket(AF_INET, SOCK_STREAM, 0) : INVALID_SOCKET;
  if (socket == INVALID_SOCKET) throw std::runtime_error("no socket");
  return socket;
}

sockaddr_in addressOf(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

SOCKET connectTo(std::uint16_t port) {
  const SOCKET socket = newSocket();
  const sockaddr_in address = addressOf(port);
  if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    throw std::runtime_error("nobody listens at " + std::to_string(port));
  return socket;
}

// Appends the next bytes. Returns false when the connection or the listener ends.
bool receiveMore(SOCKET from, std::string& to, const std::atomic<bool>& isEnding) {
  for (int ready = 0; ready == 0;) {
    if (isEnding) return false;
    fd_set set;
    FD_ZERO(&set);
    FD_SET(from, &set);
    timeval turn{0, 50'000};
    ready = select(0, &set, nullptr, nullptr, &turn);
  }
  char piece[65536];
  const int count = recv(from, piece, sizeof piece, 0);
  if (count <= 0) return false;
  to.append(piece, static_cast<std::size_t>(count));
  return true;
}

bool sendAll(SOCKET to, std::string_view bytes) {
  while (!bytes.empty()) {
    const int count = send(to, bytes.data(), static_cast<int>(std::min<std::size_t>(bytes.size(), 1 << 20)), 0);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

std::size_t lengthIn(std::string_view head) {
  constexpr std::string_view field = "Content-Length: ";
  const std::size_t at = head.find(field);
  return at == std::string_view::npos ? 0 : std::stoull(std::string(head.substr(at + field.size(), 20)));
}

bool hasWholeRequest(const std::string& text) {
  const std::size_t end = text.find("\r\n\r\n");
  return end != std::string::npos && text.size() >= end + 4 + lengthIn(std::string_view(text).substr(0, end));
}

}  // namespace

ListenerConnection::~ListenerConnection() {
  shutdown(client, SD_BOTH);
  closesocket(client);
}

std::string ListenerConnection::readRequest() {
  std::string text;
  while (!hasWholeRequest(text))
    if (!receiveMore(client, text, isEnding)) return {};
  return text;
}

void ListenerConnection::write(std::string_view bytes) { sendAll(client, bytes); }

void ListenerConnection::passOn(std::uint16_t port, const std::function<void(std::string_view)>& fromClient) {
  const SOCKET server = connectTo(port);
  std::thread back([&] {
    for (std::string piece; receiveMore(server, piece, isEnding) && sendAll(client, piece);) piece.clear();
    shutdown(client, SD_BOTH);
  });
  for (std::string piece; receiveMore(client, piece, isEnding) && sendAll(server, piece);) {
    fromClient(piece);
    piece.clear();
  }
  shutdown(server, SD_BOTH);
  back.join();
  closesocket(server);
}

void ListenerConnection::stay() {
  std::string ignored;
  while (receiveMore(client, ignored, isEnding)) ignored.clear();
}

class Listener::Parts {
 public:
  explicit Parts(std::function<void(ListenerConnection&)> given) : serve(std::move(given)), socket(newSocket()) {
    sockaddr_in address = addressOf(0);
    int size = sizeof address;
    if (bind(socket, reinterpret_cast<const sockaddr*>(&address), size) != 0 || listen(socket, 20) != 0 ||
        getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0)
      throw std::runtime_error("no listener");
    port = ntohs(address.sin_port);
    accepting = std::thread([this] { accept(); });
  }

  ~Parts() {
    isEnding = true;
    closesocket(connectTo(port));  // wakes the accepting thread
    accepting.join();
    closesocket(socket);
    for (std::thread& thread : serving) thread.join();
  }

  void accept() {
    for (;;) {
      const SOCKET next = ::accept(socket, nullptr, nullptr);
      if (isEnding || next == INVALID_SOCKET) {
        closesocket(next);
        return;
      }
      serving.emplace_back([this, next] {
        ListenerConnection connection(next, isEnding);
        serve(connection);
      });
    }
  }

  std::function<void(ListenerConnection&)> serve;
  SOCKET socket;
  std::uint16_t port = 0;
  std::atomic<bool> isEnding{false};
  std::vector<std::thread> serving;
  std::thread accepting;
};

Listener::Listener(std::function<void(ListenerConnection&)> serve) : parts(std::make_unique<Parts>(std::move(serve))) {}
Listener::~Listener() = default;
std::uint16_t Listener::port() const { return parts->port; }
std::string Listener::url() const { return "http://localhost:" + std::to_string(port()); }

std::string answerOf(std::uint16_t port, std::string_view request) {
  static const std::atomic<bool> never{false};
  const SOCKET server = connectTo(port);
  sendAll(server, request);
  std::string answer;
  while (receiveMore(server, answer, never)) {
  }
  closesocket(server);
  return answer;
}

std::string answerWith(int status, std::string_view headers, std::string_view body) {
  return "HTTP/1.1 " + std::to_string(status) + " Whatever\r\n" + std::string(headers) +
         "Content-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + std::string(body);
}

}  // namespace fendrel::test
