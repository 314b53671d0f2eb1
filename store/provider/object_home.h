// The environment of an object.
#pragma once

#include <memory>
#include <mutex>

#include "origin.h"

namespace fendrel::provider {

struct ObjectHome {
  std::shared_ptr<std::recursive_mutex> mutex;  // locked by every call
  std::shared_ptr<store::Origin> origin;        // for GetLastError
};

}  // namespace fendrel::provider
