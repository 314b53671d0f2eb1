// The system's protection of data for the user who is logged on.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace fendrel::host {

using Bytes = std::vector<std::byte>;

// Both throw Failure(failed). What this user protects, only this user on this machine can read again.
Bytes protect(std::span<const std::byte> bytes);
Bytes unprotect(std::span<const std::byte> bytes);

}  // namespace fendrel::host
