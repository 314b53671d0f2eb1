// Encryption of data by the system for the current user.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace fendrel::host {

using Bytes = std::vector<std::byte>;

// Both throw Failure(failed). Only the same user on the same machine can decrypt the data.
Bytes protect(std::span<const std::byte> bytes);
Bytes unprotect(std::span<const std::byte> bytes);

}  // namespace fendrel::host
