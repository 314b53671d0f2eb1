#include "message_properties.h"

#include <algorithm>

namespace fendrel::provider {
namespace {

constexpr PropertyTag messageTags[] = {
    PR_OBJECT_TYPE,       PR_ENTRYID,       PR_RECORD_KEY,         PR_SEARCH_KEY,       PR_PARENT_ENTRYID,
    PR_STORE_ENTRYID,     PR_MESSAGE_FLAGS, PR_MESSAGE_SIZE,       PR_HASATTACH,        PR_NORMALIZED_SUBJECT_W,
    PR_SUBJECT_PREFIX_W,  PR_ACCESS,        PR_ACCESS_LEVEL,       PR_CREATION_TIME,    PR_LAST_MODIFICATION_TIME,
    PR_DISPLAY_TO_W,      PR_DISPLAY_CC_W,  PR_DISPLAY_BCC_W,      PR_STORE_RECORD_KEY, PR_MDB_PROVIDER,
    PR_MAPPING_SIGNATURE, PR_INSTANCE_KEY,  PR_STORE_SUPPORT_MASK, PR_MSG_STATUS};

// "RE: " and the like: one to three letters, a colon and a space.
std::size_t prefixLength(std::u16string_view subject) {
  const std::size_t colon = subject.substr(0, 4).find(u':');
  if (colon == 0 || colon == std::u16string_view::npos || colon + 1 >= subject.size() || subject[colon + 1] != u' ')
    return 0;
  const auto isLetter = [](char16_t unit) {
    return unit > 0x7F || (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
  };
  return std::ranges::all_of(subject.substr(0, colon), isLetter) ? colon + 2 : 0;
}

// The subject's prefix: the one that was set, if the subject begins with it, else what looks like a prefix.
Property subjectPart(const Property& subject, const Property& setPrefix, PropertyTag tag) {
  const auto* text = textOf(subject);
  const auto* set = textOf(setPrefix);
  if (!text) return set && tag == PR_SUBJECT_PREFIX_W ? setPrefix : Property{};
  const std::size_t prefix = set && text->starts_with(*set) ? set->size() : prefixLength(*text);
  return makeProperty(tag, tag == PR_SUBJECT_PREFIX_W ? text->substr(0, prefix) : text->substr(prefix));
}

constexpr PropertyTag flagSources[] = {anyType(PR_MESSAGE_FLAGS)};
constexpr PropertyTag subjectSources[] = {anyType(PR_SUBJECT_W), anyType(PR_SUBJECT_PREFIX_W)};

}  // namespace

std::span<const PropertyTag> computedMessageTags() { return messageTags; }

bool isComputedMessageTag(PropertyTag tag) {
  return std::ranges::any_of(messageTags, [&](PropertyTag one) { return PROP_ID(one) == PROP_ID(tag); });
}

std::span<const PropertyTag> sourcesOf(PropertyTag tag) {
  switch (PROP_ID(tag)) {
    case PROP_ID(PR_MESSAGE_FLAGS): return flagSources;
    case PROP_ID(PR_NORMALIZED_SUBJECT_W):
    case PROP_ID(PR_SUBJECT_PREFIX_W): return subjectSources;
    default: return {};
  }
}

HRESULT checkReadFlags(ULONG flags) {
  const bool isContradiction = (flags & CLEAR_READ_FLAG) && (flags & (SUPPRESS_RECEIPT | GENERATE_RECEIPT_ONLY));
  return isContradiction ? MAPI_E_INVALID_PARAMETER : S_OK;
}

Property messageFlags(const Property& source, const store::MessageInfo& message) {
  constexpr ULONG known = MSGFLAG_READ | MSGFLAG_HASATTACH | MSGFLAG_ASSOCIATED | MSGFLAG_UNMODIFIED;
  // A message that was never submitted is a draft unless its creator set other flags.
  ULONG flags = longOf(source) ? static_cast<ULONG>(*longOf(source)) & ~known : MSGFLAG_UNSENT;
  if (message.isRead) flags |= MSGFLAG_READ;
  if (message.hasAttachments) flags |= MSGFLAG_HASATTACH;
  if (message.kind == store::MessageKind::Associated) flags |= MSGFLAG_ASSOCIATED;
  if (message.revision == 1) flags |= MSGFLAG_UNMODIFIED;
  return makeProperty(PR_MESSAGE_FLAGS, static_cast<std::int32_t>(flags));
}

Property computedMessageProperty(const StoreScope& scope, const store::MessageInfo& message, PropertyTag tag,
                                 bool writable, std::span<const Property> sources) {
  switch (PROP_ID(tag)) {
    case PROP_ID(PR_OBJECT_TYPE): return longProperty(PR_OBJECT_TYPE, MAPI_MESSAGE);
    case PROP_ID(PR_ENTRYID): return makeProperty(PR_ENTRYID, scope.messageEntryId(message.id));
    case PROP_ID(PR_RECORD_KEY): return makeProperty(PR_RECORD_KEY, bytesOf(message.id));
    case PROP_ID(PR_INSTANCE_KEY): return makeProperty(PR_INSTANCE_KEY, bytesOf(message.id));
    case PROP_ID(PR_SEARCH_KEY): return makeProperty(PR_SEARCH_KEY, bytesOf(message.searchKey));
    case PROP_ID(PR_PARENT_ENTRYID): return makeProperty(PR_PARENT_ENTRYID, scope.folderEntryId(message.folder));
    case PROP_ID(PR_STORE_ENTRYID): return makeProperty(PR_STORE_ENTRYID, scope.storeEntryId());
    case PROP_ID(PR_STORE_RECORD_KEY): return makeProperty(PR_STORE_RECORD_KEY, bytesOf(scope.store.id));
    case PROP_ID(PR_MAPPING_SIGNATURE): return makeProperty(PR_MAPPING_SIGNATURE, scope.mappingSignature());
    case PROP_ID(PR_MDB_PROVIDER): {
      const auto* uid = reinterpret_cast<const std::byte*>(&providerId());
      return makeProperty(PR_MDB_PROVIDER, store::Bytes(uid, uid + sizeof(MAPIUID)));
    }
    case PROP_ID(PR_MESSAGE_FLAGS): return messageFlags(sources[0], message);
    case PROP_ID(PR_MESSAGE_SIZE): return longProperty(PR_MESSAGE_SIZE, message.size);
    case PROP_ID(PR_HASATTACH): return makeProperty(PR_HASATTACH, message.hasAttachments);
    case PROP_ID(PR_NORMALIZED_SUBJECT_W): return subjectPart(sources[0], sources[1], PR_NORMALIZED_SUBJECT_W);
    case PROP_ID(PR_SUBJECT_PREFIX_W): return subjectPart(sources[0], sources[1], PR_SUBJECT_PREFIX_W);
    case PROP_ID(PR_MSG_STATUS): return makeProperty(PR_MSG_STATUS, static_cast<std::int32_t>(message.status));
    case PROP_ID(PR_ACCESS):
      return longProperty(
          PR_ACCESS, scope.writable ? MAPI_ACCESS_READ | MAPI_ACCESS_MODIFY | MAPI_ACCESS_DELETE : MAPI_ACCESS_READ);
    case PROP_ID(PR_ACCESS_LEVEL): return longProperty(PR_ACCESS_LEVEL, writable ? MAPI_MODIFY : 0);
    case PROP_ID(PR_CREATION_TIME): return makeProperty(PR_CREATION_TIME, message.created);
    case PROP_ID(PR_LAST_MODIFICATION_TIME): return makeProperty(PR_LAST_MODIFICATION_TIME, message.modified);
    // Messages are posted, not sent: they have no recipients.
    case PROP_ID(PR_DISPLAY_TO_W): return makeProperty(PR_DISPLAY_TO_W, std::u16string());
    case PROP_ID(PR_DISPLAY_CC_W): return makeProperty(PR_DISPLAY_CC_W, std::u16string());
    case PROP_ID(PR_DISPLAY_BCC_W): return makeProperty(PR_DISPLAY_BCC_W, std::u16string());
    case PROP_ID(PR_STORE_SUPPORT_MASK): return longProperty(PR_STORE_SUPPORT_MASK, storeSupportMask(scope.writable));
    default: return {};
  }
}

}  // namespace fendrel::provider
