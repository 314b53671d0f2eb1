#include "server_address.h"

#include <shlwapi.h>
#include <windows.h>
#include <winhttp.h>

#include <algorithm>

#include "server_failure.h"
#include "wide_text.h"

namespace fendrel::jmap {
namespace {

constexpr std::size_t longestUrl = 8192;

[[noreturn]] void refuse(std::string_view url, const char* why) {
  // A password in the URL must not appear in the message.
  const bool isSecret = url.find('@') != std::string_view::npos;
  throw ServerFailure{FailureKind::badAddress, (isSecret ? "That" : "'" + std::string(url) + "'") +
                                                   " is not the address of a mail server: " + why};
}

bool isHostCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

}  // namespace

bool ServerAddress::isThisMachine() const {
  const bool isLoopback = host.starts_with("127.") && host.find_first_not_of("0123456789.") == std::string::npos;
  return host == "localhost" || isLoopback;
}

std::string ServerAddress::server() const {
  std::string text = (isSecure ? "https://" : "http://") + host;
  if (port != (isSecure ? 443 : 80)) text += ':' + std::to_string(port);
  return text;
}

ServerAddress parseAddress(std::string_view url) {
  const std::wstring wide = toWide(url);
  URL_COMPONENTS parts{};
  parts.dwStructSize = sizeof parts;
  parts.dwHostNameLength = parts.dwUserNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength = 1;  // wanted
  if (wide.size() > longestUrl || !WinHttpCrackUrl(wide.c_str(), static_cast<DWORD>(wide.size()), 0, &parts))
    refuse(url, "it does not look like https://mail.example.");
  if (parts.dwUserNameLength > 0) refuse(url, "it must not hold a name or password.");
  ServerAddress address;
  address.isSecure = parts.nScheme == INTERNET_SCHEME_HTTPS;
  address.port = parts.nPort;
  std::wstring host(parts.lpszHostName, parts.dwHostNameLength);
  CharLowerBuffW(host.data(), static_cast<DWORD>(host.size()));
  address.host = toUtf8(host);
  if (address.host.empty() || !std::ranges::all_of(address.host, isHostCharacter))
    refuse(url, "its host is not a name.");
  // The path and the query, which are contiguous.
  const std::wstring path(parts.lpszUrlPath ? parts.lpszUrlPath : L"", parts.dwUrlPathLength + parts.dwExtraInfoLength);
  address.path = toUtf8(path.substr(0, path.find(L'#')));
  if (!address.path.starts_with('/')) address.path.insert(0, 1, '/');
  if (std::ranges::any_of(address.path, [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == 0x7F; }))
    refuse(url, "its path has blanks.");
  if (!address.isSecure && !address.isThisMachine())
    refuse(url, "it must begin with https://, so that no password goes out in clear.");
  return address;
}

ServerAddress resolve(const ServerAddress& base, std::string_view url) {
  std::wstring whole(longestUrl, L'\0');
  DWORD length = longestUrl;
  if (FAILED(UrlCombineW(toWide(base.text()).c_str(), toWide(url).c_str(), whole.data(), &length, 0)))
    refuse(url, "it is not a URL.");
  whole.resize(length);
  return parseAddress(toUtf8(whole));
}

std::string percentEncoded(std::string_view text) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const auto value = static_cast<unsigned char>(c);
    const bool isPlain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
                         c == '_' || c == '.' || c == '~';
    if (isPlain)
      result += c;
    else
      result += {'%', digits[value >> 4], digits[value & 15]};
  }
  return result;
}

}  // namespace fendrel::jmap
