// IMAPIProp of every object, implemented on a PropertyHost.
#pragma once

#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "last_error.h"
#include "mapi_interfaces.h"
#include "named_properties_calls.h"
#include "object_home.h"
#include "property_copy.h"
#include "property_values.h"

namespace fendrel::provider {

// An object's properties, including computed ones. Requested tags match by identifier, any type.
class PropertyHost {
 public:
  // One property for each tag, in order; tag 0 for a missing one.
  virtual HRESULT readProperties(std::span<const PropertyTag> tags, std::vector<Property>& found) = 0;

  // All of them; very long values unloaded.
  virtual HRESULT readAllProperties(std::vector<Property>& found) = 0;

  // The properties of type PT_OBJECT that OpenProperty opens.
  virtual std::span<const ULONG> objectTags() const { return {}; }

  // S_OK if the object may be changed, else MAPI_E_NO_ACCESS.
  virtual HRESULT checkWritable() const { return MAPI_E_NO_ACCESS; }

  // S_OK if this property may be set and removed, else the problem to report: MAPI_E_COMPUTED, MAPI_E_NO_ACCESS.
  virtual HRESULT checkProperty(PropertyTag tag) const = 0;

  // Called with properties that checkProperty accepts.
  virtual HRESULT changeProperties(std::span<const Property> set, std::span<const PropertyTag> remove) = 0;

  virtual HRESULT saveChanges(ULONG) { return S_OK; }

  // `options` are those of the interface: STGM_ for a stream.
  virtual HRESULT openProperty(ULONG, REFIID, ULONG, ULONG, IUnknown**) { return MAPI_E_NO_SUPPORT; }

 protected:
  ~PropertyHost() = default;
};

// The implementations of IMAPIProp's methods.
HRESULT getProps(PropertyHost& host, const SPropTagArray* tags, ULONG flags, ULONG* count, LPSPropValue* values);
HRESULT getPropList(PropertyHost& host, ULONG flags, LPSPropTagArray* tags);
HRESULT setProps(PropertyHost& host, ULONG count, const SPropValue* values, LPSPropProblemArray* problems);
HRESULT deleteProps(PropertyHost& host, const SPropTagArray* tags, LPSPropProblemArray* problems);

template <class Interface>
class MapiObject : public ComObject<Interface>, protected PropertyHost {
 public:
  explicit MapiObject(ObjectHome home) : home_(std::move(home)) {}

  STDMETHODIMP GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override {
    return guarded([&] { return lastError(*home_.origin, result, flags, error); });
  }
  STDMETHODIMP SaveChanges(ULONG flags) override {
    return locked([&] { return saveChanges(flags); });
  }
  STDMETHODIMP GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) override {
    return locked([&] { return getProps(*this, tags, flags, count, values); });
  }
  STDMETHODIMP GetPropList(ULONG flags, LPSPropTagArray* tags) override {
    return locked([&] { return getPropList(*this, flags, tags); });
  }
  STDMETHODIMP OpenProperty(ULONG tag, LPCIID iid, ULONG options, ULONG flags, LPUNKNOWN* object) override {
    if (!iid || !object) return MAPI_E_INVALID_PARAMETER;
    *object = nullptr;
    if (PROP_TYPE(tag) == PT_UNSPECIFIED || PROP_ID(tag) == 0) return MAPI_E_INVALID_PARAMETER;
    return locked([&] { return openProperty(tag, *iid, options, flags, object); });
  }
  STDMETHODIMP SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) override {
    return locked([&] { return setProps(*this, count, values, problems); });
  }
  STDMETHODIMP DeleteProps(LPSPropTagArray tags, LPSPropProblemArray* problems) override {
    return locked([&] { return deleteProps(*this, tags, problems); });
  }
  // Not under the lock: the target may belong to another session, whose thread copies in the other direction.
  STDMETHODIMP CopyTo(ULONG excludedCount, LPCIID excludedInterfaces, LPSPropTagArray excluded, UlongPtr,
                      LPMAPIPROGRESS, LPCIID iid, LPVOID target, ULONG flags, LPSPropProblemArray* problems) override {
    const std::span interfaces(excludedInterfaces, excludedInterfaces ? excludedCount : 0);
    return guarded([&] { return copyTo(*this, interfaces, excluded, iid, target, flags, problems); });
  }
  STDMETHODIMP CopyProps(LPSPropTagArray included, UlongPtr, LPMAPIPROGRESS, LPCIID iid, LPVOID target, ULONG flags,
                         LPSPropProblemArray* problems) override {
    return guarded([&] { return copyProps(*this, included, iid, target, flags, problems); });
  }
  STDMETHODIMP GetNamesFromIDs(LPSPropTagArray* tags, LPGUID set, ULONG flags, ULONG* count,
                               LPMAPINAMEID** names) override {
    return locked([&] { return getNamesFromIds(*home_.origin, tags, set, flags, count, names); });
  }
  STDMETHODIMP GetIDsFromNames(ULONG count, LPMAPINAMEID* names, ULONG flags, LPSPropTagArray* tags) override {
    return locked([&] { return getIdsFromNames(*home_.origin, count, names, flags, tags); });
  }

 protected:
  template <class Call>
  HRESULT locked(Call&& call) noexcept {
    return guarded(*home_.mutex, std::forward<Call>(call));
  }
  const ObjectHome& home() const noexcept { return home_; }
  const std::shared_ptr<std::recursive_mutex>& mutex() const noexcept { return home_.mutex; }

 private:
  ObjectHome home_;
};

}  // namespace fendrel::provider
