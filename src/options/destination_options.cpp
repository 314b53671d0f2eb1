#include "destination_options.h"

#include <cstdlib>

#include "packed_options.h"

namespace fendrel {
namespace {

// A block whose packed size is 0 modulo 65,536 differs from an unpacked record by its first string, directly after the
// header: that offset is not an address.
template <class Options>
bool holdsOffsets(const Options& options) noexcept {
  for (const std::uint64_t field : {options.profileNameOffset, options.profilePasswordOffset, options.folderPathOffset})
    if (field != 0) return field == optionsHeaderSize;
  return false;
}

template <class Options>
void freeRecord(Options* options) noexcept {
  if (!options) return;
  if (options->packedSize == 0 && !holdsOffsets(*options)) {
    std::free(options->profileName);
    std::free(options->profilePassword);
    std::free(options->folderPath);
  }
  std::free(options);
}

}  // namespace

void freeOptions(DestinationOptions* options) noexcept { freeRecord(options); }
void freeOptions(DestinationOptionsA* options) noexcept { freeRecord(options); }

}  // namespace fendrel
