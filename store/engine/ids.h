// New identifiers and times.
#pragma once

#include <string>

#include "property.h"

namespace fendrel::store {

// The current time for messages: strictly increasing within a process.
FileTime now() noexcept;

// A new identifier: unique, and increasing with time so that indexes stay compact.
Guid newGuid();

constexpr Guid noGuid{};

// 32 hexadecimal digits.
std::wstring hexText(const Guid& guid);

}  // namespace fendrel::store
