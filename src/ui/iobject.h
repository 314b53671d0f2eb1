// The base class of window objects.
#pragma once

namespace fendrel {

class CIObject {
 public:
  CIObject() = default;
  virtual ~CIObject() = default;
  CIObject(const CIObject&) = delete;
  CIObject& operator=(const CIObject&) = delete;
};

}  // namespace fendrel
