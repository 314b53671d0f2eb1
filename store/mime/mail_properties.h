// Converts between a message's properties and its mail: header fields, and the property part for all others.
//
//   0037001F subject          Subject                 00390040 submit time    Date, X-Fendrel-Submit-Time
//   0C1A001F sender's name    From                    0E060040 delivery time  Delivery-Date, X-Fendrel-Delivery-Time
//   0C1F001F its address      From, where 0C1E001F    001A001F class          X-Message-Class
//                             is SMTP                 3001001F display name   X-Fendrel-Display-Name
//   1000001F text             the first text part     3004001F comment        Comments
//   00170003 importance       Importance              1035001F identifier     Message-ID
//   00360003 sensitivity      Sensitivity
// The property part repeats all of them except the text, so that they are read back exactly.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "message_reader.h"
#include "message_writer.h"
#include "property_part.h"

namespace fendrel::mime {

struct NewAttachment {
  std::vector<store::Property> properties;
  std::uint64_t size = 0;                        // of its content (37010102), which is not among the properties
  std::function<void(const ByteSink&)> content;  // like that of MailAttachment
};

struct NewMail {
  std::vector<store::Property> properties;
  std::map<std::uint16_t, store::PropertyName> names;  // of the identifiers from 8000 on
  std::function<void(const TextSink&)> text;           // UTF-8, if the text is too long to be among the properties
  std::vector<NewAttachment> attachments;
  std::string messageId;  // "<left@right>", if the properties have none
  bool isAssociated = false;
};

MailMessage mailOf(const NewMail& mail);

// By tag, each identifier once; without values that the mail lacks.

// The properties in the header: enough for the rows of a list.
std::vector<store::Property> headerProperties(const ReadMail& mail);
// All properties of the message; `part` is the result of readPropertyPart.
std::vector<store::Property> messageProperties(const ReadMail& mail, const PropertyPart& part);
// Those of an attachment except its content.
std::vector<store::Property> attachmentProperties(const ReadMail& mail, const PropertyPart& part, std::size_t place);

bool isAssociated(const ReadMail& mail);
// In our own messages by our count, else as the server says.
bool hasAttachments(const ReadMail& mail);

store::FileTime fileTimeOf(std::chrono::sys_seconds time);

}  // namespace fendrel::mime
