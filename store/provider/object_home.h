// What an object needs of where it comes from.
#pragma once

#include <memory>
#include <mutex>

#include "origin.h"

namespace fendrel::provider {

struct ObjectHome {
  std::shared_ptr<std::recursive_mutex> mutex;  // taken by every call
  std::shared_ptr<store::Origin> origin;        // whose last words it repeats
};

}  // namespace fendrel::provider
