// The messages that posting_child posts.
#pragma once

#include "samples.h"

namespace fendrel::store {

constexpr int mixedEvery = 5, smallEvery = 50;

// Of `every` messages one has a blob, two have a file; the others are small.
inline Sample childSample(const std::u16string& name, int number, int every) {
  const std::string digits = std::to_string(number);
  const int place = number % every;
  const std::size_t size = place == 1 ? blobSize : place == 0 || place == 3 ? fileSize : smallSize;
  return {name + u" " + std::u16string(digits.begin(), digits.end()), {size}};
}

}  // namespace fendrel::store
