#include "mail_view.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>

#include "checksum.h"
#include "mail_properties.h"
#include "mail_tags.h"
#include "outgoing_mail.h"
#include "property_list.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

using Json = nlohmann::json;

constexpr const char* headerNames[] = {ownHeaders::searchKey, ownHeaders::flags, ownHeaders::subjectPrefix};

std::string asText(const char* name) { return std::string("header:") + name + ":asText"; }

std::string headerIn(const Json& email, const char* name) {
  const auto found = email.find(asText(name));
  return found != email.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::u16string wide(const std::string& utf8) {
  std::u16string text;
  if (!fromUtf8(utf8, text)) text.assign(utf8.begin(), utf8.end());
  return text;
}

std::uint64_t numberOf(const std::string& digits) { return std::strtoull(digits.c_str(), nullptr, 10); }

// nullopt if the text is not a key.
std::optional<Guid> keyOf(const std::string& hex) {
  Guid key{};
  if (hex.size() != 2 * sizeof key.bytes) return std::nullopt;
  for (std::size_t i = 0; i < sizeof key.bytes; ++i) {
    const std::string digits = hex.substr(2 * i, 2);
    char* end = nullptr;
    key.bytes[i] = static_cast<std::byte>(std::strtoul(digits.c_str(), &end, 16));
    if (*end != '\0') return std::nullopt;
  }
  return key;
}

// The search key of another program's message: equal for equal Message-IDs.
Guid keyFrom(const std::string& name) {
  const std::string texts[] = {name, "2" + name};
  Guid key{};
  for (std::size_t i = 0; i < 2; ++i) {
    const std::uint64_t sum = checksum(std::as_bytes(std::span(texts[i])));
    std::memcpy(key.bytes + 8 * i, &sum, sizeof sum);
  }
  return key;
}

// Replaces the mail's identifiers of property names by this machine's. Removes properties without one.
void renumber(std::vector<Property>& properties, const std::map<std::uint16_t, PropertyName>& names,
              const IdentifierOf& identifierOf) {
  std::erase_if(properties, [&](Property& property) {
    if (propertyId(property.tag) < firstNamedProperty) return false;
    const auto name = names.find(propertyId(property.tag));
    const std::uint16_t id = name == names.end() ? std::uint16_t{0} : identifierOf(name->second);
    property.tag = makeTag(id, propertyType(property.tag));
    return id == 0;
  });
}

void sortById(std::vector<Property>& properties) {
  std::ranges::stable_sort(properties, {}, [](const Property& one) { return propertyId(one.tag); });
}

// Our messages: flags and subject prefix, which mail's own headers do not have. Others: flags that say "not a draft".
void addFlags(const Json& email, bool isOurs, std::vector<Property>& properties) {
  const std::string flags = headerIn(email, ownHeaders::flags), prefix = headerIn(email, ownHeaders::subjectPrefix);
  if (!flags.empty())
    putInto(properties, {tags::messageFlags, static_cast<std::int32_t>(numberOf(flags))});
  else if (!isOurs)
    putInto(properties, {tags::messageFlags, std::int32_t{0}});
  if (!prefix.empty()) putInto(properties, {tags::subjectPrefix, wide(prefix)});
}

void addWhole(const mime::ReadMail& mail, const IdentifierOf& identifierOf, MailView& view) {
  const mime::PropertyPart part = view.isOurs ? mime::readPropertyPart(mail.properties) : mime::PropertyPart{};
  view.properties = mime::messageProperties(mail, part);
  renumber(view.properties, part.names, identifierOf);
  view.isTextCut = mail.isTextCut;
  for (std::size_t i = 0; i < mail.attachments.size(); ++i) {
    ViewedAttachment attachment{mime::attachmentProperties(mail, part, i), mail.attachments[i]};
    renumber(attachment.properties, part.names, identifierOf);
    putInto(attachment.properties, {tags::attachData, UnloadedValue{mail.attachments[i].size}});
    sortById(attachment.properties);
    view.attachments.push_back(std::move(attachment));
  }
  view.info.hasAttachments = !view.attachments.empty();
}

Property limited(const Property& property, std::uint64_t valueLimit) {
  const std::uint64_t size = valueSize(property.value);
  const bool isLong = !std::holds_alternative<UnloadedValue>(property.value) && size > valueLimit;
  return isLong ? Property{property.tag, UnloadedValue{size}} : property;
}

}  // namespace

std::vector<std::string> viewProperties(bool isWhole) {
  std::vector<std::string> asked = isWhole ? mime::wholeProperties() : mime::rowProperties();
  for (const char* name : headerNames) asked.push_back(asText(name));
  return asked;
}

bool isRowProperty(PropertyTag tag) {
  constexpr PropertyTag shown[] = {tags::messageClass, tags::subject,      tags::senderName,   tags::submitTime,
                                   tags::deliveryTime, tags::importance,   tags::sensitivity,  tags::displayName,
                                   tags::comment,      tags::messageFlags, tags::subjectPrefix};
  return std::ranges::any_of(shown, [&](PropertyTag one) { return propertyId(one) == propertyId(tag); });
}

MailView viewOf(const Json& email, bool isWhole, const std::string& account, const std::string& folder,
                const std::string& personal, const IdentifierOf& identifierOf) {
  const mime::ReadMail mail = mime::readMail(email);
  MailView view;
  view.isWhole = isWhole;
  view.mailboxes = mail.mailboxes;
  const auto key = keyOf(headerIn(email, ownHeaders::searchKey));
  view.isOurs = key.has_value();

  MessageInfo& info = view.info;
  info.id = idOf(account, mail.id);
  const bool isThere = std::ranges::find(mail.mailboxes, folder) != mail.mailboxes.end();
  const std::string mailbox = isThere ? folder : mail.mailboxes.empty() ? std::string() : mail.mailboxes.front();
  const bool isPersonal = !personal.empty() && mailbox == personal;
  info.folder = isPersonal ? idOf(account, personalFolder) : idOf(account, mailbox);
  info.kind = isPersonal && mime::isAssociated(mail) ? MessageKind::Associated : MessageKind::Ordinary;
  info.isRead = std::ranges::find(mail.keywords, "$seen") != mail.keywords.end();
  info.hasAttachments = mime::hasAttachments(mail);
  info.size = mail.size;
  info.created = info.modified = mime::fileTimeOf(mail.received);
  info.searchKey = key ? *key : keyFrom(mail.messageId.empty() ? mail.id : mail.messageId);
  info.revision = 1;

  if (isWhole)
    addWhole(mail, identifierOf, view);
  else
    view.properties = mime::headerProperties(mail);
  addFlags(email, view.isOurs, view.properties);
  sortById(view.properties);
  return view;
}

std::vector<Property> chosenProperties(const std::vector<Property>& all, std::span<const PropertyTag> tags,
                                       std::uint64_t valueLimit) {
  std::vector<Property> chosen;
  for (const Property& property : all) {
    const bool isAsked =
        tags.empty() || std::ranges::any_of(tags, [&](PropertyTag asked) { return answersTo(property.tag, asked); });
    if (isAsked) chosen.push_back(limited(property, valueLimit));
  }
  return chosen;
}

std::vector<Property> columnValues(const std::vector<Property>& all, std::span<const PropertyTag> columns) {
  std::vector<Property> values;
  for (const PropertyTag column : columns) {
    const auto found = std::ranges::find_if(all, [&](const Property& one) { return answersTo(one.tag, column); });
    values.push_back(found == all.end() ? Property{} : limited(*found, defaultValueLimit));
  }
  return values;
}

}  // namespace fendrel::store
