#include "mail_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "wide_text.h"

namespace fendrel::test {

std::string mailVariable(const char* name) {
  const char* value = std::getenv(name);
  if (!value) throw std::runtime_error(std::string(name) + " is not set: run this program with tools/mail-server run");
  return value;
}

jmap::Settings mailSettings(const std::string& user) {
  jmap::Settings settings;
  settings.url = "http://localhost:" + mailVariable("FENDREL_MAIL_HTTP");
  settings.user = user;
  settings.secret = mailVariable("FENDREL_MAIL_PASSWORD");
  return settings;
}

jmap::Settings secureMailSettings(const std::string& user) {
  jmap::Settings settings = mailSettings(user);
  settings.url = "https://localhost:" + mailVariable("FENDREL_MAIL_HTTPS");
  settings.tlsCaFile = certificateFile();
  return settings;
}

std::uint16_t mailPort() { return static_cast<std::uint16_t>(std::stoi(mailVariable("FENDREL_MAIL_HTTP"))); }

std::wstring certificateFile() {
  std::wstring path = jmap::toWide(mailVariable("FENDREL_MAIL_CA"));
  if (!path.starts_with(L'/')) return path;
  std::ranges::replace(path, L'/', L'\\');  // as Wine sees it
  return L"Z:" + path;
}

}  // namespace fendrel::test
