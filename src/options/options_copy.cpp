#include "options_copy.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "packed_options.h"
#include "readable_memory.h"

namespace fendrel {
namespace {

// The readable part of a packed record. The stated size of the shortest record is less than its header.
template <class Options>
std::span<const std::byte> readableBlock(const Options& options) noexcept {
  const auto* const start = reinterpret_cast<const std::byte*>(&options);
  return {start, readableBytes(start, std::max(optionsHeaderSize, options.packedSize + packedSizeShortfall))};
}

}  // namespace

template <class Options>
std::uint32_t OptionsCopy<Options>::copyBytes(const Options& options, std::size_t size) noexcept {
  block_.reset(static_cast<std::byte*>(std::malloc(size)));
  if (!block_) return FENDREL_OUT_OF_MEMORY;
  std::memcpy(block_.get(), &options, size);
  reinterpret_cast<Options*>(block_.get())->version = 1;
  return FENDREL_SUCCESS;
}

template <class Options>
auto OptionsCopy<Options>::stringAt(std::uint32_t offset) const noexcept -> const Character* {
  return offset == 0 ? nullptr : reinterpret_cast<const Character*>(block_.get() + offset);
}

template <class Options>
std::uint32_t OptionsCopy<Options>::take(const Options& options) noexcept {
  if (options.packedSize == 0) {
    if (const auto code = copyBytes(options, optionsHeaderSize)) return code;
    profileName_ = header().profileName;
    profilePassword_ = header().profilePassword;
    folderPath_ = header().folderPath;
    // An encoded block whose size wrapped to 0 looks unpacked; its offsets are not addresses.
    for (const Character* text : {profileName_, profilePassword_, folderPath_})
      if (text && !isReadableText(text)) return FENDREL_INVALID_ARGUMENT;
    return FENDREL_SUCCESS;
  }
  const auto strings = findPackedStrings(readableBlock(options), sizeof(Character));
  if (!strings) return FENDREL_INVALID_ARGUMENT;
  if (const auto code = copyBytes(options, strings->end)) return code;
  profileName_ = stringAt(strings->profileName);
  profilePassword_ = stringAt(strings->profilePassword);
  folderPath_ = stringAt(strings->folderPath);
  return FENDREL_SUCCESS;
}

template class OptionsCopy<DestinationOptions>;
template class OptionsCopy<DestinationOptionsA>;

}  // namespace fendrel
