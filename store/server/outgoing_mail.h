// A message on its way to the server.
#pragma once

#include <functional>
#include <map>
#include <vector>

#include "mail_properties.h"
#include "message_info.h"
#include "property_name.h"

namespace fendrel::store {

// Everything that a message is made of.
struct OutgoingMail {
  std::vector<Property> properties;
  std::map<std::uint32_t, mime::NewAttachment> attachments;  // by number
  Guid searchKey{};
  bool isAssociated = false;
};

// The draft's changes. Throws EngineError: NotFound and AlreadyExists as saveMessage, TooLarge for a value that mail
// has no place for. The contents must live as long as the mail.
void applyDraft(const MessageDraft& draft, OutgoingMail& mail);

// Headers beside those of mail_headers.h. The first marks our own messages: it is the same in copies, which have
// a Message-ID of their own.
namespace ownHeaders {
constexpr const char* searchKey = "X-Fendrel-Search-Key";  // 32 hexadecimal digits
constexpr const char* flags = "X-Fendrel-Flags";
constexpr const char* subjectPrefix = "X-Fendrel-Subject-Prefix";
}  // namespace ownHeaders

// The mail as it is written. `names`: what its identifiers from 0x8000 on stand for.
// Throws EngineError (TooLarge) where the properties are too many for the part that keeps them.
mime::MailMessage mailOf(const OutgoingMail& mail, const std::map<std::uint16_t, PropertyName>& names,
                         const std::string& messageId);

// The identifiers from 0x8000 on that the mail uses.
std::vector<std::uint16_t> namedIdentifiers(const OutgoingMail& mail);

}  // namespace fendrel::store
