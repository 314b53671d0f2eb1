// The working copy of a record, taken from memory that may end early.
#include "options_copy.h"

#include <gtest/gtest.h>

#include "packed_record.h"
#include "page_end.h"

using namespace fendrel;

namespace {

using WideCopy = OptionsCopy<DestinationOptions>;

const DestinationOptions& wideRecord(const AtPageEnd& memory) {
  return *reinterpret_cast<const DestinationOptions*>(memory.get());
}

const Destination sales{L"Sales", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT};

TEST(OptionsCopyUnpacked, RefersToTheCallersStrings) {
  wchar_t name[] = L"Sales", path[] = L"A@B";
  DestinationOptions options{.version = 2};
  options.profileName = name;
  options.folderPath = path;
  options.destinationType = FENDREL_FOLDER_REPORT;
  WideCopy copy;
  ASSERT_EQ(copy.take(options), 0u);
  EXPECT_FALSE(copy.isPacked());
  EXPECT_EQ(copy.profileName(), name);
  EXPECT_EQ(copy.profilePassword(), nullptr);
  EXPECT_EQ(copy.folderPath(), path);
  EXPECT_EQ(copy.header().destinationType, FENDREL_FOLDER_REPORT);
  EXPECT_EQ(copy.header().version, 1u);
  EXPECT_EQ(options.version, 2u) << "only the copy is changed";
}

TEST(OptionsCopyUnpacked, WithAnAddressThatCannotBeReadIsRefused) {
  for (int field = 0; field < 3; ++field) {
    DestinationOptions options{.version = 2};
    (field == 0   ? options.profileNameOffset
     : field == 1 ? options.profilePasswordOffset
                  : options.folderPathOffset) = 48;
    WideCopy copy;
    EXPECT_EQ(copy.take(options), 5u) << "string " << field;
  }
}

TEST(OptionsCopyPacked, HoldsItsStringsItself) {
  auto record = WidePackedRecord::complete(L"Sales", L"secret", L"A@B");
  WideCopy copy;
  ASSERT_EQ(copy.take(*record.get()), 0u);
  std::memset(record.get(), 0xEE, record.bytes().size());
  EXPECT_TRUE(copy.isPacked());
  EXPECT_STREQ(copy.profileName(), L"Sales");
  EXPECT_STREQ(copy.profilePassword(), L"secret");
  EXPECT_STREQ(copy.folderPath(), L"A@B");
  EXPECT_EQ(copy.header().destinationType, FENDREL_REPORT_INSTANCE);
  EXPECT_EQ(copy.header().version, 1u);
}

TEST(OptionsCopyPacked, OfBytesHoldsItsStringsItself) {
  auto record = AnsiPackedRecord::complete("Sales", "pw", "A@B");
  OptionsCopy<DestinationOptionsA> copy;
  ASSERT_EQ(copy.take(*record.get()), 0u);
  EXPECT_STREQ(copy.profileName(), "Sales");
  EXPECT_STREQ(copy.profilePassword(), "pw");
  EXPECT_STREQ(copy.folderPath(), "A@B");
}

TEST(OptionsCopyPacked, LeavesAbsentStringsAbsent) {
  WidePackedRecord record;
  record->packedSize = 48;
  WideCopy copy;
  ASSERT_EQ(copy.take(*record.get()), 0u);
  EXPECT_EQ(copy.profileName(), nullptr);
  EXPECT_EQ(copy.profilePassword(), nullptr);
  EXPECT_EQ(copy.folderPath(), nullptr);
}

TEST(OptionsCopyPacked, OfAnEncodedBlockIsCompleteAlthoughItsStatedSizeIsThirtyBytesShort) {
  const AtPageEnd memory(encodedRecord(sales));
  WideCopy copy;
  ASSERT_EQ(copy.take(wideRecord(memory)), 0u);
  EXPECT_STREQ(copy.profileName(), L"Sales");
  EXPECT_STREQ(copy.profilePassword(), L"secret");
  EXPECT_STREQ(copy.folderPath(), L"Public Folders@Reports");
}

TEST(OptionsCopyPacked, OfTheShortestEncodedBlockIsComplete) {
  const AtPageEnd memory(encodedRecord({.profileName = L"A"}));
  ASSERT_EQ(wideRecord(memory).packedSize, 22u) << "less than the header";
  WideCopy copy;
  ASSERT_EQ(copy.take(wideRecord(memory)), 0u);
  EXPECT_STREQ(copy.profileName(), L"A");
}

TEST(OptionsCopyPacked, OfABlockThatWasCutAtItsStatedSizeIsRefused) {
  std::vector<std::byte> bytes = encodedRecord(sales);
  bytes.resize(bytes.size() - 30);
  const AtPageEnd memory(bytes);
  WideCopy copy;
  EXPECT_EQ(copy.take(wideRecord(memory)), 5u);
}

TEST(OptionsCopyPacked, OfABlockThatLacksItsLastUnitIsRefused) {
  std::vector<std::byte> bytes = encodedRecord(sales);
  bytes.resize(bytes.size() - 2);
  const AtPageEnd memory(bytes);
  WideCopy copy;
  EXPECT_EQ(copy.take(wideRecord(memory)), 5u);
}

TEST(OptionsCopyPacked, OfABlockCutInsideItsHeaderIsRefused) {
  std::vector<std::byte> bytes = encodedRecord({.profileName = L"A"});
  bytes.resize(42);  // up to and with the stated size
  const AtPageEnd memory(bytes);
  WideCopy copy;
  EXPECT_EQ(copy.take(wideRecord(memory)), 5u);
}

TEST(OptionsCopyPacked, OfABlockShorterThanItStatesIsRefused) {
  auto record = WidePackedRecord::complete(L"Sales", L"secret", L"A@B");
  record->packedSize = 60000;
  record->folderPathOffset = 50000;
  const AtPageEnd memory(record.bytes());
  WideCopy copy;
  EXPECT_EQ(copy.take(wideRecord(memory)), 5u);
}

TEST(OptionsCopyPacked, StringMayEndThirtyBytesBehindTheStatedSize) {
  auto record = WidePackedRecord::complete(L"Sales", L"secret", L"0123456789");
  record->packedSize = static_cast<std::uint16_t>(record.bytes().size() - 30);
  WideCopy copy;
  ASSERT_EQ(copy.take(*record.get()), 0u);
  EXPECT_STREQ(copy.folderPath(), L"0123456789");
}

TEST(OptionsCopyPacked, StringThatEndsFurtherBehindIsRefused) {
  auto record = WidePackedRecord::complete(L"Sales", L"secret", L"0123456789");
  record->packedSize = static_cast<std::uint16_t>(record.bytes().size() - 31);
  WideCopy copy;
  EXPECT_EQ(copy.take(*record.get()), 5u);
}

TEST(OptionsCopyPacked, OfTheLargestStatedSizeReadsThirtyBytesMore) {
  auto record = WidePackedRecord::complete(L"Sales", L"", std::wstring(32750, L'p'));
  ASSERT_EQ(record.bytes().size(), 65535u + 29);
  record->packedSize = 65535;
  WideCopy copy;
  ASSERT_EQ(copy.take(*record.get()), 0u);
  EXPECT_EQ(std::wstring(copy.folderPath()).size(), 32750u);
}

}  // namespace
