// The properties of a message that the store computes.
#pragma once

#include "messages.h"
#include "session_context.h"

namespace fendrel::provider {

// In the order in which a message lists them.
std::span<const PropertyTag> computedMessageTags();

bool isComputedMessageTag(PropertyTag tag);

// The stored property that a computed one is made of; 0 when it needs none.
PropertyTag sourceOf(PropertyTag tag);

// Tag 0 where there is none of it. `source`: the property that sourceOf names.
Property computedMessageProperty(const StoreScope& scope, const store::MessageInfo& message, PropertyTag tag,
                                 bool writable, const Property& source);

// PR_MESSAGE_FLAGS from what the client set (or nothing) and what the store knows.
Property messageFlags(const Property& source, bool isRead, bool hasAttachments, bool isAssociated);

}  // namespace fendrel::provider
