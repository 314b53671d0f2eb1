// Finding the strings of a packed block.
#include "packed_options.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace fendrel;

namespace {

// A block of `size` bytes, all 'x' after the header, with the three offsets.
std::vector<std::byte> block(std::size_t size, std::uint32_t name, std::uint32_t password, std::uint32_t path) {
  std::vector<std::byte> bytes(size, std::byte{'x'});
  const auto put = [&](std::size_t field, std::uint64_t value) {
    if (size >= field + 8) std::memcpy(bytes.data() + field, &value, 8);
  };
  put(8, name);
  put(16, password);
  put(32, path);
  return bytes;
}

void terminate(std::vector<std::byte>& bytes, std::size_t offset, std::size_t unitSize) {
  std::memset(bytes.data() + offset, 0, unitSize);
}

TEST(PackedStrings, AreNoneInAHeaderAlone) {
  const auto found = findPackedStrings(block(48, 0, 0, 0), 2);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->profileName, 0u);
  EXPECT_EQ(found->profilePassword, 0u);
  EXPECT_EQ(found->folderPath, 0u);
  EXPECT_EQ(found->end, 48u);
}

TEST(PackedStrings, AreRefusedInLessThanAHeader) { EXPECT_FALSE(findPackedStrings(block(47, 0, 0, 0), 2)); }

TEST(PackedStrings, AreRefusedInNothing) { EXPECT_FALSE(findPackedStrings({}, 2)); }

TEST(PackedStrings, AreFoundWithTheEndBehindTheFarthestTerminator) {
  auto bytes = block(80, 48, 56, 64);
  for (const std::size_t end : {52, 60, 70}) terminate(bytes, end, 2);
  const auto found = findPackedStrings(bytes, 2);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->profileName, 48u);
  EXPECT_EQ(found->profilePassword, 56u);
  EXPECT_EQ(found->folderPath, 64u);
  EXPECT_EQ(found->end, 72u);
}

TEST(PackedStrings, MayStandInAnyOrder) {
  auto bytes = block(80, 64, 48, 0);
  terminate(bytes, 52, 2);
  terminate(bytes, 70, 2);
  ASSERT_TRUE(findPackedStrings(bytes, 2));
  EXPECT_EQ(findPackedStrings(bytes, 2)->end, 72u);
}

TEST(PackedStrings, EndExactlyWithTheBlock) {
  auto bytes = block(60, 48, 0, 0);
  terminate(bytes, 58, 2);
  EXPECT_TRUE(findPackedStrings(bytes, 2));
}

TEST(PackedStrings, AreRefusedWithoutATerminator) { EXPECT_FALSE(findPackedStrings(block(60, 48, 0, 0), 2)); }

TEST(PackedStrings, AreRefusedWithHalfATerminatorAtTheEnd) {
  auto bytes = block(61, 48, 0, 0);
  terminate(bytes, 60, 1);
  EXPECT_FALSE(findPackedStrings(bytes, 2));
}

TEST(PackedStrings, ZeroBytesOfTwoCharactersAreNoTerminator) {
  auto bytes = block(56, 48, 0, 0);
  terminate(bytes, 49, 2);  // the high byte of one character, the low byte of the next
  EXPECT_FALSE(findPackedStrings(bytes, 2));
  EXPECT_TRUE(findPackedStrings(bytes, 1));
}

struct BadOffset {
  const char* row;
  std::uint32_t offset;
  friend void PrintTo(const BadOffset& value, std::ostream* out) { *out << value.row; }
};

class PackedStringsAtABadOffset : public testing::TestWithParam<BadOffset> {
 protected:
  // Zero after the header, so that only the offset is wrong.
  static std::vector<std::byte> zeros(std::uint32_t name, std::uint32_t password, std::uint32_t path) {
    auto bytes = block(64, name, password, path);
    terminate(bytes, 48, 16);
    return bytes;
  }
};

TEST_P(PackedStringsAtABadOffset, AreRefusedInEveryField) {
  const std::uint32_t offset = GetParam().offset;
  EXPECT_FALSE(findPackedStrings(zeros(offset, 0, 0), 2));
  EXPECT_FALSE(findPackedStrings(zeros(48, offset, 0), 2));
  EXPECT_FALSE(findPackedStrings(zeros(48, 50, offset), 2));
}

INSTANTIATE_TEST_SUITE_P(, PackedStringsAtABadOffset,
                         testing::Values(BadOffset{"InsideTheHeader", 46}, BadOffset{"AtTheFirstByte", 1},
                                         BadOffset{"OnAnOddAddress", 49}, BadOffset{"AtTheEnd", 64},
                                         BadOffset{"BehindTheEnd", 66}, BadOffset{"FarAway", 0x7FFFFFFE},
                                         BadOffset{"AtTheLargestValue", 0xFFFFFFFE}),
                         [](const auto& row) { return std::string(row.param.row); });

TEST(PackedStrings, OfBytesMayStandOnOddAddresses) {
  auto bytes = block(60, 49, 0, 0);
  terminate(bytes, 53, 1);
  EXPECT_TRUE(findPackedStrings(bytes, 1));
}

TEST(PackedStrings, UseTheLowHalfOfTheirOffsetsOnly) {
  auto bytes = block(60, 48, 0, 0);
  terminate(bytes, 50, 2);
  std::memset(bytes.data() + 12, 0xFF, 4);
  const auto found = findPackedStrings(bytes, 2);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->profileName, 48u);
}

}  // namespace
