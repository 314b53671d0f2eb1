// The header fields that only this system uses, or that carry more than standard fields.
#pragma once

#include <array>

namespace fendrel::mime {

namespace MailHeader {
constexpr const char* messageClass = "X-Message-Class";
constexpr const char* displayName = "X-Fendrel-Display-Name";
constexpr const char* comment = "Comments";
// Times in 100 ns since 1601; `Date` and `Delivery-Date` have whole seconds.
constexpr const char* submitTime = "X-Fendrel-Submit-Time";
constexpr const char* deliveryTime = "X-Fendrel-Delivery-Time";
constexpr const char* attachmentCount = "X-Fendrel-Attachments";  // mail servers also count alternative texts
constexpr const char* associated = "X-Fendrel-Associated";        // "yes": a personal report
}  // namespace MailHeader

inline constexpr std::array ownHeaders{MailHeader::messageClass, MailHeader::displayName,  MailHeader::comment,
                                       MailHeader::submitTime,   MailHeader::deliveryTime, MailHeader::attachmentCount,
                                       MailHeader::associated};

}  // namespace fendrel::mime
