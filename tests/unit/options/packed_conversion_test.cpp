// Conversions of packed records: sizes and placement are part of the interface with hosts.
#include <gtest/gtest.h>

#include <memory>

#include "options_conversion.h"
#include "packed_record.h"

using namespace fendrel;

namespace {

template <class Options>
using Block = std::unique_ptr<Options, fendrel::HeapFree>;

Block<DestinationOptionsA> toAnsi(WidePackedRecord& record, std::uint16_t* size = nullptr) {
  DestinationOptionsA* ansi = nullptr;
  EXPECT_EQ(convertOptions(record.get(), ansi, size), 0u);
  return Block<DestinationOptionsA>(ansi);
}

Block<DestinationOptions> toWide(AnsiPackedRecord& record, std::uint16_t* size = nullptr) {
  DestinationOptions* wide = nullptr;
  EXPECT_EQ(convertOptions(record.get(), wide, size), 0u);
  return Block<DestinationOptions>(wide);
}

TEST(PackedConversion, AnsiStringsStandAsManyBytesApartAsTheWideOnesHaveCharacters) {
  auto record = WidePackedRecord::complete(L"Sales", L"secret", L"A@B");
  std::uint16_t size = 0;
  const auto ansi = toAnsi(record, &size);
  EXPECT_EQ(ansi->profileNameOffset, 48u);
  EXPECT_EQ(ansi->profilePasswordOffset, 48u + 6);
  EXPECT_EQ(ansi->folderPathOffset, 48u + 6 + 7);
  EXPECT_EQ(textAt(ansi.get(), 48), "Sales");
  EXPECT_EQ(textAt(ansi.get(), 54), "secret");
  EXPECT_EQ(textAt(ansi.get(), 61), "A@B");
  EXPECT_EQ(size, 2u * (6 + 7 + 4 + 24));
  EXPECT_EQ(ansi->packedSize, size);
  EXPECT_EQ(ansi->version, 1u);
  EXPECT_EQ(ansi->destinationType, 1011u);
  EXPECT_EQ(record->version, 2u);
}

TEST(PackedConversion, WideBlockHasExactlyTheSizeOfHeaderAndStrings) {
  auto record = AnsiPackedRecord::complete("Sales", "secret", "A@B");
  std::uint16_t size = 0;
  const auto wide = toWide(record, &size);
  EXPECT_EQ(wide->profileNameOffset, 48u);
  EXPECT_EQ(wide->profilePasswordOffset, 48u + 2 * 6);
  EXPECT_EQ(wide->folderPathOffset, 48u + 2 * (6 + 7));
  EXPECT_EQ(textAt(wide.get(), 48), L"Sales");
  EXPECT_EQ(textAt(wide.get(), 60), L"secret");
  EXPECT_EQ(textAt(wide.get(), 74), L"A@B");
  EXPECT_EQ(size, 48u + 2 * (6 + 7 + 4));
  EXPECT_EQ(wide->packedSize, size);
  EXPECT_EQ(wide->version, 1u);
  EXPECT_EQ(record->version, 2u);
}

TEST(PackedConversion, WithoutStringsIsAHeader) {
  WidePackedRecord record;
  record->version = 2;
  record->packedSize = 48;
  std::uint16_t size = 0;
  const auto ansi = toAnsi(record, &size);
  EXPECT_EQ(size, 48u);
  EXPECT_EQ(ansi->packedSize, 48u);
  EXPECT_EQ(ansi->profileNameOffset, 0u);
  EXPECT_EQ(ansi->profilePasswordOffset, 0u);
  EXPECT_EQ(ansi->folderPathOffset, 0u);
}

TEST(PackedConversion, AbsentStringTakesNoRoom) {
  WidePackedRecord record;
  record->version = 2;
  const auto nameAt = record.append(L"Sales"), pathAt = record.append(L"A@B");
  record->profileNameOffset = nameAt;
  record->folderPathOffset = pathAt;
  record->packedSize = static_cast<std::uint16_t>(record.bytes().size());
  const auto ansi = toAnsi(record);
  EXPECT_EQ(ansi->profilePasswordOffset, 0u);
  EXPECT_EQ(ansi->folderPathOffset, 54u);
  EXPECT_EQ(ansi->packedSize, 2u * (6 + 4 + 24));
}

TEST(PackedConversion, EncodedBlockKeepsItsStringsWhole) {
  std::vector<std::byte> bytes = encodedRecord({L"Sales", L"secret", L"Public@Reports", FENDREL_REPORT_INSTANCE});
  DestinationOptionsA* raw = nullptr;
  ASSERT_EQ(convertOptions(reinterpret_cast<DestinationOptions*>(bytes.data()), raw, nullptr), 0u);
  const Block<DestinationOptionsA> ansi(raw);
  EXPECT_EQ(textAt(ansi.get(), ansi->profileNameOffset), "Sales");
  EXPECT_EQ(textAt(ansi.get(), ansi->profilePasswordOffset), "secret");
  EXPECT_EQ(textAt(ansi.get(), ansi->folderPathOffset), "Public@Reports");
}

TEST(PackedConversion, ThereAndBackGivesTheSameStrings) {
  auto record = WidePackedRecord::complete(L"Sales", L"secret", L"A@B");
  const auto ansi = toAnsi(record);
  ansi->version = 2;
  DestinationOptions* raw = nullptr;
  ASSERT_EQ(convertOptions(ansi.get(), raw, nullptr), 0u);
  const Block<DestinationOptions> wide(raw);
  EXPECT_EQ(textAt(wide.get(), wide->profileNameOffset), L"Sales");
  EXPECT_EQ(textAt(wide.get(), wide->profilePasswordOffset), L"secret");
  EXPECT_EQ(textAt(wide.get(), wide->folderPathOffset), L"A@B");
}

TEST(PackedConversionDoubleByte, LongStringIsOverwrittenByTheOneBehindIt) {
  auto record = WidePackedRecord::complete(L"日本語", L"pw", L"本");
  const auto ansi = toAnsi(record);
  EXPECT_EQ(ansi->profilePasswordOffset, 48u + 4);
  EXPECT_EQ(ansi->folderPathOffset, 48u + 4 + 3);
  EXPECT_EQ(textAt(ansi.get(), 48), "\x93\xFA\x96{pw") << "two of three characters, then the password";
  EXPECT_EQ(textAt(ansi.get(), 52), "pw");
  EXPECT_EQ(textAt(ansi.get(), 55), "\x96{");
  EXPECT_EQ(ansi->packedSize, 2u * (4 + 3 + 2 + 24));
}

TEST(PackedConversionDoubleByte, LastStringStaysInsideTheBlock) {
  auto record = WidePackedRecord::complete(L"a", L"b", std::wstring(500, L'本'));
  const auto ansi = toAnsi(record);
  EXPECT_EQ(textAt(ansi.get(), ansi->folderPathOffset).size(), 1000u);
}

TEST(PackedConversion, SizeIsCountedModulo65536AndTheBlockIsWhole) {
  auto record = AnsiPackedRecord::complete("Sales", "secret", std::string(40000, 'p'));
  std::uint16_t size = 0;
  const auto wide = toWide(record, &size);
  EXPECT_EQ(size, static_cast<std::uint16_t>(48 + 2 * (6 + 7 + 40001)));
  EXPECT_EQ(wide->packedSize, size);
  EXPECT_EQ(textAt(wide.get(), wide->folderPathOffset), std::wstring(40000, L'p'));
}

TEST(PackedConversion, BlockWithoutItsStringsIsRefusedAndLeftAsItWas) {
  auto record = WidePackedRecord::complete(L"Sales", L"secret", L"A@B");
  record->folderPathOffset = 46;
  DestinationOptionsA* ansi = nullptr;
  std::uint16_t size = 77;
  EXPECT_EQ(convertOptions(record.get(), ansi, &size), 5u);
  EXPECT_EQ(ansi, nullptr);
  EXPECT_EQ(record->version, 2u);
}

}  // namespace
