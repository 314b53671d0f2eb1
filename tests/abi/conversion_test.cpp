// Conversions of options records between the wide and the ANSI form. The code page of the process decides which
// characters take two bytes; the tests that need such characters run where it is 932.
#include <cstring>

#include "abi_test.h"

namespace fendrel::test {
namespace {

class ConversionTest : public PluginTest {
 protected:
  static const char* ansiAt(const DestinationOptionsA* block, uint64_t offset) {
    return reinterpret_cast<const char*>(block) + offset;
  }
  static const wchar_t* wideAt(const DestinationOptions* block, uint64_t offset) {
    return reinterpret_cast<const wchar_t*>(reinterpret_cast<const std::byte*>(block) + offset);
  }

  static DestinationOptionsA unpackedAnsi(const char* profileName, const char* password, const char* folderPath,
                                          uint16_t type = FENDREL_FOLDER_REPORT) {
    DestinationOptionsA options{};
    options.version = 2;
    options.profileName = const_cast<char*>(profileName);
    options.profilePassword = const_cast<char*>(password);
    options.folderPath = const_cast<char*>(folderPath);
    options.destinationType = type;
    return options;
  }

  static std::vector<std::byte> packedAnsi(const char* profileName, const char* password, const char* folderPath,
                                           int sizeCorrection = 0) {
    std::vector<std::byte> block(sizeof(DestinationOptionsA));
    DestinationOptionsA header{};
    header.version = 2;
    header.destinationType = FENDREL_FOLDER_REPORT;
    const auto append = [&](const char* text) -> uint64_t {
      if (!text) return 0;
      const std::size_t offset = block.size();
      block.resize(offset + std::strlen(text) + 1);
      std::memcpy(block.data() + offset, text, std::strlen(text) + 1);
      return offset;
    };
    header.profileNameOffset = append(profileName);
    header.profilePasswordOffset = append(password);
    header.folderPathOffset = append(folderPath);
    header.packedSize = static_cast<uint16_t>(static_cast<int>(block.size()) + sizeCorrection);
    std::memcpy(block.data(), &header, sizeof header);
    return block;
  }
  static DestinationOptionsA* asAnsi(std::vector<std::byte>& block) {
    return reinterpret_cast<DestinationOptionsA*>(block.data());
  }

  DestinationOptionsA* toAnsi(DestinationOptions* options) {
    DestinationOptionsA* ansi = reinterpret_cast<DestinationOptionsA*>(-1);
    size = 0x1234;
    code = plugin().optionsW2A(options, &ansi, &size);
    return ansi;
  }
  DestinationOptions* toWide(DestinationOptionsA* options) {
    DestinationOptions* wide = reinterpret_cast<DestinationOptions*>(-1);
    size = 0x1234;
    code = plugin().optionsA2W(options, &wide, &size);
    return wide;
  }

  uint32_t code = 0xBAD;
  uint16_t size = 0;
  const std::wstring profile = L"Ada";
  const std::wstring password = L"secret";
  const std::wstring path = L"Public Folders@Reports";
};

// ---- Null records, and wrong versions ----

TEST_F(ConversionTest, NothingToAnsiGivesNothing) {
  EXPECT_EQ(toAnsi(nullptr), nullptr);
  EXPECT_EQ(code, FENDREL_SUCCESS);
}

TEST_F(ConversionTest, NothingToWideGivesNothing) {
  EXPECT_EQ(toWide(nullptr), nullptr);
  EXPECT_EQ(code, FENDREL_SUCCESS);
}

class WrongVersion : public ConversionTest, public ::testing::WithParamInterface<uint16_t> {};

TEST_P(WrongVersion, IsRefusedToAnsiAndTheInputUntouched) {
  DestinationOptions options = unpackedOptions(L"Ada", L"", nullptr);
  options.version = GetParam();
  EXPECT_EQ(toAnsi(&options), nullptr);
  EXPECT_EQ(code, FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(options.version, GetParam());
}

TEST_P(WrongVersion, IsRefusedToWideAndTheInputUntouched) {
  DestinationOptionsA options = unpackedAnsi("Ada", "", nullptr);
  options.version = GetParam();
  EXPECT_EQ(toWide(&options), nullptr);
  EXPECT_EQ(code, FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(options.version, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Of, WrongVersion, ::testing::Values(0, 1),
                         [](const auto& test) { return test.param == 0 ? "Zero" : "One"; });

// ---- Unpacked ----

TEST_F(ConversionTest, UnpackedRecordToAnsi) {
  DestinationOptions options = unpackedOptions(profile.c_str(), password.c_str(), path.c_str(), FENDREL_FOLDER_REPORT);
  DestinationOptionsA* const ansi = toAnsi(&options);
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(ansi->version, 1);
  EXPECT_EQ(ansi->packedSize, 0);
  EXPECT_EQ(ansi->destinationType, FENDREL_FOLDER_REPORT);
  EXPECT_STREQ(ansi->profileName, "Ada");
  EXPECT_STREQ(ansi->profilePassword, "secret");
  EXPECT_STREQ(ansi->folderPath, "Public Folders@Reports");
  EXPECT_EQ(size, 0);
  EXPECT_EQ(options.version, 2);
  EXPECT_EQ(plugin().freeOptionsA(0, ansi), 0u);
}

TEST_F(ConversionTest, UnpackedRecordToWide) {
  DestinationOptionsA options = unpackedAnsi("Ada", "secret", "Public Folders@Reports");
  DestinationOptions* const wide = toWide(&options);
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(wide->version, 1);
  EXPECT_EQ(wide->packedSize, 0);
  EXPECT_EQ(wide->destinationType, FENDREL_FOLDER_REPORT);
  EXPECT_STREQ(wide->profileName, L"Ada");
  EXPECT_STREQ(wide->profilePassword, L"secret");
  EXPECT_STREQ(wide->folderPath, L"Public Folders@Reports");
  EXPECT_EQ(size, 0);
  EXPECT_EQ(options.version, 2);
  EXPECT_EQ(plugin().freeOptionsW(0, wide), 0u);
}

TEST_F(ConversionTest, AbsentStringsOfAnUnpackedRecordStayAbsent) {
  DestinationOptions options = unpackedOptions(nullptr, nullptr, nullptr);
  DestinationOptionsA* const ansi = toAnsi(&options);
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(ansi->profileName, nullptr);
  EXPECT_EQ(ansi->profilePassword, nullptr);
  EXPECT_EQ(ansi->folderPath, nullptr);
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionTest, HighVersionIsWrittenBack) {
  DestinationOptions options = unpackedOptions(L"Ada", L"", nullptr);
  options.version = 7;
  plugin().freeOptionsA(0, toAnsi(&options));
  EXPECT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(options.version, 7);
}

TEST_F(ConversionTest, LettersOfTheCodePageSurviveBothWays) {
  DestinationOptions options = unpackedOptions(localName(), localName(), localName());
  DestinationOptionsA* const ansi = toAnsi(&options);
  ASSERT_EQ(code, FENDREL_SUCCESS);
  ansi->version = 2;
  DestinationOptions* const wide = toWide(ansi);
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_STREQ(wide->profileName, localName());
  EXPECT_STREQ(wide->profilePassword, localName());
  EXPECT_STREQ(wide->folderPath, localName());
  plugin().freeOptionsA(0, ansi);
  plugin().freeOptionsW(0, wide);
}

// ---- Packed ----

TEST_F(ConversionTest, PackedRecordToAnsiHasItsStringsByCharacterCounts) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  DestinationOptionsA* const ansi = toAnsi(asOptions(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(ansi->version, 1);
  EXPECT_EQ(ansi->destinationType, FENDREL_FOLDER_REPORT);
  EXPECT_EQ(ansi->profileNameOffset, 48u);
  EXPECT_EQ(ansi->profilePasswordOffset, 48u + 4);
  EXPECT_EQ(ansi->folderPathOffset, 48u + 4 + 7);
  EXPECT_STREQ(ansiAt(ansi, 48), "Ada");
  EXPECT_STREQ(ansiAt(ansi, 52), "secret");
  EXPECT_STREQ(ansiAt(ansi, 59), "Public Folders@Reports");
  EXPECT_EQ(size, 2 * (4 + 7 + 23 + 24));
  EXPECT_EQ(ansi->packedSize, size);
  EXPECT_EQ(asOptions(block)->version, 2);
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionTest, PackedRecordToWideIsExactlyAsLongAsItsStrings) {
  auto block = packedAnsi("Ada", "secret", "Public Folders@Reports");
  DestinationOptions* const wide = toWide(asAnsi(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(wide->version, 1);
  EXPECT_EQ(wide->destinationType, FENDREL_FOLDER_REPORT);
  EXPECT_EQ(wide->profileNameOffset, 48u);
  EXPECT_EQ(wide->profilePasswordOffset, 48u + 2 * 4);
  EXPECT_EQ(wide->folderPathOffset, 48u + 2 * (4 + 7));
  EXPECT_STREQ(wideAt(wide, 48), L"Ada");
  EXPECT_STREQ(wideAt(wide, 56), L"secret");
  EXPECT_STREQ(wideAt(wide, 70), L"Public Folders@Reports");
  EXPECT_EQ(size, 48 + 2 * (4 + 7 + 23));
  EXPECT_EQ(wide->packedSize, size);
  EXPECT_EQ(asAnsi(block)->version, 2);
  plugin().freeOptionsW(0, wide);
}

TEST_F(ConversionTest, PackedRecordWithoutStringsToAnsiIsItsHeader) {
  auto block = packedOptions(nullptr, nullptr, nullptr, FENDREL_PERSONAL_REPORT);
  DestinationOptionsA* const ansi = toAnsi(asOptions(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(ansi->packedSize, 48);
  EXPECT_EQ(size, 48);
  EXPECT_EQ(ansi->profileNameOffset, 0u);
  EXPECT_EQ(ansi->profilePasswordOffset, 0u);
  EXPECT_EQ(ansi->folderPathOffset, 0u);
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionTest, PackedRecordWithoutStringsToWideIsItsHeader) {
  auto block = packedAnsi(nullptr, nullptr, nullptr);
  DestinationOptions* const wide = toWide(asAnsi(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(wide->packedSize, 48);
  EXPECT_EQ(size, 48);
  EXPECT_EQ(wide->profileNameOffset, 0u);
  plugin().freeOptionsW(0, wide);
}

TEST_F(ConversionTest, AbsentStringOfAPackedRecordTakesNoRoom) {
  auto block = packedOptions(&profile, nullptr, &path, FENDREL_FOLDER_REPORT);
  DestinationOptionsA* const ansi = toAnsi(asOptions(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(ansi->profileNameOffset, 48u);
  EXPECT_EQ(ansi->profilePasswordOffset, 0u);
  EXPECT_EQ(ansi->folderPathOffset, 52u);
  EXPECT_STREQ(ansiAt(ansi, 52), "Public Folders@Reports");
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionTest, ShortPackedSizeConvertsWithCompleteStrings) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT, -30);
  DestinationOptionsA* const ansi = toAnsi(asOptions(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_STREQ(ansiAt(ansi, ansi->folderPathOffset), "Public Folders@Reports");
  EXPECT_EQ(size, 2 * (4 + 7 + 23 + 24));
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionTest, OffsetIntoTheHeaderIsRefused) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  asOptions(block)->folderPathOffset = 46;
  EXPECT_EQ(toAnsi(asOptions(block)), nullptr);
  EXPECT_EQ(code, FENDREL_INVALID_ARGUMENT);
}

TEST_F(ConversionTest, OddOffsetOfAWideStringIsRefused) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  asOptions(block)->folderPathOffset += 1;
  EXPECT_EQ(toAnsi(asOptions(block)), nullptr);
  EXPECT_EQ(code, FENDREL_INVALID_ARGUMENT);
}

TEST_F(ConversionTest, OddOffsetOfAnAnsiStringIsTaken) {
  auto block = packedAnsi("Ada1", "secret", "Public Folders");  // the password is at 53
  DestinationOptions* const wide = toWide(asAnsi(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_STREQ(wideAt(wide, wide->profilePasswordOffset), L"secret");
  plugin().freeOptionsW(0, wide);
}

TEST_F(ConversionTest, StringWithoutTerminatorIsRefused) {
  auto block = packedAnsi("Ada", "secret", "Public Folders");
  block.back() = std::byte{'x'};
  block.insert(block.end(), 64, std::byte{'x'});
  EXPECT_EQ(toWide(asAnsi(block)), nullptr);
  EXPECT_EQ(code, FENDREL_INVALID_ARGUMENT);
}

TEST_F(ConversionTest, SizeOfALongRecordToWideIsReportedModulo65536AndTheStringsAreWhole) {
  const std::string longPath(40000, 'f');
  auto block = packedAnsi("Ada", "secret", longPath.c_str());
  DestinationOptions* const wide = toWide(asAnsi(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(size, static_cast<uint16_t>(48 + 2 * (4 + 7 + 40001)));
  EXPECT_EQ(wide->packedSize, size);
  EXPECT_EQ(wideAt(wide, wide->folderPathOffset), std::wstring(40000, L'f'));
  plugin().freeOptionsW(0, wide);
}

// ---- The size is optional ----

TEST_F(ConversionTest, SizeMayBeLeftOutUnpackedToAnsi) {
  DestinationOptions options = unpackedOptions(L"Ada", L"", nullptr);
  DestinationOptionsA* ansi = nullptr;
  EXPECT_EQ(plugin().optionsW2A(&options, &ansi, nullptr), FENDREL_SUCCESS);
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionTest, SizeMayBeLeftOutPackedToAnsi) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  DestinationOptionsA* ansi = nullptr;
  EXPECT_EQ(plugin().optionsW2A(asOptions(block), &ansi, nullptr), FENDREL_SUCCESS);
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionTest, SizeMayBeLeftOutUnpackedToWide) {
  DestinationOptionsA options = unpackedAnsi("Ada", "", nullptr);
  DestinationOptions* wide = nullptr;
  EXPECT_EQ(plugin().optionsA2W(&options, &wide, nullptr), FENDREL_SUCCESS);
  plugin().freeOptionsW(0, wide);
}

TEST_F(ConversionTest, SizeMayBeLeftOutPackedToWide) {
  auto block = packedAnsi("Ada", "secret", "Public Folders");
  DestinationOptions* wide = nullptr;
  EXPECT_EQ(plugin().optionsA2W(asAnsi(block), &wide, nullptr), FENDREL_SUCCESS);
  plugin().freeOptionsW(0, wide);
}

TEST_F(ConversionTest, SecondNameOfTheConversionToWideDoesTheSame) {
  auto block = packedAnsi("Ada", "secret", "Public Folders");
  DestinationOptions* wide = nullptr;
  uint16_t converted = 0;
  ASSERT_EQ(plugin().a2wOptions(asAnsi(block), &wide, &converted), FENDREL_SUCCESS);
  EXPECT_EQ(converted, 48 + 2 * (4 + 7 + 15));
  EXPECT_STREQ(wideAt(wide, wide->folderPathOffset), L"Public Folders");
  plugin().freeOptionsW(0, wide);
}

TEST_F(ConversionTest, SecondNameRefusesWrongVersionsToo) {
  DestinationOptionsA options = unpackedAnsi("Ada", "", nullptr);
  options.version = 1;
  DestinationOptions* wide = nullptr;
  EXPECT_EQ(plugin().a2wOptions(&options, &wide, nullptr), FENDREL_INVALID_ARGUMENT);
}

TEST_F(ConversionTest, NowhereToPutTheResultGivesFive) {
  DestinationOptions options = unpackedOptions(L"Ada", L"", nullptr);
  DestinationOptionsA ansi = unpackedAnsi("Ada", "", nullptr);
  EXPECT_EQ(plugin().optionsW2A(&options, nullptr, &size), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(plugin().optionsA2W(&ansi, nullptr, &size), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(plugin().a2wOptions(&ansi, nullptr, &size), FENDREL_INVALID_ARGUMENT);
}

// ---- Characters of two bytes ----

class ConversionDoubleByte : public ConversionTest {};

TEST_F(ConversionDoubleByte, UnpackedStringsHaveRoomForTwoBytesACharacter) {
  DestinationOptions options = unpackedOptions(L"日報", L"秘密", L"共有@日報");
  DestinationOptionsA* const ansi = toAnsi(&options);
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_STREQ(ansi->profileName, "\x93\xFA\x95\xF1");
  EXPECT_STREQ(ansi->folderPath, "\x8B\xA4\x97\x4C@\x93\xFA\x95\xF1");
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionDoubleByte, PackedStringIsOverwrittenByTheOneBehindIt) {
  const std::wstring japanese = L"日報";  // 3 characters with the terminator, 5 bytes
  const std::wstring latin = L"ab";
  auto block = packedOptions(&japanese, &latin, nullptr, FENDREL_FOLDER_REPORT);
  DestinationOptionsA* const ansi = toAnsi(asOptions(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(ansi->profilePasswordOffset, 51u);
  EXPECT_EQ(std::memcmp(ansiAt(ansi, 48),
                        "\x93\xFA\x95"
                        "ab",
                        6),
            0);
  EXPECT_EQ(size, 2 * (3 + 3 + 0 + 24));
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionDoubleByte, LastPackedStringIsWhole) {
  const std::wstring latin = L"ab";
  const std::wstring japanese = L"共有@日報";
  auto block = packedOptions(&latin, nullptr, &japanese, FENDREL_FOLDER_REPORT);
  DestinationOptionsA* const ansi = toAnsi(asOptions(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_STREQ(ansiAt(ansi, ansi->folderPathOffset), "\x8B\xA4\x97\x4C@\x93\xFA\x95\xF1");
  plugin().freeOptionsA(0, ansi);
}

TEST_F(ConversionDoubleByte, PackedRecordToWideCountsBytes) {
  auto block = packedAnsi("\x93\xFA\x95\xF1", nullptr, nullptr);
  DestinationOptions* const wide = toWide(asAnsi(block));
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(size, 48 + 2 * 5);
  EXPECT_STREQ(wideAt(wide, 48), L"日報");
  plugin().freeOptionsW(0, wide);
}

}  // namespace
}  // namespace fendrel::test
