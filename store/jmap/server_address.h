// A server's address: the parts of a URL.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fendrel::jmap {

struct ServerAddress {
  bool isSecure = true;  // https
  std::string host;      // as written, lower case; a name or an IPv4 address
  std::uint16_t port = 443;
  std::string path;  // begins with "/"; includes the query, not the fragment

  bool isThisMachine() const;
  bool isSameServer(const ServerAddress& other) const {
    return isSecure == other.isSecure && host == other.host && port == other.port;
  }
  std::string server() const;  // "https://mail.example", with the port unless it is the default
  std::string text() const { return server() + path; }
};

// "https://mail.example:8443/path". Throws badAddress; also for http, except on this machine (localhost, 127.0.0.0/8),
// and for a URL with a name or password in it, because URLs get into logs.
ServerAddress parseAddress(std::string_view url);

// Resolves an absolute or relative URL in a document from `base`. Throws badAddress.
ServerAddress resolve(const ServerAddress& base, std::string_view url);

// Encodes everything but letters, digits, "-", "_", "." and "~" as %XX.
std::string percentEncoded(std::string_view text);

}  // namespace fendrel::jmap
