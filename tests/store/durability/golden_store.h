// Stores as every released schema made them: packed small for the repository, listed for comparison.
#pragma once

#include <string>

#include "simulated_disk.h"

namespace fendrel::store {

class Database;

// The image of a store as one sequence of bytes in which zeros take no room, and back.
Bytes packed(const DiskImage& image);
DiskImage unpacked(const Bytes& bytes);

// Profiles, folders and messages with everything in them, one line each.
std::string listing(Database& database);

}  // namespace fendrel::store
