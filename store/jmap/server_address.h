// Where a server is: the parts of a URL.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fendrel::jmap {

struct ServerAddress {
  bool isSecure = true;  // https
  std::string host;      // as written, lower case; a name or an IPv4 address
  std::uint16_t port = 443;
  std::string path;  // begins with "/"; a query is part of it, a fragment is not

  bool isThisMachine() const;
  bool isSameServer(const ServerAddress& other) const {
    return isSecure == other.isSecure && host == other.host && port == other.port;
  }
  std::string server() const;  // "https://mail.example", the port where it is not the scheme's own
  std::string text() const { return server() + path; }
};

// "https://mail.example:8443/path". http is for this machine alone (localhost, 127.0.0.0/8); a URL with a name or
// password in it is refused, because URLs get into logs. Throws badAddress.
ServerAddress parseAddress(std::string_view url);

// What a URL means in a document that came from `base`: whole, or relative. Throws badAddress.
ServerAddress resolve(const ServerAddress& base, std::string_view url);

// The text with everything but letters, digits, "-", "_", "." and "~" as %XX.
std::string percentEncoded(std::string_view text);

}  // namespace fendrel::jmap
