// The base of every interface of the double: COM identity, checked reference counts, recorded calls.
#pragma once

#include <mapix.h>
#include <windows.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "recorder.h"
#include "text.h"

namespace recording {

// An object exists until the reset, so that a call after its last Release is a recorded fault instead of a crash.
class Tracked {
 public:
  Tracked(const char* interfaceName, std::string label);
  virtual ~Tracked() = default;
  Tracked(const Tracked&) = delete;
  Tracked& operator=(const Tracked&) = delete;

  bool live() const { return references_ > 0; }
  std::string describe() const { return std::string(interface_) + " of " + label_; }

 protected:
  ULONG addReference();
  ULONG dropReference();
  virtual void lastReferenceGone() {}

  const std::string& label() const { return label_; }
  std::string methodName(const char* method) const { return std::string(interface_) + "::" + method; }

  // Records a method's call and carries it out.
  template <class Body>
  HRESULT perform(const char* method, std::string arguments, Body body, const Outputs& outputs = {}) {
    checkUse(method);
    return recorder().perform(methodName(method), label_, std::move(arguments), body, outputs);
  }

  // The result of every method that the double does not implement.
  HRESULT refuse(const char* method) {
    return perform(method, "", [] { return MAPI_E_NO_SUPPORT; });
  }

 private:
  void checkUse(const char* method);

  const char* interface_;
  std::string label_;
  LONG references_ = 1;
};

// All objects since the last reset.
class Objects {
 public:
  template <class Object, class... Arguments>
  Object* make(Arguments&&... arguments) {
    auto object = std::make_unique<Object>(std::forward<Arguments>(arguments)...);
    Object* const raw = object.get();
    objects_.push_back(std::move(object));
    return raw;
  }

  void reset() { objects_.clear(); }
  uint32_t live() const;
  std::string describeLive() const;

 private:
  std::vector<std::unique_ptr<Tracked>> objects_;
};

Objects& objects();

template <class Interface>
class Object : public Interface, public Tracked {
 public:
  // `identities`: the interfaces besides IUnknown that QueryInterface knows; all are the same vtable.
  Object(const char* interfaceName, std::string label, std::vector<const IID*> identities)
      : Tracked(interfaceName, std::move(label)), identities_(std::move(identities)) {}

  STDMETHODIMP QueryInterface(REFIID interfaceId, void** object) override {
    return perform("QueryInterface", "interface=" + interfaceName(&interfaceId), [&]() -> HRESULT {
      if (!object) return E_INVALIDARG;
      *object = nullptr;
      if (!offers(interfaceId)) return E_NOINTERFACE;
      addReference();
      *object = static_cast<Interface*>(this);
      return S_OK;
    });
  }
  STDMETHODIMP_(ULONG) AddRef() override { return addReference(); }
  STDMETHODIMP_(ULONG) Release() override { return dropReference(); }

 protected:
  bool offers(REFIID interfaceId) const {
    return IsEqualIID(interfaceId, IID_IUnknown) ||
           std::ranges::any_of(identities_, [&](const IID* known) { return IsEqualIID(interfaceId, *known); });
  }

 private:
  std::vector<const IID*> identities_;
};

// For MAPI's method lists: gives each method a body that refuses. Derived classes override the methods that the double
// has.
#define RECORDING_REFUSED \
  { return this->refuse(__func__); }

#ifdef __GNUC__
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#else
#pragma warning(push)
#pragma warning(disable : 4100)
#endif

class RefusingProp : public Object<IMAPIProp> {
 public:
  using Object::Object;
  MAPI_IMAPIPROP_METHODS(RECORDING_REFUSED)
};

class RefusingFolder : public Object<IMAPIFolder> {
 public:
  using Object::Object;
  MAPI_IMAPIPROP_METHODS(RECORDING_REFUSED)
  MAPI_IMAPICONTAINER_METHODS(RECORDING_REFUSED)
  MAPI_IMAPIFOLDER_METHODS(RECORDING_REFUSED)
};

class RefusingStore : public Object<IMsgStore> {
 public:
  using Object::Object;
  MAPI_IMAPIPROP_METHODS(RECORDING_REFUSED)
  MAPI_IMSGSTORE_METHODS(RECORDING_REFUSED)
};

class RefusingMessage : public Object<IMessage> {
 public:
  using Object::Object;
  MAPI_IMAPIPROP_METHODS(RECORDING_REFUSED)
  MAPI_IMESSAGE_METHODS(RECORDING_REFUSED)
};

class RefusingAttach : public Object<IAttach> {
 public:
  using Object::Object;
  MAPI_IMAPIPROP_METHODS(RECORDING_REFUSED)
};

class RefusingTable : public Object<IMAPITable> {
 public:
  using Object::Object;
  MAPI_IMAPITABLE_METHODS(RECORDING_REFUSED)
};

class RefusingSession : public Object<IMAPISession> {
 public:
  using Object::Object;
  MAPI_IMAPISESSION_METHODS(RECORDING_REFUSED)
};

#ifdef __GNUC__
#pragma GCC diagnostic pop
#else
#pragma warning(pop)
#endif

}  // namespace recording
