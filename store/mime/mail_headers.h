// The headers that mean something to this system alone, or more than mail says.
#pragma once

#include <array>

namespace fendrel::mime {

namespace MailHeader {
constexpr const char* messageClass = "X-Message-Class";
constexpr const char* displayName = "X-Fendrel-Display-Name";
constexpr const char* comment = "Comments";
// Times in 100 ns since 1601, where `Date` and `Delivery-Date` have whole seconds.
constexpr const char* submitTime = "X-Fendrel-Submit-Time";
constexpr const char* deliveryTime = "X-Fendrel-Delivery-Time";
constexpr const char* attachmentCount = "X-Fendrel-Attachments";  // mail servers count forms of the text, too
constexpr const char* associated = "X-Fendrel-Associated";        // "yes": a report of a person's own
}  // namespace MailHeader

inline constexpr std::array ownHeaders{MailHeader::messageClass, MailHeader::displayName,  MailHeader::comment,
                                       MailHeader::submitTime,   MailHeader::deliveryTime, MailHeader::attachmentCount,
                                       MailHeader::associated};

}  // namespace fendrel::mime
