// The least that any store over SQLite does for a post: reads the file and inserts its bytes as a row.
#pragma once

#include <string>
#include <vector>

namespace fendrel::bench {

// Inserts the files into a new plain table of the database file `path`, with the store's page size and durability, one
// transaction each. Returns the milliseconds of the inserts. Ends the program with a message at a failure.
double insertIntoPlainTable(const std::wstring& path, const std::vector<std::wstring>& files);

}  // namespace fendrel::bench
