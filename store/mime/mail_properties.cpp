#include "mail_properties.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "html_text.h"
#include "mail_headers.h"
#include "unicode.h"
#include "well_formed.h"

namespace fendrel::mime {
namespace {

using namespace fendrel::store;

namespace Tag {
constexpr PropertyTag messageClass = 0x001A001F, importance = 0x00170003, sensitivity = 0x00360003,
                      subject = 0x0037001F, submitTime = 0x00390040, senderName = 0x0C1A001F,
                      senderAddressType = 0x0C1E001F, senderAddress = 0x0C1F001F, deliveryTime = 0x0E060040,
                      text = 0x1000001F, html = 0x10130102, codePage = 0x3FDE0003, messageId = 0x1035001F,
                      displayName = 0x3001001F, comment = 0x3004001F, fileName = 0x3704001F, method = 0x37050003,
                      longFileName = 0x3707001F, mediaType = 0x370E001F;
}  // namespace Tag

constexpr std::int32_t attachedByValue = 1, utf8CodePage = 65001;
constexpr std::int64_t ticksPerSecond = 10'000'000, secondsTo1970 = 11'644'473'600;

template <class Value>
const Value* find(std::span<const Property> properties, PropertyTag tag) {
  const auto found = std::ranges::find(properties, tag, &Property::tag);
  return found == properties.end() ? nullptr : std::get_if<Value>(&found->value);
}

std::string textIn(std::span<const Property> properties, PropertyTag tag) {
  const std::u16string* text = find<std::u16string>(properties, tag);
  return text ? wellFormedUtf8(*text) : std::string();
}

std::optional<int> numberIn(std::span<const Property> properties, PropertyTag tag) {
  const std::int32_t* number = find<std::int32_t>(properties, tag);
  return number ? std::optional<int>(*number) : std::nullopt;
}

std::chrono::sys_seconds secondOf(FileTime time) {
  return std::chrono::sys_seconds(
      std::chrono::seconds(static_cast<std::int64_t>(time.ticks) / ticksPerSecond - secondsTo1970));
}

std::u16string wide(std::string_view utf8) {
  std::u16string text;
  if (!fromUtf8(utf8, text)) text.clear();  // text from JSON is well-formed
  return text;
}

std::string nameOf(const NewAttachment& attachment) {
  for (const PropertyTag tag : {Tag::longFileName, Tag::fileName, Tag::displayName})
    if (std::string name = textIn(attachment.properties, tag); !name.empty()) return name;
  return "attachment";
}

// Sorted, with the first of each identifier.
std::vector<Property> inOrder(std::vector<Property> properties) {
  std::ranges::stable_sort(properties, {}, [](const Property& one) { return propertyId(one.tag); });
  const auto isSame = [](const Property& a, const Property& b) { return propertyId(a.tag) == propertyId(b.tag); };
  properties.erase(std::unique(properties.begin(), properties.end(), isSame), properties.end());
  return properties;
}

void addText(std::vector<Property>& to, PropertyTag tag, const std::string& text) {
  if (!text.empty()) to.push_back({tag, wide(text)});
}

void addTime(std::vector<Property>& to, PropertyTag tag, const ReadMail& mail, const char* header,
             const std::optional<std::chrono::sys_seconds>& second) {
  const auto found = mail.ownHeaders.find(header);
  std::uint64_t ticks = 0;
  if (found != mail.ownHeaders.end()) {
    const std::string& text = found->second;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), ticks);
    if (error == std::errc() && end == text.data() + text.size()) return to.push_back({tag, FileTime{ticks}});
  }
  if (second) to.push_back({tag, fileTimeOf(*second)});
}

}  // namespace

MailMessage mailOf(const NewMail& from) {
  const std::vector<Property>& properties = from.properties;
  MailMessage mail;
  mail.senderName = textIn(properties, Tag::senderName);
  if (textIn(properties, Tag::senderAddressType) == "SMTP") mail.senderAddress = textIn(properties, Tag::senderAddress);
  mail.subject = textIn(properties, Tag::subject);
  mail.messageClass = textIn(properties, Tag::messageClass);
  mail.importance = numberIn(properties, Tag::importance);
  mail.sensitivity = numberIn(properties, Tag::sensitivity);
  mail.messageId = textIn(properties, Tag::messageId);
  if (mail.messageId.empty()) mail.messageId = from.messageId;

  const auto addHeader = [&](const char* name, const std::string& text) {
    if (!text.empty()) mail.moreHeaders.emplace_back(name, text);
  };
  addHeader(MailHeader::displayName, textIn(properties, Tag::displayName));
  addHeader(MailHeader::comment, textIn(properties, Tag::comment));
  const FileTime* submitted = find<FileTime>(properties, Tag::submitTime);
  const FileTime* delivered = find<FileTime>(properties, Tag::deliveryTime);
  if (submitted) mail.date = secondOf(*submitted);
  if (delivered) mail.delivered = secondOf(*delivered);
  if (!mail.date) mail.date = mail.delivered;
  if (submitted) addHeader(MailHeader::submitTime, std::to_string(submitted->ticks));
  if (delivered) addHeader(MailHeader::deliveryTime, std::to_string(delivered->ticks));
  addHeader(MailHeader::attachmentCount, std::to_string(from.attachments.size()));
  if (from.isAssociated) addHeader(MailHeader::associated, "yes");

  if (const std::u16string* text = find<std::u16string>(properties, Tag::text))
    mail.text = [utf8 = wellFormedUtf8(*text)](const TextSink& to) { to(utf8); };
  else
    mail.text = from.text;

  PropertyPart part;
  part.names = from.names;
  std::ranges::copy_if(properties, std::back_inserter(part.message),
                       [](const Property& one) { return one.tag != Tag::text; });
  for (const NewAttachment& attachment : from.attachments) {
    part.attachments.push_back(attachment.properties);
    mail.attachments.push_back(
        {nameOf(attachment), textIn(attachment.properties, Tag::mediaType), attachment.size, attachment.content});
  }
  mail.properties = writePropertyPart(part);
  return mail;
}

std::vector<Property> headerProperties(const ReadMail& mail) {
  std::vector<Property> properties;
  properties.push_back({Tag::subject, wide(mail.subject)});
  addText(properties, Tag::senderName, mail.senderName.empty() ? mail.senderAddress : mail.senderName);
  if (!mail.senderAddress.empty() && !mail.senderAddress.ends_with("@fendrel.invalid")) {
    properties.push_back({Tag::senderAddressType, std::u16string(u"SMTP")});
    addText(properties, Tag::senderAddress, mail.senderAddress);
  }
  const auto ofOwn = [&](const char* name) {
    const auto found = mail.ownHeaders.find(name);
    return found == mail.ownHeaders.end() ? std::string() : found->second;
  };
  const std::string messageClass = ofOwn(MailHeader::messageClass);
  addText(properties, Tag::messageClass, messageClass.empty() ? "IPM.Note" : messageClass);
  addText(properties, Tag::displayName, ofOwn(MailHeader::displayName));
  addText(properties, Tag::comment, ofOwn(MailHeader::comment));
  addText(properties, Tag::messageId, mail.messageId);
  properties.push_back({Tag::importance, mail.importance.value_or(1)});
  properties.push_back({Tag::sensitivity, mail.sensitivity.value_or(0)});
  addTime(properties, Tag::submitTime, mail, MailHeader::submitTime, mail.date);
  addTime(properties, Tag::deliveryTime, mail, MailHeader::deliveryTime,
          mail.delivered ? *mail.delivered : mail.received);
  return inOrder(std::move(properties));
}

std::vector<Property> messageProperties(const ReadMail& mail, const PropertyPart& part) {
  std::vector<Property> properties = part.message;
  properties.push_back({Tag::text, wide(mail.text.empty() ? textOfHtml(mail.html) : mail.text)});
  if (!mail.html.empty()) {
    const auto bytes = std::as_bytes(std::span(mail.html));
    properties.push_back({Tag::html, Bytes(bytes.begin(), bytes.end())});
    properties.push_back({Tag::codePage, utf8CodePage});
  }
  std::ranges::move(headerProperties(mail), std::back_inserter(properties));
  return inOrder(std::move(properties));
}

std::vector<Property> attachmentProperties(const ReadMail& mail, const PropertyPart& part, std::size_t place) {
  std::vector<Property> properties;
  if (place < part.attachments.size()) properties = part.attachments[place];
  if (place < mail.attachments.size()) {
    const MailPart& attachment = mail.attachments[place];
    addText(properties, Tag::longFileName, attachment.name);
    addText(properties, Tag::fileName, attachment.name);
    addText(properties, Tag::mediaType, attachment.mediaType);
    properties.push_back({Tag::method, attachedByValue});
  }
  return inOrder(std::move(properties));
}

bool isAssociated(const ReadMail& mail) {
  const auto found = mail.ownHeaders.find(MailHeader::associated);
  return found != mail.ownHeaders.end() && found->second == "yes";
}

bool hasAttachments(const ReadMail& mail) {
  const auto found = mail.ownHeaders.find(MailHeader::attachmentCount);
  return found == mail.ownHeaders.end() ? mail.hasAttachments : found->second != "0";
}

FileTime fileTimeOf(std::chrono::sys_seconds time) {
  return {static_cast<std::uint64_t>((time.time_since_epoch().count() + secondsTo1970) * ticksPerSecond)};
}

}  // namespace fendrel::mime
