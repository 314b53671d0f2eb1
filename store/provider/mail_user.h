// The session's user as an address entry.
#pragma once

#include "mapi_object.h"
#include "session_context.h"

namespace fendrel::provider {

class MailUser final : public MapiObject<IMailUser> {
 public:
  MailUser(const SessionPointer& session, const store::Profile& profile);

 private:
  HRESULT readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) override;
  HRESULT readAllProperties(std::vector<Property>& found) override;
  HRESULT checkProperty(PropertyTag) const override { return MAPI_E_NO_ACCESS; }
  HRESULT changeProperties(std::span<const Property>, std::span<const PropertyTag>) override {
    return MAPI_E_NO_ACCESS;
  }

  std::vector<Property> properties_;
};

}  // namespace fendrel::provider
