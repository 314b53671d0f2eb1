// Conversions of unpacked records between the wide and the ANSI form, and what all conversions share.
#include <gtest/gtest.h>

#include <memory>

#include "options_conversion.h"
#include "packed_record.h"

using namespace fendrel;

namespace {

struct OptionsFree {
  void operator()(DestinationOptions* options) const { freeOptions(options); }
  void operator()(DestinationOptionsA* options) const { freeOptions(options); }
};
template <class Options>
using Owned = std::unique_ptr<Options, OptionsFree>;

// Text outside ASCII in the two forms, for the code page in use.
const wchar_t* wideText() { return GetACP() == 932 ? L"日本" : L"Grüße"; }
const char* ansiText() {
  return GetACP() == 932 ? "\x93\xFA\x96{"
                         : "Gr\xFC\xDF"
                           "e";
}

class UnpackedConversion : public testing::Test {
 protected:
  void SetUp() override {
    if (GetACP() != 1252 && GetACP() != 932) GTEST_SKIP() << "needs the ANSI code page 1252 or 932";
  }
};

TEST_F(UnpackedConversion, WideRecordBecomesAnsi) {
  std::wstring name = wideText(), password = L"pw", path = L"A@B";
  DestinationOptions wide{.version = 2};
  wide.profileName = name.data();
  wide.profilePassword = password.data();
  wide.folderPath = path.data();
  wide.destinationType = FENDREL_FOLDER_REPORT;
  DestinationOptionsA* raw = nullptr;
  std::uint16_t size = 77;
  ASSERT_EQ(convertOptions(&wide, raw, &size), 0u);
  const Owned<DestinationOptionsA> ansi(raw);
  EXPECT_EQ(ansi->version, 1u);
  EXPECT_EQ(ansi->packedSize, 0u);
  EXPECT_EQ(ansi->destinationType, 1010u);
  EXPECT_STREQ(ansi->profileName, ansiText());
  EXPECT_STREQ(ansi->profilePassword, "pw");
  EXPECT_STREQ(ansi->folderPath, "A@B");
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(wide.version, 2u);
}

TEST_F(UnpackedConversion, AnsiRecordBecomesWide) {
  std::string name = ansiText(), password = "pw", path = "A@B";
  DestinationOptionsA ansi{.version = 7};
  ansi.profileName = name.data();
  ansi.profilePassword = password.data();
  ansi.folderPath = path.data();
  ansi.destinationType = FENDREL_REPORT_INSTANCE;
  DestinationOptions* raw = nullptr;
  std::uint16_t size = 77;
  ASSERT_EQ(convertOptions(&ansi, raw, &size), 0u);
  const Owned<DestinationOptions> wide(raw);
  EXPECT_EQ(wide->version, 1u);
  EXPECT_EQ(wide->packedSize, 0u);
  EXPECT_EQ(wide->destinationType, 1011u);
  EXPECT_STREQ(wide->profileName, wideText());
  EXPECT_STREQ(wide->profilePassword, L"pw");
  EXPECT_STREQ(wide->folderPath, L"A@B");
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(ansi.version, 7u);
}

TEST_F(UnpackedConversion, AbsentStringsStayAbsentAndEmptyOnesEmpty) {
  std::wstring empty;
  DestinationOptions wide{.version = 2};
  wide.profilePassword = empty.data();
  DestinationOptionsA* raw = nullptr;
  ASSERT_EQ(convertOptions(&wide, raw, nullptr), 0u);
  const Owned<DestinationOptionsA> ansi(raw);
  EXPECT_EQ(ansi->profileName, nullptr);
  EXPECT_STREQ(ansi->profilePassword, "");
  EXPECT_EQ(ansi->folderPath, nullptr);
}

TEST_F(UnpackedConversion, LongDoubleByteStringHasRoomForAllItsBytes) {
  std::wstring name;
  std::string expected;
  for (int i = 0; i < 1000; ++i) {
    name += wideText();
    expected += ansiText();
  }
  DestinationOptions wide{.version = 2};
  wide.profileName = name.data();
  DestinationOptionsA* raw = nullptr;
  ASSERT_EQ(convertOptions(&wide, raw, nullptr), 0u);
  const Owned<DestinationOptionsA> ansi(raw);
  EXPECT_EQ(ansi->profileName, expected);
}

TEST_F(UnpackedConversion, CharacterThatTheCodePageLacksIsReplaced) {
  std::wstring name = L"a\u0915z";  // a letter of Devanagari
  DestinationOptions wide{.version = 2};
  wide.profileName = name.data();
  DestinationOptionsA* raw = nullptr;
  ASSERT_EQ(convertOptions(&wide, raw, nullptr), 0u);
  const Owned<DestinationOptionsA> ansi(raw);
  EXPECT_STREQ(ansi->profileName, "a?z");
}

TEST_F(UnpackedConversion, WithAnAddressThatCannotBeReadIsRefused) {
  DestinationOptions wide{.version = 2};
  wide.profileNameOffset = 48;
  DestinationOptionsA* ansi = nullptr;
  EXPECT_EQ(convertOptions(&wide, ansi, nullptr), 5u);
  EXPECT_EQ(ansi, nullptr);
  EXPECT_EQ(wide.version, 2u);
}

template <class From, class To>
void expectNothingFromNothing() {
  To* result = reinterpret_cast<To*>(48);
  std::uint16_t size = 77;
  EXPECT_EQ(convertOptions(static_cast<From*>(nullptr), result, &size), 0u);
  EXPECT_EQ(result, nullptr);
}

TEST(OptionsConversion, OfANullRecordIsNothing) {
  expectNothingFromNothing<DestinationOptions, DestinationOptionsA>();
  expectNothingFromNothing<DestinationOptionsA, DestinationOptions>();
}

template <class From, class To>
void expectRefused(std::uint16_t version) {
  From options{.version = version};
  To* result = reinterpret_cast<To*>(48);
  EXPECT_EQ(convertOptions(&options, result, nullptr), 5u);
  EXPECT_EQ(result, nullptr);
  EXPECT_EQ(options.version, version) << "the input is untouched";
}

TEST(OptionsConversion, OfAVersionBelowTwoIsRefused) {
  expectRefused<DestinationOptions, DestinationOptionsA>(0);
  expectRefused<DestinationOptions, DestinationOptionsA>(1);
  expectRefused<DestinationOptionsA, DestinationOptions>(0);
  expectRefused<DestinationOptionsA, DestinationOptions>(1);
}

}  // namespace
