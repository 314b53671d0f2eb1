// Stores on a simulated disk, and what may be found in them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "samples.h"
#include "simulated_disk.h"

namespace fendrel::store {

inline const std::wstring storePath = L"C:\\simulated\\reports\\store.db";
inline const std::wstring contentPath = storePath + L".files";

// One message each: in the row's page, with a blob over several pages, with a content file.
std::vector<Expected> noSamples();
std::vector<Expected> oldSamples();

DiskImage emptyDisk();
DiskImage storeWithSamples();
DiskImage storeOfVersion1();  // without messages
DiskImage oldStore();         // the messages in a store of version 1

// Fails the test where the power is on and the answer is not Ok.
std::unique_ptr<Database> openOn(SimulatedDisk& disk);

// Opens the store as ever and reads everything. Each sentence names something that is wrong with it: messages, pages,
// orphans. With `repeat` another message is posted.
std::vector<std::string> judge(DiskImage image, const std::vector<Expected>& expected, bool repeat);

// SQLite's own verdict on an open store.
std::string integrityOf(Database& database);

// From FENDREL_TEST_SEED, or the one that CI uses.
std::uint64_t seedOfRun();

}  // namespace fendrel::store
