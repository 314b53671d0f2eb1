// Fills a folder of a local store without MAPI, for tests and benchmarks of long folders.
#pragma once

#include <string>
#include <vector>

namespace fendrel::test {

// Copies the first message of a folder until the folder has `wanted` messages. `path`: the folder's names below the top
// of "Public Folders". Nothing is synced: the disk is not measured. Throws std::runtime_error.
void fillWithCopies(const std::wstring& database, const std::vector<std::u16string>& path, int wanted);

}  // namespace fendrel::test
