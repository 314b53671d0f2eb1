#include "server_words.h"

#include <nlohmann/json.hpp>

#include "json_reading.h"

namespace fendrel::jmap {
namespace {

constexpr std::size_t longestWords = 300;

// " (words)", or empty.
std::string quoted(std::string words) {
  if (words.empty()) return {};
  if (words.size() > longestWords) {
    std::size_t end = longestWords;
    while (end > 0 && (static_cast<unsigned char>(words[end]) & 0xC0) == 0x80) --end;  // whole characters
    words.resize(end);
  }
  for (char& c : words)
    if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = ' ';
  return " (" + words + ")";
}

// The problem details (RFC 7807) that a refusal should have.
std::string detailOf(std::string_view text) {
  const nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
  const std::string detail = textOf(document, "detail");
  return detail.empty() ? textOf(document, "type") : detail;
}

std::string descriptionOf(const nlohmann::json& error) {
  const std::string description = textOf(error, "description");
  std::string words = textOf(error, "type");
  if (!description.empty()) words += ": " + description;
  for (const std::string& property : textsOf(error, "properties")) words += ", " + property;
  return words;
}

ServerFailure failed(const std::string& server, const std::string& words, bool passes = false) {
  return {FailureKind::failed, server + " cannot do that" + quoted(words) + ".", passes};
}

}  // namespace

ServerFailure statusFailure(const std::string& server, const HttpAnswer& head, std::string_view text) {
  const std::string words =
      quoted("status " + std::to_string(head.status) + (detailOf(text).empty() ? "" : ", " + detailOf(text)));
  switch (head.status) {
    case 401:
      return {FailureKind::unauthorized, server + " does not take that name and password, or that token" + words + "."};
    case 403: return {FailureKind::noAccess, server + " does not allow that" + words + ". Ask its administrator."};
    case 404: return {FailureKind::notFound, server + " does not have that" + words + "."};
    case 413: return {FailureKind::tooLarge, "That is larger than " + server + " takes" + words + "."};
    case 429:
    case 503:
      return {FailureKind::busy, server + " is busy" + words + ". Try again later.", true,
              head.retryAfter.value_or(std::chrono::seconds(0))};
    case 502:
    case 504: return {FailureKind::busy, server + " is not there for now" + words + ". Try again later.", true};
    case 507: return {FailureKind::overQuota, "There is no room left at " + server + words + "."};
    default:
      if (head.status >= 300 && head.status < 400)
        return {FailureKind::redirected, server + " sends elsewhere" + words + "."};
      return {FailureKind::failed, server + " cannot do that" + words + ".", false};
  }
}

ServerFailure methodFailure(const std::string& server, const nlohmann::json& error) {
  const std::string type = textOf(error, "type");
  const std::string words = quoted(descriptionOf(error));
  if (type == "accountNotFound" || type == "fromAccountNotFound")
    return {FailureKind::notFound, server + " has no such account" + words + "."};
  if (type == "forbidden" || type == "accountReadOnly" || type == "accountNotSupportedByMethod")
    return {FailureKind::noAccess, server + " does not allow that" + words + ". Ask its administrator."};
  if (type == "cannotCalculateChanges")
    return {FailureKind::stateTooOld, server + " does not know what has changed since then" + words + "."};
  if (type == "requestTooLarge" || type == "tooLarge")
    return {FailureKind::tooLarge, "That is more than " + server + " takes at once" + words + "."};
  if (type == "serverUnavailable") return {FailureKind::busy, server + " is busy" + words + ". Try again later.", true};
  return failed(server, descriptionOf(error));
}

ServerFailure setFailure(const std::string& server, const nlohmann::json& error, const std::string& subject) {
  const std::string type = textOf(error, "type");
  const std::string words = quoted(descriptionOf(error));
  if (type == "forbidden")
    return {FailureKind::noAccess,
            subject + ": " + server + " does not allow that" + words + ". Ask its owner for the right."};
  if (type == "notFound") return {FailureKind::notFound, subject + " is not there at " + server + words + "."};
  if (type == "overQuota")
    return {FailureKind::overQuota, subject + ": the account is full at " + server + words +
                                        ". Delete something, or ask "
                                        "its administrator for room."};
  if (type == "tooLarge")
    return {FailureKind::tooLarge, subject + " is larger than " + server + " takes" + words + "."};
  if (type == "rateLimit") return {FailureKind::busy, server + " is busy" + words + ". Try again later.", true};
  if (type == "mailboxHasChild")
    return {FailureKind::hasMailboxes, subject + " holds other folders at " + server + words + "."};
  if (type == "mailboxHasEmail")
    return {FailureKind::hasMessages, subject + " holds messages at " + server + words + "."};
  if (type == "invalidEmail")
    return {FailureKind::badMessage, subject + " is no message that " + server + " takes" + words + "."};
  return {FailureKind::failed, subject + ": " + server + " cannot do that" + words + "."};
}

ServerFailure noMailFailure(const std::string& server) {
  return {FailureKind::noMail, server +
                                   " answers, but not with JMAP mail. Check the address; docs/server.md says which "
                                   "servers have it."};
}

ServerFailure unreadableFailure(const std::string& server) {
  return {FailureKind::lost, server + " answered with something that cannot be read.", true};
}

ServerFailure redirectedFailure(const std::string& server, const ServerAddress& to) {
  return {FailureKind::redirected, server + " says that mail is at " + to.server() +
                                       ", which was not told the password. "
                                       "Name that server if it is the right one."};
}

ServerFailure tooLargeFailure(const std::string& server, std::uint64_t size, std::uint64_t limit) {
  return {FailureKind::tooLarge, "The message has " + std::to_string(size) + " bytes, and " + server + " takes " +
                                     std::to_string(limit) + " at most. Nothing was sent."};
}

ServerFailure nameTakenFailure(const std::string& server, const std::string& subject) {
  return {FailureKind::nameTaken, subject + " is there already at " + server + "."};
}

ServerFailure noAccessFailure(const std::string& server, const std::string& subject) {
  return {FailureKind::noAccess, subject + ": " + server + " does not allow that. Ask its owner for the right."};
}

ServerFailure notFoundFailure(const std::string& server, const std::string& subject) {
  return {FailureKind::notFound, subject + " is not there at " + server + "."};
}

ServerAddress redirectTarget(const ServerAddress& from, const std::string& location) {
  if (location.empty()) throw noMailFailure(from.server());
  try {
    return resolve(from, location);
  } catch (const ServerFailure& failure) {
    throw ServerFailure{FailureKind::redirected, from.server() + " sends elsewhere. " + failure.text};
  }
}

}  // namespace fendrel::jmap
