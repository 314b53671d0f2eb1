#include "profile_section.h"

#include <fendrel/server_profile.h>

#include "memory_rows.h"
#include "status_codes.h"

namespace fendrel::provider {

ProfileSection::ProfileSection(std::shared_ptr<store::ProfileBook> profiles, std::u16string profile, bool writable)
    : MapiObject({std::make_shared<std::recursive_mutex>(), profiles}),
      profiles_(std::move(profiles)),
      profile_(std::move(profile)),
      writable_(writable) {}

HRESULT ProfileSection::readAllProperties(std::vector<Property>& found) {
  store::Profile profile;
  const auto status = profiles_->find(profile_, profile);
  if (status != store::Status::Ok) return toResult(status);
  found = {longProperty(PR_OBJECT_TYPE, MAPI_PROFSECT), makeProperty(PR_PROFILE_NAME_W, profile.name),
           makeProperty(PR_DISPLAY_NAME_W, profile.name), makeProperty(PR_DEFAULT_PROFILE, profile.isDefault),
           makeProperty(PR_MAILBOX_OWNER_NAME_W, profile.userName)};
  if (const auto& server = profile.server) {
    found.push_back(makeProperty(serverUrlTag, server->url));
    found.push_back(makeProperty(serverUserTag, server->user));
    found.push_back(makeProperty(publicAccountTag, server->publicAccount));
    found.push_back(makeProperty(tlsCaFileTag, server->tlsCaFile));
  }
  return S_OK;
}

HRESULT ProfileSection::readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) {
  std::vector<Property> all;
  if (const HRESULT result = readAllProperties(all); FAILED(result)) return result;
  for (const PropertyTag tag : tags) found.push_back(findProperty(all, tag));
  return S_OK;
}

HRESULT ProfileSection::checkProperty(PropertyTag tag) const {
  return PROP_ID(tag) == PROP_ID(PR_MAILBOX_OWNER_NAME_W) ? S_OK : MAPI_E_NO_ACCESS;
}

HRESULT ProfileSection::changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) {
  // A user always has a name.
  if (!remove.empty()) return MAPI_E_NO_ACCESS;
  for (const Property& property : set) {
    const auto* userName = textOf(property);
    if (!userName || userName->empty()) return MAPI_E_INVALID_PARAMETER;
    const auto status = profiles_->setUserName(profile_, *userName);
    if (status != store::Status::Ok) return toResult(status);
  }
  return S_OK;
}

HRESULT openProfileSection(const std::shared_ptr<store::ProfileBook>& profiles, const std::u16string& profile,
                           const MAPIUID* uid, LPCIID iid, ULONG flags, LPPROFSECT* section) {
  if (!section) return MAPI_E_INVALID_PARAMETER;
  *section = nullptr;
  if (!accepts<IProfSect>(iid)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
  if (uid && !IsEqualMAPIUID(uid, &MUID_PROFILE_INSTANCE)) return MAPI_E_NOT_FOUND;
  auto opened = makeObject<ProfileSection>(profiles, profile, (flags & MAPI_MODIFY) != 0);
  return handOut(opened, section);
}

}  // namespace fendrel::provider
