// What a job returns of its choice: the packed block and the unpacked record.
#include <cstring>

#include "abi_test.h"

namespace fendrel::test {
namespace {

class EncodingTest : public JobTest {
 protected:
  DestinationOptions* encode(FendrelJob of) {
    DestinationOptions* block = reinterpret_cast<DestinationOptions*>(-1);
    EXPECT_EQ(plugin().encodeOptions(of, &block, &size), FENDREL_SUCCESS);
    return block;
  }

  static const wchar_t* textAt(const DestinationOptions* block, uint64_t offset) {
    return reinterpret_cast<const wchar_t*>(reinterpret_cast<const std::byte*>(block) + offset);
  }

  // A job that was set up from a packed record, the only one that may lack a password.
  FendrelJob openPacked(const std::wstring* profileName, const std::wstring* password, const std::wstring* path,
                        uint16_t type) {
    auto block = packedOptions(profileName, password, path, type);
    FileList files{L"report.txt"};
    EXPECT_EQ(tryToOpen(asOptions(block), files), FENDREL_SUCCESS);
    return job;
  }

  uint16_t size = 0;
};

TEST_F(EncodingTest, BlockHoldsTheStringsOneAfterTheOther) {
  open(unpackedOptions(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT));
  const DestinationOptions* const block = encode(job);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block->version, 1);
  EXPECT_EQ(block->destinationType, FENDREL_FOLDER_REPORT);
  EXPECT_EQ(block->profileNameOffset, 48u);
  EXPECT_EQ(block->profilePasswordOffset, 2u * 3 + 50);
  EXPECT_EQ(block->folderPathOffset, 2u * (3 + 1 + 7) + 48);
  EXPECT_STREQ(textAt(block, block->profileNameOffset), L"Ada");
  EXPECT_STREQ(textAt(block, block->profilePasswordOffset), L"secret");
  EXPECT_STREQ(textAt(block, block->folderPathOffset), L"Public Folders@Reports");
}

TEST_F(EncodingTest, SizeIsThirtyBytesLessThanHeaderAndStringsTake) {
  open(unpackedOptions(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT));
  const DestinationOptions* const block = encode(job);
  const uint16_t taken = 48 + 2 * (4 + 7 + 23);
  EXPECT_EQ(size, taken - 30);
  EXPECT_EQ(block->packedSize, size);
}

TEST_F(EncodingTest, ProfileAloneGivesTwentyTwoForOneCharacter) {
  world.profiles.push_back({L"A", nullptr});
  rebuildWorld();
  const std::wstring name = L"A";
  openPacked(&name, nullptr, nullptr, FENDREL_PERSONAL_REPORT);
  const DestinationOptions* const block = encode(job);
  EXPECT_EQ(size, 22);
  EXPECT_EQ(block->packedSize, 22);
  EXPECT_EQ(block->profileNameOffset, 48u);
  EXPECT_EQ(block->profilePasswordOffset, 0u);
  EXPECT_EQ(block->folderPathOffset, 0u);
  EXPECT_STREQ(textAt(block, 48), L"A");
}

TEST_F(EncodingTest, EmptyPasswordIsPresent) {
  open(unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT));
  const DestinationOptions* const block = encode(job);
  EXPECT_EQ(block->profilePasswordOffset, 2u * 7 + 50);
  EXPECT_STREQ(textAt(block, block->profilePasswordOffset), L"");
  EXPECT_EQ(block->folderPathOffset, 0u);
  EXPECT_EQ(size, (7 + 1 + 1 + 0 + 9) * 2);
}

TEST_F(EncodingTest, WithoutPasswordTheFolderPathFollowsTheProfile) {
  const std::wstring name = L"Default";
  const std::wstring path = L"Public Folders";
  openPacked(&name, nullptr, &path, FENDREL_FOLDER_REPORT);
  const DestinationOptions* const block = encode(job);
  EXPECT_EQ(block->profilePasswordOffset, 0u);
  EXPECT_EQ(block->folderPathOffset, 2u * (7 + 1) + 48);
  EXPECT_STREQ(textAt(block, block->folderPathOffset), L"Public Folders");
}

TEST_F(EncodingTest, ProfileNameIsTheOneInUse) {
  world.statusRows = {{{MAPI_SUBSYSTEM, L"In use"}}};
  rebuildWorld();
  open();
  EXPECT_STREQ(textAt(encode(job), 48), L"In use");
}

TEST_F(EncodingTest, SizeIsReportedModulo65536AndTheStringsAreWholeAllTheSame) {
  const std::wstring secret(20000, L'p');
  const std::wstring path(20000, L'f');
  open(unpackedOptions(L"Default", secret.c_str(), path.c_str()));
  const DestinationOptions* const block = encode(job);
  EXPECT_EQ(size, static_cast<uint16_t>((7 + 1 + 20001 + 20001 + 9) * 2));
  EXPECT_EQ(block->packedSize, size);
  EXPECT_EQ(textAt(block, block->profilePasswordOffset), secret);
  EXPECT_EQ(textAt(block, block->folderPathOffset), path);
}

TEST_F(EncodingTest, EncodingAgainGivesANewBlock) {
  open();
  const uint16_t first = (encode(job), size);
  const DestinationOptions* const second = encode(job);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(size, first);
  EXPECT_STREQ(textAt(second, 48), L"Default");
}

TEST_F(EncodingTest, BlocksOfTwoJobsAreDifferent) {
  const FendrelJob one = openPath(L"Public Folders");
  const FendrelJob other = openPath(L"Mailbox - Ada");
  const DestinationOptions* const first = encode(one);
  const DestinationOptions* const second = encode(other);
  EXPECT_STREQ(textAt(first, first->folderPathOffset), L"Public Folders");
  EXPECT_STREQ(textAt(second, second->folderPathOffset), L"Mailbox - Ada");
}

TEST_F(EncodingTest, NoJobGivesFiveAndTouchesNothing) {
  DestinationOptions marker{};
  DestinationOptions* block = &marker;
  size = 0x1234;
  EXPECT_EQ(plugin().encodeOptions(0, &block, &size), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(block, &marker);
  EXPECT_EQ(size, 0x1234);
}

TEST_F(EncodingTest, JobWithoutAProfileNameGivesFive) {
  world.statusRows.emplace();
  rebuildWorld();
  open();
  DestinationOptions* block = nullptr;
  EXPECT_EQ(plugin().encodeOptions(job, &block, &size), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(block, nullptr);
}

// ---- Decoding ----

TEST_F(EncodingTest, DecodedRecordIsUnpackedWithStringsOfItsOwn) {
  open(unpackedOptions(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT));
  DestinationOptions* options = nullptr;
  ASSERT_EQ(plugin().decodeOptions(job, &options), FENDREL_SUCCESS);
  ASSERT_NE(options, nullptr);
  EXPECT_EQ(options->version, 1);
  EXPECT_EQ(options->packedSize, 0);
  EXPECT_EQ(options->destinationType, FENDREL_FOLDER_REPORT);
  EXPECT_STREQ(options->profileName, L"Ada");
  EXPECT_STREQ(options->profilePassword, L"secret");
  EXPECT_STREQ(options->folderPath, L"Public Folders@Reports");
  EXPECT_EQ(plugin().freeOptionsW(0, options), 0u);
}

TEST_F(EncodingTest, DecodedRecordOutlivesItsJob) {
  open(unpackedOptions(L"Ada", L"secret", L"Public Folders@Reports"));
  DestinationOptions* options = nullptr;
  ASSERT_EQ(plugin().decodeOptions(job, &options), FENDREL_SUCCESS);
  end(job);
  EXPECT_STREQ(options->folderPath, L"Public Folders@Reports");
  plugin().freeOptionsW(0, options);
}

TEST_F(EncodingTest, DecodedRecordHasNullInAbsentFields) {
  const std::wstring name = L"Default";
  openPacked(&name, nullptr, nullptr, FENDREL_PERSONAL_REPORT);
  DestinationOptions* options = nullptr;
  ASSERT_EQ(plugin().decodeOptions(job, &options), FENDREL_SUCCESS);
  EXPECT_STREQ(options->profileName, L"Default");
  EXPECT_EQ(options->profilePassword, nullptr);
  EXPECT_EQ(options->folderPath, nullptr);
  plugin().freeOptionsW(0, options);
}

TEST_F(EncodingTest, DecodingTwiceGivesTwoRecords) {
  open();
  DestinationOptions* first = nullptr;
  DestinationOptions* second = nullptr;
  ASSERT_EQ(plugin().decodeOptions(job, &first), FENDREL_SUCCESS);
  ASSERT_EQ(plugin().decodeOptions(job, &second), FENDREL_SUCCESS);
  EXPECT_NE(first, second);
  EXPECT_NE(first->profileName, second->profileName);
  plugin().freeOptionsW(0, first);
  plugin().freeOptionsW(0, second);
}

TEST_F(EncodingTest, DecodingNoJobGivesFive) {
  DestinationOptions* options = nullptr;
  EXPECT_EQ(plugin().decodeOptions(0, &options), FENDREL_INVALID_ARGUMENT);
}

// ---- Freeing ----

TEST_F(EncodingTest, FreeingNothingIsAllowed) {
  EXPECT_EQ(plugin().freeOptionsW(0, nullptr), 0u);
  EXPECT_EQ(plugin().freeOptionsA(0, nullptr), 0u);
}

TEST_F(EncodingTest, FreeingDoesNotReadItsFirstArgument) {
  open();
  DestinationOptions* options = nullptr;
  ASSERT_EQ(plugin().decodeOptions(job, &options), FENDREL_SUCCESS);
  EXPECT_EQ(plugin().freeOptionsW(0xDEADBEEF, options), 0u);
}

}  // namespace
}  // namespace fendrel::test
