// A private working copy of an options record, packed or not, wide or ANSI, with its strings located.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "fendrel/fendrel.h"
#include "text_conversion.h"

namespace fendrel {

template <class Options>
struct OptionsCharacter;
template <>
struct OptionsCharacter<DestinationOptions> {
  using Type = wchar_t;
};
template <>
struct OptionsCharacter<DestinationOptionsA> {
  using Type = char;
};

// The copy of a packed record includes each string up to its terminator in the caller's block, because the stated
// packed size is less than the block. Bytes past the stated size, and the strings of an unpacked record, are read only
// from memory that the system reports as readable.
template <class Options>
class OptionsCopy {
 public:
  using Character = typename OptionsCharacter<Options>::Type;

  // Copies `options`, whose version has been checked. 0, 2, or 5 if its strings do not end in readable memory.
  std::uint32_t take(const Options& options) noexcept;

  // Valid after a successful take. Absent strings are null; those of an unpacked record belong to the caller.
  const Options& header() const noexcept { return *reinterpret_cast<const Options*>(block_.get()); }
  bool isPacked() const noexcept { return header().packedSize != 0; }
  const Character* profileName() const noexcept { return profileName_; }
  const Character* profilePassword() const noexcept { return profilePassword_; }
  const Character* folderPath() const noexcept { return folderPath_; }

 private:
  std::uint32_t copyBytes(const Options& options, std::size_t size) noexcept;
  const Character* stringAt(std::uint32_t offset) const noexcept;

  std::unique_ptr<std::byte[], HeapFree> block_;
  const Character* profileName_ = nullptr;
  const Character* profilePassword_ = nullptr;
  const Character* folderPath_ = nullptr;
};

extern template class OptionsCopy<DestinationOptions>;
extern template class OptionsCopy<DestinationOptionsA>;

}  // namespace fendrel
