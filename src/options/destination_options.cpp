#include "destination_options.h"

#include <cstdlib>

namespace fendrel {
namespace {

template <class Options>
void freeRecord(Options* options) noexcept {
  if (!options) return;
  if (options->packedSize == 0) {
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
