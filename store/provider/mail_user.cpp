#include "mail_user.h"

#include "memory_rows.h"
#include "property_order.h"

namespace fendrel::provider {
namespace {

constexpr char16_t addressType[] = u"FENDREL";

// The search key of an address: address type, colon and address in capitals, zero-terminated.
store::Bytes searchKey(const store::Profile& profile) {
  std::u16string key = std::u16string(addressType) + u":" + profile.userName;
  CharUpperBuffW(reinterpret_cast<wchar_t*>(key.data()), static_cast<DWORD>(key.size()));
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, systemText(key), static_cast<int>(key.size()), nullptr, 0, nullptr, nullptr);
  store::Bytes bytes(static_cast<std::size_t>(size) + 1);
  WideCharToMultiByte(CP_UTF8, 0, systemText(key), static_cast<int>(key.size()), reinterpret_cast<char*>(bytes.data()),
                      size, nullptr, nullptr);
  return bytes;
}

}  // namespace

MailUser::MailUser(const SessionPointer& session, const store::Profile& profile) : MapiObject(homeOf(session)) {
  properties_ = {
      makeProperty(PR_ENTRYID, userEntryId(profile)),     makeProperty(PR_RECORD_KEY, userEntryId(profile)),
      longProperty(PR_OBJECT_TYPE, MAPI_MAILUSER),        longProperty(PR_DISPLAY_TYPE, DT_MAILUSER),
      makeProperty(PR_DISPLAY_NAME_W, profile.userName),  makeProperty(PR_ADDRTYPE_W, std::u16string(addressType)),
      makeProperty(PR_EMAIL_ADDRESS_W, profile.userName), makeProperty(PR_ACCOUNT_W, profile.userName),
      makeProperty(PR_SEARCH_KEY, searchKey(profile)),    longProperty(PR_ACCESS_LEVEL, 0)};
}

HRESULT MailUser::readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) {
  for (const PropertyTag tag : tags) found.push_back(findProperty(properties_, tag));
  return S_OK;
}

HRESULT MailUser::readAllProperties(std::vector<Property>& found) {
  found = properties_;
  return S_OK;
}

}  // namespace fendrel::provider
