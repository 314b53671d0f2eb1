// The properties of a message that the store computes.
#pragma once

#include "message_info.h"
#include "session_context.h"

namespace fendrel::provider {

// In the message's order.
std::span<const PropertyTag> computedMessageTags();

bool isComputedMessageTag(PropertyTag tag);

// The stored properties from which a computed one is made.
std::span<const PropertyTag> sourcesOf(PropertyTag tag);

// Tag 0 if the message does not have it. `sources`: the properties of sourcesOf.
Property computedMessageProperty(const StoreScope& scope, const store::MessageInfo& message, PropertyTag tag,
                                 bool writable, std::span<const Property> sources);

// PR_MESSAGE_FLAGS from the client's flags (or nothing) and the store's state.
Property messageFlags(const Property& source, const store::MessageInfo& message);

// For SetReadFlag and SetReadFlags: refuses to mark as unread together with flags about receipts.
HRESULT checkReadFlags(ULONG flags);

}  // namespace fendrel::provider
