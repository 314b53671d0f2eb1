// The properties of a message that the store computes.
#pragma once

#include "message_info.h"
#include "session_context.h"

namespace fendrel::provider {

// In the order in which a message lists them.
std::span<const PropertyTag> computedMessageTags();

bool isComputedMessageTag(PropertyTag tag);

// The stored properties that a computed one is made of.
std::span<const PropertyTag> sourcesOf(PropertyTag tag);

// Tag 0 where there is none of it. `sources`: the properties that sourcesOf names.
Property computedMessageProperty(const StoreScope& scope, const store::MessageInfo& message, PropertyTag tag,
                                 bool writable, std::span<const Property> sources);

// PR_MESSAGE_FLAGS from what the client set (or nothing) and what the store knows.
Property messageFlags(const Property& source, const store::MessageInfo& message);

// What SetReadFlag and SetReadFlags refuse: to make unread and to speak of receipts of having been read.
HRESULT checkReadFlags(ULONG flags);

}  // namespace fendrel::provider
