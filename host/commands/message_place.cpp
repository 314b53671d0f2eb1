#include "message_place.h"

#include <fmt/format.h>

#include <charconv>

#include "text.h"

namespace fendrel::host {

void MessagePlace::addOptions(CLI::App& command) {
  command.add_option("PATH", path, "The folder: names joined by '@', message store first");
  command.add_flag("--personal", personal, "Instead of PATH: the personal reports of the default store");
  command.add_flag("--hidden", hidden, "The folder's hidden (associated) messages instead of the ordinary ones");
}

OpenFolder MessagePlace::open(Session& session) const {
  if (personal) return session.personalReports();
  return session.walk(toWide(path));
}

std::uint64_t messageNumber(const std::string& given) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(given.data(), given.data() + given.size(), number);
  if (error != std::errc() || end != given.data() + given.size() || number == 0)
    throw Failure(ExitCode::wrongUsage,
                  fmt::format("'{}' is not a message number. \"fendrel list\" shows the numbers, beginning with 1.",
                              printable(given)));
  return number;
}

}  // namespace fendrel::host
