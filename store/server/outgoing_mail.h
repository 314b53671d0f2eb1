// A message that is being written to the server.
#pragma once

#include <functional>
#include <map>
#include <vector>

#include "mail_properties.h"
#include "message_info.h"
#include "property_name.h"

namespace fendrel::store {

// The contents of a message.
struct OutgoingMail {
  std::vector<Property> properties;
  std::map<std::uint32_t, mime::NewAttachment> attachments;  // by number
  Guid searchKey{};
  bool isAssociated = false;
};

// Applies the draft's changes. Throws EngineError: NotFound and AlreadyExists as saveMessage does, TooLarge for a value
// that is too long for a mail. The draft and its contents must live as long as the mail.
void applyDraft(const MessageDraft& draft, OutgoingMail& mail);

// Headers in addition to those of mail_headers.h. The first marks our own messages. Copies have the same search key,
// but each has its own Message-ID.
namespace ownHeaders {
constexpr const char* searchKey = "X-Fendrel-Search-Key";  // 32 hexadecimal digits
constexpr const char* flags = "X-Fendrel-Flags";
constexpr const char* subjectPrefix = "X-Fendrel-Subject-Prefix";
}  // namespace ownHeaders

// The mail to write. `names`: the names of its identifiers from 0x8000 on.
// Throws EngineError (TooLarge) if the properties do not fit into their part.
mime::MailMessage mailOf(const OutgoingMail& mail, const std::map<std::uint16_t, PropertyName>& names,
                         const std::string& messageId);

// The mail's identifiers from 0x8000 on.
std::vector<std::uint16_t> namedIdentifiers(const OutgoingMail& mail);

}  // namespace fendrel::store
