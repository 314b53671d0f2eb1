// Messages whose contents can be compared byte by byte, and their expected state in a store.
#pragma once

#include <string>
#include <vector>

#include "content_blocks.h"
#include "database_on_disk.h"
#include "disk.h"
#include "messages.h"

namespace fendrel::store {

struct Sample {
  std::u16string subject;
  std::vector<std::size_t> attachments;  // their sizes; the bytes follow from size and number
};

// Sizes of each kind: in the row's page, a blob over several pages, a file of its own.
constexpr std::size_t smallSize = 300, blobSize = 60'000, fileSize = 3 * contentBlockSize + 777;

// Writes contents in pieces of this size.
Status post(Database& database, const Sample& sample, std::size_t piece = contentBlockSize);

// Deletes the messages of that subject.
Status removeSamples(Database& database, const std::u16string& subject);

// The expected state of a sample.
enum class Fate { Present, Absent, Either };
struct Expected {
  Sample sample;
  Fate fate;
};

// Reads everything. Each returned sentence names a problem; `Corrupt` results are counted in `refused` instead, if
// given.
std::vector<std::string> differences(Database& database, const std::vector<Expected>& expected, int* refused = nullptr);

}  // namespace fendrel::store
