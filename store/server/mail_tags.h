// The properties that have headers or parts of their own in a mail.
#pragma once

#include "property.h"

namespace fendrel::store::tags {

constexpr PropertyTag messageClass = 0x001A001F;
constexpr PropertyTag importance = 0x00170003;
constexpr PropertyTag sensitivity = 0x00360003;
constexpr PropertyTag subject = 0x0037001F;
constexpr PropertyTag submitTime = 0x00390040;
constexpr PropertyTag subjectPrefix = 0x003D001F;
constexpr PropertyTag senderName = 0x0C1A001F;
constexpr PropertyTag deliveryTime = 0x0E060040;
constexpr PropertyTag messageFlags = 0x0E070003;
constexpr PropertyTag body = 0x1000001F;
constexpr PropertyTag html = 0x10130102;
constexpr PropertyTag internetMessageId = 0x1035001F;
constexpr PropertyTag displayName = 0x3001001F;
constexpr PropertyTag comment = 0x3004001F;
constexpr PropertyTag containerClass = 0x3613001F;
constexpr PropertyTag attachData = 0x37010102;

}  // namespace fendrel::store::tags
