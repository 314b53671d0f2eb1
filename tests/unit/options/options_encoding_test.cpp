// A destination as hosts get it, packed and unpacked.
#include "options_encoding.h"

#include <gtest/gtest.h>

#include "packed_record.h"

using namespace fendrel;

namespace {

class OptionsEncoding : public testing::Test {
 protected:
  std::uint32_t encode(const Destination& destination) { return encodeDestination(destination, encoded, size); }

  EncodedOptions encoded;
  std::uint16_t size = 0xAAAA;
};

TEST_F(OptionsEncoding, OfAProfileNameAloneIsTheShortestBlock) {
  ASSERT_EQ(encode({.profileName = L"A", .type = FENDREL_PERSONAL_REPORT}), 0u);
  EXPECT_EQ(size, 22u);
  EXPECT_EQ(encoded->version, 1u);
  EXPECT_EQ(encoded->profileNameOffset, 48u);
  EXPECT_EQ(encoded->profilePasswordOffset, 0u);
  EXPECT_EQ(encoded->destinationType, 1009u);
  EXPECT_EQ(encoded->folderPathOffset, 0u);
  EXPECT_EQ(encoded->packedSize, 22u);
  EXPECT_EQ(textAt(encoded.get(), 48), L"A");
}

TEST_F(OptionsEncoding, PlacesNamePasswordAndPathOneBehindTheOther) {
  ASSERT_EQ(encode({L"Sales", L"secret", L"Public@Reports", FENDREL_REPORT_INSTANCE}), 0u);
  EXPECT_EQ(encoded->profileNameOffset, 48u);
  EXPECT_EQ(encoded->profilePasswordOffset, 2u * 5 + 50);
  EXPECT_EQ(encoded->folderPathOffset, 2u * (5 + 1 + 7) + 48);
  EXPECT_EQ(textAt(encoded.get(), encoded->profileNameOffset), L"Sales");
  EXPECT_EQ(textAt(encoded.get(), encoded->profilePasswordOffset), L"secret");
  EXPECT_EQ(textAt(encoded.get(), encoded->folderPathOffset), L"Public@Reports");
  EXPECT_EQ(encoded->destinationType, 1011u);
}

TEST_F(OptionsEncoding, StatesThirtyBytesLessThanHeaderAndStringsTake) {
  encode({L"Sales", L"secret", L"Public@Reports", FENDREL_REPORT_INSTANCE});
  EXPECT_EQ(size, 2u * (5 + 1 + 7 + 15) + 18);
  EXPECT_EQ(encoded->packedSize, size);
}

TEST_F(OptionsEncoding, PathWithoutPasswordStandsBehindTheName) {
  ASSERT_EQ(encode({.profileName = L"Sales", .folderPath = L"X"}), 0u);
  EXPECT_EQ(encoded->profilePasswordOffset, 0u);
  EXPECT_EQ(encoded->folderPathOffset, 2u * (5 + 1) + 48);
  EXPECT_EQ(textAt(encoded.get(), encoded->folderPathOffset), L"X");
}

TEST_F(OptionsEncoding, EmptyPasswordIsPresent) {
  ASSERT_EQ(encode({.profileName = L"A", .profilePassword = L""}), 0u);
  EXPECT_EQ(encoded->profilePasswordOffset, 52u);
  EXPECT_EQ(size, 24u);
  EXPECT_EQ(textAt(encoded.get(), 52), L"");
}

TEST_F(OptionsEncoding, WithoutAProfileNameIsRefused) {
  EXPECT_EQ(encode({.folderPath = L"X"}), 5u);
  EXPECT_EQ(encoded, nullptr);
}

TEST_F(OptionsEncoding, TwiceGivesAnotherBlock) {
  encode({.profileName = L"A"});
  const auto* const first = encoded.get();
  ASSERT_EQ(encode({.profileName = L"B"}), 0u);
  EXPECT_NE(encoded.get(), first);
  EXPECT_EQ(textAt(encoded.get(), 48), L"B");
}

TEST_F(OptionsEncoding, SizeIsCountedModulo65536AndTheBlockIsWhole) {
  const std::wstring path(40000, L'p');
  ASSERT_EQ(encode({.profileName = L"A", .folderPath = path}), 0u);
  EXPECT_EQ(size, static_cast<std::uint16_t>(2 * (1 + 1 + 40001) + 18));
  EXPECT_EQ(textAt(encoded.get(), encoded->folderPathOffset), path);
}

TEST(OptionsDecoding, GivesEveryStringAsABlockOfItsOwn) {
  DestinationOptions* options = nullptr;
  ASSERT_EQ(decodeDestination({L"Sales", L"secret", L"A@B", FENDREL_FOLDER_REPORT}, options), 0u);
  EXPECT_EQ(options->version, 1u);
  EXPECT_EQ(options->packedSize, 0u);
  EXPECT_EQ(options->destinationType, 1010u);
  EXPECT_STREQ(options->profileName, L"Sales");
  EXPECT_STREQ(options->profilePassword, L"secret");
  EXPECT_STREQ(options->folderPath, L"A@B");
  freeOptions(options);
}

TEST(OptionsDecoding, GivesNullForWhatIsAbsent) {
  DestinationOptions* options = nullptr;
  ASSERT_EQ(decodeDestination({.profileName = L"Sales", .type = FENDREL_PERSONAL_REPORT}, options), 0u);
  EXPECT_EQ(options->profilePassword, nullptr);
  EXPECT_EQ(options->folderPath, nullptr);
  freeOptions(options);
}

TEST(OptionsDecoding, WorksWithoutAProfileName) {
  DestinationOptions* options = nullptr;
  ASSERT_EQ(decodeDestination({}, options), 0u);
  EXPECT_EQ(options->profileName, nullptr);
  EXPECT_EQ(options->destinationType, 0u);
  freeOptions(options);
}

TEST(OptionsDecoding, KeepsAnEmptyStringApartFromNone) {
  DestinationOptions* options = nullptr;
  ASSERT_EQ(decodeDestination({.profileName = L"A", .profilePassword = L""}, options), 0u);
  EXPECT_STREQ(options->profilePassword, L"");
  freeOptions(options);
}

}  // namespace
