// Stores on a simulated disk, and their expected content.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "samples.h"
#include "simulated_disk.h"

namespace fendrel::store {

inline const std::wstring storePath = L"C:\\simulated\\reports\\store.db";
// Not made from storePath: which of the two is made first differs between compilers.
inline const std::wstring contentPath = L"C:\\simulated\\reports\\store.db.files";

// One message each: in the row's page, with a blob over several pages, with a content file.
std::vector<Expected> noSamples();
std::vector<Expected> oldSamples();

DiskImage emptyDisk();
DiskImage storeWithSamples();
DiskImage storeOfVersion1();  // without messages
DiskImage oldStore();         // the messages in a store of version 1

// Fails the test if the power is on and the status is not Ok.
std::unique_ptr<Database> openOn(SimulatedDisk& disk);

// Opens the store and reads everything. Each sentence names a problem with messages, pages or orphans. With `repeat`
// another message is posted.
std::vector<std::string> judge(DiskImage image, const std::vector<Expected>& expected, bool repeat);

// The result of SQLite's integrity check of an open store.
std::string integrityOf(Database& database);

// From FENDREL_TEST_SEED, or CI's.
std::uint64_t seedOfRun();

}  // namespace fendrel::store
