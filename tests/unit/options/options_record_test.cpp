// The version check and the freeing of records.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cwchar>

#include "packed_record.h"

using namespace fendrel;

namespace {

TEST(OptionsVersion, NullRecordIsRefused) {
  EXPECT_FALSE(CheckOptionsVersion<DestinationOptions>(nullptr));
  EXPECT_FALSE(CheckOptionsVersion<DestinationOptionsA>(nullptr));
}

TEST(OptionsVersion, BelowTwoIsRefusedAndLeftAlone) {
  for (const std::uint16_t version : {std::uint16_t{0}, std::uint16_t{1}}) {
    DestinationOptions options{.version = version};
    EXPECT_FALSE(CheckOptionsVersion(&options)) << version;
    EXPECT_EQ(options.version, version);
  }
}

TEST(OptionsVersion, TwoAndMoreAreTakenAndBecomeOne) {
  for (const std::uint16_t version : {std::uint16_t{2}, std::uint16_t{3}, std::uint16_t{65535}}) {
    DestinationOptionsA options{.version = version};
    EXPECT_TRUE(CheckOptionsVersion(&options)) << version;
    EXPECT_EQ(options.version, 1u);
  }
}

TEST(OptionsFreeing, NullIsAllowed) {
  freeOptions(static_cast<DestinationOptions*>(nullptr));
  freeOptions(static_cast<DestinationOptionsA*>(nullptr));
}

// The guarded heap stops a program that frees what it must not.
TEST(OptionsFreeing, UnpackedRecordGoesWithTheStringsThatItHas) {
  auto* const options = static_cast<DestinationOptions*>(std::calloc(1, sizeof(DestinationOptions)));
  options->profileName = _wcsdup(L"Sales");
  options->folderPath = _wcsdup(L"A@B");
  freeOptions(options);
}

TEST(OptionsFreeing, PackedRecordIsOneBlockWhoseOffsetsAreNotFreed) {
  auto record = WidePackedRecord::complete(L"Sales", L"secret", L"A@B");
  auto* const options = static_cast<DestinationOptions*>(std::malloc(record.bytes().size()));
  std::memcpy(options, record.get(), record.bytes().size());
  freeOptions(options);
}

}  // namespace
