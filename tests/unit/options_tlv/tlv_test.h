// Shared by the tests of tagged streams.
#pragma once

#include <gmock/gmock.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "memory_block.h"

namespace fendrel::test {

inline std::vector<std::byte> bytes(std::initializer_list<int> values) {
  std::vector<std::byte> result;
  for (const int value : values) result.push_back(static_cast<std::byte>(value));
  return result;
}

inline std::string textOf(const MemoryBlock& block) {
  return block ? std::string(reinterpret_cast<const char*>(block.get()), BlockSize(block)) : std::string();
}

inline MemoryBlock blockOf(std::string_view content) {
  MemoryBlock block;
  EXPECT_TRUE(BlockAlloc(block, static_cast<std::uint32_t>(content.size())));
  std::copy(content.begin(), content.end(), reinterpret_cast<char*>(block.get()));
  return block;
}

// An item in a stream.
inline std::string item(int tag, std::string_view value) {
  std::string result;
  for (const int part :
       {tag & 0xFF, tag >> 8, static_cast<int>(value.size() & 0xFF), static_cast<int>(value.size() >> 8)})
    result += static_cast<char>(part);
  return result.append(value);
}

}  // namespace fendrel::test
