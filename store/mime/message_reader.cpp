#include "message_reader.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "mail_headers.h"
#include "message_writer.h"

namespace fendrel::mime {
namespace {

using Json = nlohmann::json;

// Empty if the member is missing or of another type.
const Json& member(const Json& object, const char* name) {
  static const Json none;
  if (!object.is_object()) return none;
  const auto found = object.find(name);
  return found == object.end() ? none : *found;
}

std::string textOf(const Json& object, const char* name) {
  const Json& value = member(object, name);
  return value.is_string() ? value.get<std::string>() : std::string();
}

std::uint64_t numberOf(const Json& object, const char* name) {
  const Json& value = member(object, name);
  return value.is_number_unsigned() ? value.get<std::uint64_t>() : 0;
}

// The names set in a map of flags.
std::vector<std::string> namesOf(const Json& object, const char* name) {
  std::vector<std::string> names;
  const Json& flags = member(object, name);
  if (flags.is_object())
    for (const auto& [key, value] : flags.items())
      if (value.is_boolean() && value.get<bool>()) names.push_back(key);
  return names;
}

std::string header(const Json& email, const char* field) {
  return textOf(email, ("header:" + std::string(field) + ":asText").c_str());
}

// "2031-04-05T16:07:08.5+02:00": a date of JMAP, in any time zone; parts of a second are dropped.
std::optional<std::chrono::sys_seconds> dateOf(const std::string& text) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, length = 0;
  if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &year, &month, &day, &hour, &minute, &second, &length) !=
          6 ||
      length < 19)
    return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  std::string zone = text.substr(static_cast<std::size_t>(length));
  if (zone.starts_with('.')) zone.erase(0, std::min(zone.find_first_not_of("0123456789", 1), zone.size()));
  char sign = 'Z';
  int zoneHours = 0, zoneMinutes = 0;
  if (zone != "Z" && std::sscanf(zone.c_str(), "%c%2d:%2d", &sign, &zoneHours, &zoneMinutes) != 3) return std::nullopt;
  const auto offset = std::chrono::hours(zoneHours) + std::chrono::minutes(zoneMinutes);
  return std::chrono::sys_days(date) + std::chrono::hours(hour) + std::chrono::minutes(minute) +
         std::chrono::seconds(second) - (sign == '-' ? -offset : offset);
}

std::string lowerCase(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return text;
}

template <std::size_t Count>
std::optional<int> placeOf(const std::string& word, const std::array<const char*, Count>& words) {
  const auto found = std::ranges::find(words, lowerCase(word));
  return found == words.end() ? std::nullopt : std::optional(static_cast<int>(found - words.begin()));
}

MailPart partOf(const Json& json) {
  MailPart part;
  part.blob = textOf(json, "blobId");
  part.name = textOf(json, "name");
  part.mediaType = lowerCase(textOf(json, "type"));
  part.size = numberOf(json, "size");
  part.charset = textOf(json, "charset");
  return part;
}

// A part needs a file name.
std::string nameFor(const MailPart& part, std::size_t number) {
  const bool isMail = part.mediaType.starts_with("message/");
  const std::string subtype = part.mediaType.substr(std::min(part.mediaType.find('/') + 1, part.mediaType.size()));
  const bool isPlain = !subtype.empty() && subtype.size() <= 8 &&
                       std::ranges::all_of(subtype, [](char c) { return c >= 'a' && c <= 'z'; });
  return "part " + std::to_string(number) + (isMail ? ".eml" : isPlain ? '.' + subtype : ".bin");
}

std::string withMailLineEnds(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\n' && (at == 0 || text[at - 1] != '\r')) result += '\r';
    result += text[at];
  }
  return result;
}

struct BodyText {
  std::string text;
  bool isCut = false;
};

// The concatenated texts of these parts.
BodyText textOfParts(const Json& email, const char* list, std::string_view type, std::vector<MailPart>* parts) {
  BodyText body;
  const Json& all = member(email, list);
  if (!all.is_array()) return body;
  for (const Json& json : all) {
    MailPart part = partOf(json);
    if (part.mediaType != type) continue;
    const Json& value = member(member(email, "bodyValues"), textOf(json, "partId").c_str());
    if (!body.text.empty()) body.text += "\r\n";
    body.text += withMailLineEnds(textOf(value, "value"));
    const Json& isCut = member(value, "isTruncated");
    body.isCut = body.isCut || !value.is_object() || (isCut.is_boolean() && isCut.get<bool>());
    if (parts) parts->push_back(std::move(part));
  }
  return body;
}

void readParts(const Json& email, ReadMail& mail) {
  const Json& all = member(email, "attachments");
  if (!all.is_array()) return;
  for (const Json& json : all) {
    MailPart part = partOf(json);
    if (part.blob.empty()) continue;
    if (part.mediaType == propertyPartType && !mail.propertyPart) {
      mail.properties = textOf(member(member(email, "bodyValues"), textOf(json, "partId").c_str()), "value");
      mail.propertyPart = std::move(part);
      continue;
    }
    if (part.name.empty()) part.name = nameFor(part, mail.attachments.size() + 1);
    mail.attachments.push_back(std::move(part));
  }
}

}  // namespace

std::vector<std::string> rowProperties() {
  std::vector<std::string> properties{"id",
                                      "blobId",
                                      "mailboxIds",
                                      "keywords",
                                      "size",
                                      "receivedAt",
                                      "subject",
                                      "from",
                                      "sentAt",
                                      "messageId",
                                      "hasAttachment",
                                      "header:Importance:asText",
                                      "header:Sensitivity:asText",
                                      "header:Delivery-Date:asDate"};
  for (const char* field : ownHeaders) properties.push_back("header:" + std::string(field) + ":asText");
  return properties;
}

std::vector<std::string> wholeProperties() {
  std::vector<std::string> properties = rowProperties();
  for (const char* name : {"textBody", "htmlBody", "attachments", "bodyValues"}) properties.push_back(name);
  return properties;
}

std::vector<std::string> wholeBodyProperties() { return {"partId", "blobId", "size", "name", "type", "charset"}; }

ReadMail readMail(const Json& email) {
  ReadMail mail;
  mail.id = textOf(email, "id");
  mail.blob = textOf(email, "blobId");
  mail.mailboxes = namesOf(email, "mailboxIds");
  mail.keywords = namesOf(email, "keywords");
  mail.size = numberOf(email, "size");
  mail.received = dateOf(textOf(email, "receivedAt")).value_or(std::chrono::sys_seconds());
  mail.subject = textOf(email, "subject");
  if (const Json& from = member(email, "from"); from.is_array() && !from.empty()) {
    mail.senderName = textOf(from.front(), "name");
    mail.senderAddress = textOf(from.front(), "email");
  }
  mail.date = dateOf(textOf(email, "sentAt"));
  mail.delivered = dateOf(textOf(email, "header:Delivery-Date:asDate"));
  if (const Json& ids = member(email, "messageId"); ids.is_array() && !ids.empty() && ids.front().is_string())
    mail.messageId = '<' + ids.front().get<std::string>() + '>';
  mail.importance = placeOf(header(email, "Importance"), std::array{"low", "normal", "high"});
  mail.sensitivity =
      placeOf(header(email, "Sensitivity"), std::array{"", "personal", "private", "company-confidential"});
  for (const char* field : ownHeaders)
    if (std::string text = header(email, field); !text.empty()) mail.ownHeaders.emplace(field, std::move(text));
  const Json& hasAttachment = member(email, "hasAttachment");
  mail.hasAttachments = hasAttachment.is_boolean() && hasAttachment.get<bool>();

  BodyText text = textOfParts(email, "textBody", "text/plain", &mail.textParts);
  mail.text = std::move(text.text);
  mail.isTextCut = text.isCut;
  BodyText html = textOfParts(email, "htmlBody", "text/html", nullptr);
  mail.html = std::move(html.text);
  mail.isTextCut = mail.isTextCut || html.isCut;
  readParts(email, mail);
  return mail;
}

}  // namespace fendrel::mime
