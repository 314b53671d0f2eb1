#include "outgoing_mail.h"

#include <cstring>

#include "engine_error.h"
#include "ids.h"
#include "mail_tags.h"
#include "property_list.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

// Limits of a text (the body) and of any other value, which are held in memory. Attachment data is not.
constexpr std::uint64_t longestText = 8 << 20, longestValue = 256 << 10;
constexpr std::size_t pieceSize = 64 << 10;

Bytes loaded(ContentReader& content, std::uint64_t longest) {
  if (content.size() > longest) {
    fail(Status::TooLarge, "A property of " + std::to_string(content.size()) +
                               " bytes is too long for a mail, which takes " + std::to_string(longest) + " of it.");
  }
  Bytes bytes(static_cast<std::size_t>(content.size()));
  std::size_t count = 0;
  if (const Status status = content.read(0, bytes, count); status != Status::Ok || count != bytes.size()) {
    fail(status == Status::Ok ? Status::Corrupt : status, "A content to save cannot be read.");
  }
  return bytes;
}

PropertyValue valueOf(PropertyTag tag, const Bytes& bytes) {
  if (propertyType(tag) == PropertyType::binary) return bytes;
  if (bytes.size() % 2 != 0) fail(Status::Invalid, "A text to save ends in the middle of a character.");
  std::u16string text(bytes.size() / 2, u'\0');
  std::memcpy(text.data(), bytes.data(), bytes.size());
  return text;
}

Property loadedProperty(const ContentChange& change) {
  if (!change.content) fail(Status::Invalid, "A content to save is missing.");
  const bool isText = propertyId(change.tag) == propertyId(tags::body);
  return {change.tag, valueOf(change.tag, loaded(*change.content, isText ? longestText : longestValue))};
}

void handOver(ContentReader& content, const mime::ByteSink& to) {
  Bytes piece(pieceSize);
  for (std::uint64_t position = 0; position < content.size();) {
    std::size_t count = 0;
    const Status status = content.read(position, piece, count);
    if (status != Status::Ok || count == 0) {
      fail(status == Status::Ok ? Status::Corrupt : status, "A content to save cannot be read.");
    }
    to(std::span(piece).first(count));
    position += count;
  }
}

void applyAttachment(const AttachmentChange& change, mime::NewAttachment& attachment) {
  for (const PropertyTag tag : change.remove) {
    removeFrom(attachment.properties, propertyId(tag));
    if (propertyId(tag) == propertyId(tags::attachData)) attachment.size = 0, attachment.content = nullptr;
  }
  for (const Property& property : change.set) {
    const auto* bytes = std::get_if<Bytes>(&property.value);
    if (property.tag != tags::attachData || !bytes) {
      putInto(attachment.properties, property);
      continue;
    }
    attachment.size = bytes->size();
    attachment.content = [bytes](const mime::ByteSink& to) { to(*bytes); };
  }
  for (const ContentChange& content : change.contents) {
    if (content.tag != tags::attachData || !content.content) {
      putInto(attachment.properties, loadedProperty(content));
      continue;
    }
    attachment.size = content.content->size();
    attachment.content = [content = content.content](const mime::ByteSink& to) { handOver(*content, to); };
  }
}

std::string utf8In(std::span<const Property> properties, PropertyTag tag) {
  const auto* text = valueIn<std::u16string>(properties, tag);
  return text ? toUtf8(*text) : std::string();
}

std::string hex(const Guid& guid) {
  const std::wstring wide = hexText(guid);
  return {wide.begin(), wide.end()};
}

}  // namespace

void applyDraft(const MessageDraft& draft, OutgoingMail& mail) {
  for (const PropertyTag tag : draft.remove) removeFrom(mail.properties, propertyId(tag));
  for (const Property& property : draft.set) putInto(mail.properties, property);
  for (const ContentChange& content : draft.contents) putInto(mail.properties, loadedProperty(content));
  for (const AttachmentChange& change : draft.attachments) {
    const auto known = mail.attachments.find(change.number);
    const bool isThere = known != mail.attachments.end();
    if (change.action == AttachmentAction::Add && isThere) {
      fail(Status::AlreadyExists, "There is already an attachment number " + std::to_string(change.number) + ".");
    }
    if (change.action != AttachmentAction::Add && !isThere) {
      fail(Status::NotFound, "The message has no attachment number " + std::to_string(change.number) + ".");
    }
    if (change.action == AttachmentAction::Remove)
      mail.attachments.erase(known);
    else
      applyAttachment(change, mail.attachments[change.number]);
  }
}

std::vector<std::uint16_t> namedIdentifiers(const OutgoingMail& mail) {
  std::vector<std::uint16_t> ids;
  const auto collect = [&](std::span<const Property> properties) {
    for (const Property& property : properties) {
      if (propertyId(property.tag) >= firstNamedProperty) ids.push_back(propertyId(property.tag));
    }
  };
  collect(mail.properties);
  for (const auto& [number, attachment] : mail.attachments) collect(attachment.properties);
  return ids;
}

mime::MailMessage mailOf(const OutgoingMail& mail, const std::map<std::uint16_t, PropertyName>& names,
                         const std::string& messageId) {
  mime::NewMail made{mail.properties, names, {}, {}, messageId, mail.isAssociated};
  for (const auto& [number, attachment] : mail.attachments) {
    made.attachments.push_back(attachment);
    if (!attachment.content) made.attachments.back().content = [](const mime::ByteSink&) {};
  }
  mime::MailMessage message = mime::mailOf(made);
  if (message.properties.size() > mime::longestPropertyPart) {
    fail(Status::TooLarge, "The message's properties are too long for a mail, which takes " +
                               std::to_string(mime::longestPropertyPart) + " bytes of them.");
  }
  message.moreHeaders.emplace_back(ownHeaders::searchKey, hex(mail.searchKey));
  if (const auto* flags = valueIn<std::int32_t>(mail.properties, tags::messageFlags)) {
    message.moreHeaders.emplace_back(ownHeaders::flags, std::to_string(*flags));
  }
  if (std::string prefix = utf8In(mail.properties, tags::subjectPrefix); !prefix.empty()) {
    message.moreHeaders.emplace_back(ownHeaders::subjectPrefix, std::move(prefix));
  }
  return message;
}

}  // namespace fendrel::store
