// A choice that an ANSI host keeps and hands back.
#include <cstring>

#include "ansi_test.h"

namespace fendrel::test {
namespace {

class AnsiOptionsTest : public AnsiJobTest {
 protected:
  DestinationOptionsA* encode() {
    DestinationOptionsA* block = nullptr;
    EXPECT_EQ(host().encodeOptions(job, &block, &size), FENDREL_SUCCESS);
    return block;
  }
  DestinationOptionsA* decode() {
    DestinationOptionsA* record = nullptr;
    EXPECT_EQ(host().decodeOptions(job, &record), FENDREL_SUCCESS);
    return record;
  }
  static const char* textAt(const void* block, uint64_t offset) { return static_cast<const char*>(block) + offset; }
  // The bytes as a host keeps them, with its own version in them.
  std::vector<std::byte> kept() {
    const auto* const block = reinterpret_cast<const std::byte*>(encode());
    std::vector<std::byte> bytes(block, block + size);
    bytes[0] = std::byte{FENDREL_OPTIONS_VERSION};
    return bytes;
  }
  void expectOneMessageIn(const std::wstring& folder) {
    const auto messages = mapi.messages();
    ASSERT_EQ(messages.size(), 1u);
    char expected[256] = {};
    WideCharToMultiByte(CP_UTF8, 0, folder.c_str(), -1, expected, sizeof expected, nullptr, nullptr);
    EXPECT_EQ(messages[0].folder, expected);
  }

  uint16_t size = 0;
};

TEST_F(AnsiOptionsTest, BlockHoldsTheStringsAsManyBytesApartAsTheyHaveLetters) {
  open();
  const DestinationOptionsA* const block = encode();
  ASSERT_NE(block, nullptr);
  const std::size_t a = nativeProfile().size() + 1, b = 1, c = nativePath().size() + 1;
  EXPECT_EQ(block->version, 1);
  EXPECT_EQ(block->destinationType, FENDREL_REPORT_INSTANCE);
  EXPECT_EQ(block->profileNameOffset, 48u);
  EXPECT_EQ(block->profilePasswordOffset, 48 + a);
  EXPECT_EQ(block->folderPathOffset, 48 + a + b);
  EXPECT_EQ(size, 2 * (a + b + c + 24));
  EXPECT_EQ(block->packedSize, size);
  EXPECT_STREQ(textAt(block, block->profileNameOffset), ansi(nativeProfile()).c_str());
  EXPECT_STREQ(textAt(block, block->profilePasswordOffset), "");
  EXPECT_STREQ(textAt(block, block->folderPathOffset), ansi(nativePath()).c_str());
}

TEST_F(AnsiOptionsTest, EncodingTwiceGivesEqualBlocks) {
  open();
  const auto first = kept();
  EXPECT_EQ(kept(), first);
}

TEST_F(AnsiOptionsTest, EncodingLeavesTheWideBlockAsTheWideSetKnowsIt) {
  open();
  encode();
  encode();
  DestinationOptionsA* const record = decode();
  EXPECT_EQ(record->version, 1);
  host().freeOptions(4711, record);
}

TEST_F(AnsiOptionsTest, DecodedRecordIsUnpackedWithStringsOfItsOwn) {
  open();
  DestinationOptionsA* const record = decode();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->version, 1);
  EXPECT_EQ(record->packedSize, 0);
  EXPECT_EQ(record->destinationType, FENDREL_REPORT_INSTANCE);
  EXPECT_EQ(wide(record->profileName), nativeProfile());
  EXPECT_STREQ(record->profilePassword, "");
  EXPECT_EQ(wide(record->folderPath), nativePath());
  EXPECT_EQ(host().freeOptions(4711, record), FENDREL_SUCCESS);
}

TEST_F(AnsiOptionsTest, FreeingNothingIsAllowed) { EXPECT_EQ(host().freeOptions(0, nullptr), FENDREL_SUCCESS); }

TEST_F(AnsiOptionsTest, NullOutArgumentsAreRefusedWith5) {
  open();
  EXPECT_EQ(host().encodeOptions(job, nullptr, &size), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(host().decodeOptions(job, nullptr), FENDREL_INVALID_ARGUMENT);
}

TEST_F(AnsiOptionsTest, EncodingWorksWithoutAPlaceForTheSize) {
  open();
  DestinationOptionsA* block = nullptr;
  EXPECT_EQ(host().encodeOptions(job, &block, nullptr), FENDREL_SUCCESS);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(wide(reinterpret_cast<const char*>(block) + block->profileNameOffset), nativeProfile());
}

TEST_F(AnsiOptionsTest, FullCircle_KeptBytesBringTheExportBackInTheAnsiSet) {
  open();
  auto bytes = kept();
  end(job);
  ASSERT_EQ(tryToOpen(reinterpret_cast<DestinationOptionsA*>(bytes.data())), FENDREL_SUCCESS);
  EXPECT_EQ(post(job, {file(L"a.txt")}), FENDREL_SUCCESS);
  expectOneMessageIn(nativePath());
}

TEST_F(AnsiOptionsTest, FullCircle_TheJobsOwnBlockWithVersion2IsTakenBack) {
  open();
  DestinationOptionsA* const block = encode();
  block->version = FENDREL_OPTIONS_VERSION;
  ASSERT_EQ(tryToOpen(block), FENDREL_SUCCESS);
  EXPECT_EQ(block->version, FENDREL_OPTIONS_VERSION);
}

TEST_F(AnsiOptionsTest, FullCircle_ADecodedRecordBringsTheExportBack) {
  open();
  DestinationOptionsA* const record = decode();
  end(job);
  record->version = FENDREL_OPTIONS_VERSION;
  ASSERT_EQ(tryToOpen(record), FENDREL_SUCCESS);
  EXPECT_EQ(post(job, {file(L"a.txt")}), FENDREL_SUCCESS);
  expectOneMessageIn(nativePath());
  host().freeOptions(4711, record);
}

// The wide set's bytes are turned into the ANSI form by the host, and the other way round.
class AcrossTheSets : public AnsiOptionsTest {
 protected:
  FendrelJob openWide(DestinationOptions* options) {
    FileList files{L"report.txt"};
    FendrelJob made = 0;
    FendrelResult* wideResult = nullptr;
    EXPECT_EQ(plugin().initExportDestination(nullptr, 0, options, files.record(), &made, &wideResult), FENDREL_SUCCESS);
    return made;
  }
};

TEST_F(AcrossTheSets, FullCircle_FromTheWideSetIntoTheAnsiSet) {
  const std::wstring profile = nativeProfile(), path = nativePath();
  DestinationOptions options = unpackedOptions(profile.c_str(), L"", path.c_str());
  const FendrelJob wideJob = openWide(&options);
  DestinationOptions* block = nullptr;
  ASSERT_EQ(plugin().encodeOptions(wideJob, &block, &size), FENDREL_SUCCESS);
  block->version = FENDREL_OPTIONS_VERSION;
  DestinationOptionsA* ansiBlock = nullptr;
  ASSERT_EQ(plugin().optionsW2A(block, &ansiBlock, &size), FENDREL_SUCCESS);
  plugin().termExportDestination(wideJob);
  ansiBlock->version = FENDREL_OPTIONS_VERSION;
  ASSERT_EQ(tryToOpen(ansiBlock), FENDREL_SUCCESS);
  EXPECT_EQ(post(job, {file(L"a.txt")}), FENDREL_SUCCESS);
  expectOneMessageIn(nativePath());
  host().freeOptions(0, ansiBlock);
}

TEST_F(AcrossTheSets, FullCircle_FromTheAnsiSetIntoTheWideSet) {
  open();
  auto bytes = kept();
  end(job);
  DestinationOptions* block = nullptr;
  ASSERT_EQ(plugin().optionsA2W(reinterpret_cast<DestinationOptionsA*>(bytes.data()), &block, &size), FENDREL_SUCCESS);
  block->version = FENDREL_OPTIONS_VERSION;
  const FendrelJob wideJob = openWide(block);
  const std::wstring path = file(L"a.txt");
  FilePaths files({path});
  EXPECT_EQ(plugin().exportToDestination(wideJob, files.record()), FENDREL_SUCCESS);
  expectOneMessageIn(nativePath());
  plugin().termExportDestination(wideJob);
  plugin().freeOptionsW(0, block);
}

// Double-byte letters need more room than the packed form has: the next string overwrites their end.
class AnsiOptionsDoubleByte : public AnsiOptionsTest {};

TEST_F(AnsiOptionsDoubleByte, ALongStringIsOverwrittenByTheStringAfterIt) {
  world.profiles.push_back({L"報告書", nullptr});
  mapi.reset(world);
  open(L"報告書", L"", L"Public Folders@Reports");
  const DestinationOptionsA* const block = encode();
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block->profilePasswordOffset, 48u + 4);
  EXPECT_EQ(std::memcmp(textAt(block, 48), ansi(L"報告").c_str(), 4), 0);
  EXPECT_STREQ(textAt(block, block->profilePasswordOffset), "");
  EXPECT_STREQ(textAt(block, block->folderPathOffset), "Public Folders@Reports");
  EXPECT_EQ(size, 2 * (4 + 1 + 23 + 24));
  // The decoded record has every string whole.
  DestinationOptionsA* const record = decode();
  EXPECT_EQ(wide(record->profileName), L"報告書");
  host().freeOptions(0, record);
}

// 32,744 characters with their terminators make a block of 65,536 bytes, which counts to 0.
TEST_F(AnsiOptionsTest, APackedRecordWhoseSizeCountsTo0IsFreedWhole) {
  const std::string path(32744 - 2 - 2, 'x');
  std::vector<char> bytes(48);
  DestinationOptionsA header{};
  header.version = FENDREL_OPTIONS_VERSION;
  header.profileNameOffset = 48;
  header.profilePasswordOffset = 50;
  header.folderPathOffset = 51;
  bytes.insert(bytes.end(), {'p', 0, 0});
  bytes.insert(bytes.end(), path.begin(), path.end());
  bytes.push_back(0);
  header.packedSize = static_cast<uint16_t>(bytes.size());
  std::memcpy(bytes.data(), &header, sizeof header);
  DestinationOptions* block = nullptr;
  size = 17;
  ASSERT_EQ(plugin().optionsA2W(reinterpret_cast<DestinationOptionsA*>(bytes.data()), &block, &size), FENDREL_SUCCESS);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(block->packedSize, 0);
  EXPECT_EQ(plugin().freeOptionsW(0, block), FENDREL_SUCCESS);
}

}  // namespace
}  // namespace fendrel::test
