// What posting_child posts.
#pragma once

#include "samples.h"

namespace fendrel::store {

constexpr int mixedEvery = 5, smallEvery = 50;

// One of so many has a blob, one a file; the others are small.
inline Sample childSample(const std::u16string& name, int number, int every) {
  const std::string digits = std::to_string(number);
  const std::size_t size = number % every == 1 ? blobSize : number % every == 3 ? fileSize : smallSize;
  return {name + u" " + std::u16string(digits.begin(), digits.end()), {size}};
}

}  // namespace fendrel::store
