// Failures inside the engine: thrown where they occur, converted to a Status at its interface (guarded).
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "status.h"

namespace fendrel::store {

struct EngineError {
  Status status;
  std::string text;  // one English sentence, UTF-8
};

[[noreturn]] inline void fail(Status status, std::string text) { throw EngineError{status, std::move(text)}; }

// The Status for a system error code. Out of memory throws std::bad_alloc instead.
Status statusOfWindows(unsigned long code);

}  // namespace fendrel::store
