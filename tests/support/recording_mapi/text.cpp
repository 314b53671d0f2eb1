#include "text.h"

#include <fmt/format.h>
#include <mapitags.h>

#include <cstring>

#include "properties.h"

namespace recording {
namespace {

std::string narrow(std::wstring_view text, UINT codePage) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  std::string result(WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr), '\0');
  WideCharToMultiByte(codePage, 0, text.data(), length, result.data(), static_cast<int>(result.size()), nullptr,
                      nullptr);
  return result;
}

struct Named {
  ULONG tag;
  const char* name;
};

constexpr Named names[] = {{PR_SUBJECT_W, "PR_SUBJECT"},
                           {PR_MESSAGE_CLASS_W, "PR_MESSAGE_CLASS"},
                           {PR_CLIENT_SUBMIT_TIME, "PR_CLIENT_SUBMIT_TIME"},
                           {PR_MESSAGE_DELIVERY_TIME, "PR_MESSAGE_DELIVERY_TIME"},
                           {PR_SENSITIVITY, "PR_SENSITIVITY"},
                           {PR_CONVERSATION_TOPIC_W, "PR_CONVERSATION_TOPIC"},
                           {PR_SENDER_ENTRYID, "PR_SENDER_ENTRYID"},
                           {PR_SENDER_NAME_W, "PR_SENDER_NAME"},
                           {PR_SENDER_SEARCH_KEY, "PR_SENDER_SEARCH_KEY"},
                           {PR_SENT_REPRESENTING_ENTRYID, "PR_SENT_REPRESENTING_ENTRYID"},
                           {PR_SENT_REPRESENTING_NAME_W, "PR_SENT_REPRESENTING_NAME"},
                           {PR_SENT_REPRESENTING_SEARCH_KEY, "PR_SENT_REPRESENTING_SEARCH_KEY"},
                           {PR_DISPLAY_NAME_W, "PR_DISPLAY_NAME"},
                           {PR_COMMENT_W, "PR_COMMENT"},
                           {PR_BODY_W, "PR_BODY"},
                           {PR_IMPORTANCE, "PR_IMPORTANCE"},
                           {PR_ATTACH_LONG_FILENAME_W, "PR_ATTACH_LONG_FILENAME"},
                           {PR_ATTACH_METHOD, "PR_ATTACH_METHOD"},
                           {PR_ATTACH_EXTENSION_W, "PR_ATTACH_EXTENSION"},
                           {PR_ATTACH_FILENAME_W, "PR_ATTACH_FILENAME"},
                           {PR_ATTACH_DATA_BIN, "PR_ATTACH_DATA_BIN"},
                           {PR_ATTACH_NUM, "PR_ATTACH_NUM"},
                           {PR_ENTRYID, "PR_ENTRYID"},
                           {PR_SEARCH_KEY, "PR_SEARCH_KEY"},
                           {PR_RESOURCE_TYPE, "PR_RESOURCE_TYPE"},
                           {PR_DEFAULT_STORE, "PR_DEFAULT_STORE"},
                           {PR_VALID_FOLDER_MASK, "PR_VALID_FOLDER_MASK"},
                           {PR_IPM_SUBTREE_ENTRYID, "PR_IPM_SUBTREE_ENTRYID"},
                           {PR_COMMON_VIEWS_ENTRYID, "PR_COMMON_VIEWS_ENTRYID"}};

}  // namespace

std::string utf8(std::wstring_view text) { return narrow(text, CP_UTF8); }
std::string ansi(std::wstring_view text) { return narrow(text, CP_ACP); }

std::wstring wide(const char* ansiText) {
  const int length = static_cast<int>(std::strlen(ansiText));
  if (length == 0) return {};
  std::wstring result(MultiByteToWideChar(CP_ACP, 0, ansiText, length, nullptr, 0), L'\0');
  MultiByteToWideChar(CP_ACP, 0, ansiText, length, result.data(), static_cast<int>(result.size()));
  return result;
}

std::string hex(unsigned long long number) { return fmt::format("{:#x}", number); }

std::string hexBytes(const Bytes& bytes) {
  std::string text = "<";
  for (const BYTE byte : bytes) text += fmt::format("{:02x}", byte);
  return text + ">";
}

std::string quoted(const wchar_t* text) { return text ? fmt::format("\"{}\"", utf8(text)) : "null"; }

std::string interfaceName(const IID* interfaceId) {
  if (!interfaceId) return "null";
  // The interfaces of MAPI differ in the first number alone.
  switch (interfaceId->Data1) {
    case 0x00000000: return "IID_IUnknown";
    case 0x0000000C: return "IID_IStream";
    case 0x00020300: return "IID_IMAPISession";
    case 0x00020301: return "IID_IMAPITable";
    case 0x00020303: return "IID_IMAPIProp";
    case 0x00020306: return "IID_IMsgStore";
    case 0x00020307: return "IID_IMessage";
    case 0x00020308: return "IID_IAttachment";
    case 0x0002030A: return "IID_IMailUser";
    case 0x0002030B: return "IID_IMAPIContainer";
    case 0x0002030C: return "IID_IMAPIFolder";
    default: return fmt::format("{{{:08x}}}", static_cast<unsigned long>(interfaceId->Data1));
  }
}

std::string propertyName(ULONG tag) {
  for (const Named& named : names) {
    if (PROP_ID(named.tag) != PROP_ID(tag)) continue;
    if (PROP_TYPE(tag) == PT_STRING8) return std::string(named.name) + "_A";
    if (PROP_TYPE(tag) == PT_UNICODE) return std::string(named.name) + "_W";
    if (PROP_TYPE(tag) == PROP_TYPE(named.tag)) return named.name;
  }
  return fmt::format("{:#010x}", static_cast<unsigned long>(tag));
}

std::string columnNames(const SPropTagArray* tags) {
  if (!tags) return "null";
  std::string text;
  for (ULONG column = 0; column < tags->cValues; ++column)
    text += fmt::format("{}{}", column ? "," : "", propertyName(tags->aulPropTag[column]));
  return text;
}

std::string propertyList(const SPropValue* values, ULONG count) {
  std::string text;
  for (ULONG index = 0; index < count; ++index) {
    const Property property = decode(values[index]);
    text += fmt::format("{}{}={}", index ? " " : "", propertyName(property.tag), describe(property));
  }
  return text;
}

}  // namespace recording
