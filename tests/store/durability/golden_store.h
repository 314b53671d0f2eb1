// Stores of every released schema: compressed for the repository, listed for comparison.
#pragma once

#include <string>

#include "simulated_disk.h"

namespace fendrel::store {

class Database;

// The image of a store as one sequence of bytes with compressed zeros, and back.
Bytes packed(const DiskImage& image);
DiskImage unpacked(const Bytes& bytes);

// Profiles, folders and messages with all their data, one line each.
std::string listing(Database& database);

}  // namespace fendrel::store
