// Identifiers and times as the engine gives them.
#pragma once

#include <string>

#include "property.h"

namespace fendrel::store {

// The time now, as the engine stamps messages: strictly growing within a process.
FileTime now() noexcept;

// A new identifier: unique, and growing with time so that indexes stay compact.
Guid newGuid();

constexpr Guid noGuid{};

// 32 hexadecimal digits.
std::wstring hexText(const Guid& guid);

}  // namespace fendrel::store
