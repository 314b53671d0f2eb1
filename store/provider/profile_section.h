// IProfSect: the properties of a profile.
#pragma once

#include "mapi_object.h"
#include "profile_book.h"

namespace fendrel::provider {

// PR_PROFILE_NAME, PR_DISPLAY_NAME, the server's properties (server_profile.h; all read-only) and
// PR_MAILBOX_OWNER_NAME_W, the user's name, which also names the mailbox. If the profile was removed since:
// MAPI_E_NOT_FOUND.
class ProfileSection final : public MapiObject<IProfSect> {
 public:
  ProfileSection(std::shared_ptr<store::ProfileBook> profiles, std::u16string profile, bool writable);

 private:
  HRESULT readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) override;
  HRESULT readAllProperties(std::vector<Property>& found) override;
  HRESULT checkWritable() const override { return writable_ ? S_OK : MAPI_E_NO_ACCESS; }
  HRESULT checkProperty(PropertyTag tag) const override;
  HRESULT changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) override;

  std::shared_ptr<store::ProfileBook> profiles_;
  std::u16string profile_;
  bool writable_;
};

// OpenProfileSection of all interfaces. MUID_PROFILE_INSTANCE (or null) is the only section.
HRESULT openProfileSection(const std::shared_ptr<store::ProfileBook>& profiles, const std::u16string& profile,
                           const MAPIUID* uid, LPCIID iid, ULONG flags, LPPROFSECT* section);

}  // namespace fendrel::provider
