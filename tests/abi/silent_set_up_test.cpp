// Jobs from an options record: unpacked, packed as a host kept it, and damaged.
#include <cstring>

#include "abi_test.h"

namespace fendrel::test {
namespace {

using ::testing::IsEmpty;

const std::wstring profile = L"Ada";
const std::wstring password = L"secret";
const std::wstring path = L"Public Folders@Reports";

class SilentSetUpTest : public JobTest {
 protected:
  uint32_t setUp(DestinationOptions* options) {
    FileList files{L"report.txt"};
    return tryToOpen(options, files);
  }

  // What the job took from its record.
  DestinationOptions* taken() {
    DestinationOptions* options = nullptr;
    EXPECT_EQ(plugin().decodeOptions(job, &options), FENDREL_SUCCESS);
    return options;
  }

  void expectTaken(const wchar_t* profileName, const wchar_t* secret, const wchar_t* folder, uint16_t type) {
    DestinationOptions* const options = taken();
    ASSERT_NE(options, nullptr);
    EXPECT_STREQ(options->profileName, profileName);
    EXPECT_STREQ(options->profilePassword, secret);
    EXPECT_STREQ(options->folderPath, folder);
    EXPECT_EQ(options->destinationType, type);
    plugin().freeOptionsW(0, options);
  }
};

// ---- The version ----

TEST_F(SilentSetUpTest, VersionTwoIsTakenAndLeftAsItWas) {
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  EXPECT_EQ(setUp(&options), FENDREL_SUCCESS);
  EXPECT_EQ(options.version, 2);
}

TEST_F(SilentSetUpTest, HigherVersionIsTakenAndLeftAsItWas) {
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  options.version = 0xFFFF;
  EXPECT_EQ(setUp(&options), FENDREL_SUCCESS);
  EXPECT_EQ(options.version, 0xFFFF);
}

TEST_F(SilentSetUpTest, VersionOneIsRefusedAndLeftAsItWas) {
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  options.version = 1;
  EXPECT_EQ(setUp(&options), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(options.version, 1);
  EXPECT_THAT(mapi.callsOf("MAPILogonEx"), IsEmpty());
}

TEST_F(SilentSetUpTest, VersionZeroIsRefusedAndLeftAsItWas) {
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
  options.version = 0;
  EXPECT_EQ(setUp(&options), FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(options.version, 0);
}

TEST_F(SilentSetUpTest, VersionIsWrittenBackAfterAFailedLogon) {
  DestinationOptions options = unpackedOptions(L"Nobody", L"", L"Public Folders");
  EXPECT_EQ(setUp(&options), FENDREL_FAILED);
  EXPECT_EQ(options.version, 2);
}

// ---- Unpacked records ----

TEST_F(SilentSetUpTest, UnpackedRecordIsTakenWhole) {
  DestinationOptions options = unpackedOptions(profile.c_str(), password.c_str(), path.c_str(), FENDREL_FOLDER_REPORT);
  ASSERT_EQ(setUp(&options), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT);
}

TEST_F(SilentSetUpTest, UnpackedRecordIsNotChanged) {
  DestinationOptions options = unpackedOptions(profile.c_str(), password.c_str(), path.c_str());
  const DestinationOptions before = options;
  ASSERT_EQ(setUp(&options), FENDREL_SUCCESS);
  EXPECT_EQ(std::memcmp(&options, &before, sizeof options), 0);
}

TEST_F(SilentSetUpTest, StringsAreCopies) {
  std::wstring folder = path;
  DestinationOptions options = unpackedOptions(profile.c_str(), password.c_str(), folder.c_str());
  ASSERT_EQ(setUp(&options), FENDREL_SUCCESS);
  folder.assign(folder.size(), L'x');
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_REPORT_INSTANCE);
}

TEST_F(SilentSetUpTest, UnpackedRecordWithoutProfileGivesTwoBeforeAnyLogon) {
  DestinationOptions options = unpackedOptions(nullptr, L"", L"Public Folders");
  EXPECT_EQ(setUp(&options), FENDREL_OUT_OF_MEMORY);
  EXPECT_THAT(mapi.callsOf("MAPILogonEx"), IsEmpty());
}

TEST_F(SilentSetUpTest, UnpackedRecordWithoutPasswordGivesTwoBeforeAnyLogon) {
  DestinationOptions options = unpackedOptions(L"Default", nullptr, L"Public Folders");
  EXPECT_EQ(setUp(&options), FENDREL_OUT_OF_MEMORY);
  EXPECT_THAT(mapi.callsOf("MAPILogonEx"), IsEmpty());
}

TEST_F(SilentSetUpTest, UnpackedRecordWithoutFolderPathIsTaken) {
  DestinationOptions options = unpackedOptions(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT);
  ASSERT_EQ(setUp(&options), FENDREL_SUCCESS);
  expectTaken(L"Default", L"", nullptr, FENDREL_PERSONAL_REPORT);
}

TEST_F(SilentSetUpTest, LongStringsAreTaken) {
  const std::wstring secret(30000, L'p');
  const std::wstring folder(30000, L'f');
  DestinationOptions options = unpackedOptions(L"Default", secret.c_str(), folder.c_str());
  ASSERT_EQ(setUp(&options), FENDREL_SUCCESS);
  expectTaken(L"Default", secret.c_str(), folder.c_str(), FENDREL_REPORT_INSTANCE);
}

// ---- Packed records ----

TEST_F(SilentSetUpTest, PackedRecordIsTakenWhole) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  ASSERT_EQ(setUp(asOptions(block)), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT);
}

TEST_F(SilentSetUpTest, PackedRecordIsNotChanged) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  const auto before = block;
  ASSERT_EQ(setUp(asOptions(block)), FENDREL_SUCCESS);
  EXPECT_EQ(block, before);
}

TEST_F(SilentSetUpTest, PackedSizeThatIsThirtyBytesShortIsTakenWhole) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT, -30);
  ASSERT_EQ(setUp(asOptions(block)), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT);
}

TEST_F(SilentSetUpTest, PackedSizeThatIsThirtyTwoBytesShortIsRefused) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT, -32);
  EXPECT_EQ(setUp(asOptions(block)), FENDREL_INVALID_ARGUMENT);
  EXPECT_THAT(mapi.callsOf("MAPILogonEx"), IsEmpty());
}

TEST_F(SilentSetUpTest, PackedRecordWithoutPasswordLogsOnWithNone) {
  const std::wstring open = L"Default";
  auto block = packedOptions(&open, nullptr, &path, FENDREL_FOLDER_REPORT);
  ASSERT_EQ(setUp(asOptions(block)), FENDREL_SUCCESS);
  EXPECT_THAT(mapi.linesOf("MAPILogonEx"),
              ::testing::ElementsAre("MAPILogonEx [] window=0x0 profile=\"Default\" password=null flags=0x80008022"));
  expectTaken(L"Default", nullptr, L"Public Folders@Reports", FENDREL_FOLDER_REPORT);
}

TEST_F(SilentSetUpTest, PackedRecordWithoutFolderPathLeavesItAbsent) {
  auto block = packedOptions(&profile, &password, nullptr, FENDREL_PERSONAL_REPORT);
  ASSERT_EQ(setUp(asOptions(block)), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", nullptr, FENDREL_PERSONAL_REPORT);
}

TEST_F(SilentSetUpTest, PackedRecordWithoutProfileGivesTwoBeforeAnyLogon) {
  auto block = packedOptions(nullptr, &password, &path, FENDREL_FOLDER_REPORT);
  EXPECT_EQ(setUp(asOptions(block)), FENDREL_OUT_OF_MEMORY);
  EXPECT_THAT(mapi.callsOf("MAPILogonEx"), IsEmpty());
}

TEST_F(SilentSetUpTest, OnlyTheLowThirtyTwoBitsOfAnOffsetCount) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  asOptions(block)->folderPathOffset |= 0xABCD000000000000u;
  ASSERT_EQ(setUp(asOptions(block)), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT);
}

TEST_F(SilentSetUpTest, StringsMayStandInAnyOrder) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  std::swap(asOptions(block)->profilePasswordOffset, asOptions(block)->folderPathOffset);
  const std::wstring swappedPath = L"Public Folders@Reports";
  world.profiles.push_back({L"Ada", L"Public Folders@Reports"});
  world.profiles.erase(world.profiles.begin() + 1);
  rebuildWorld();
  ASSERT_EQ(setUp(asOptions(block)), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"Public Folders@Reports", L"secret", FENDREL_FOLDER_REPORT);
}

// A field of a packed record that leads out of it.
struct Damage {
  const char* name;
  uint32_t offset;
};

class DamagedRecord : public SilentSetUpTest, public ::testing::WithParamInterface<Damage> {
 protected:
  void expectRefused(uint64_t DestinationOptions::*field) {
    auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
    const auto size = static_cast<uint32_t>(block.size());
    // Offsets from 1000 on count from the bound up to which strings are followed.
    asOptions(block)->*field = GetParam().offset < 1000 ? GetParam().offset : size + 30 + GetParam().offset - 1000;
    EXPECT_EQ(setUp(asOptions(block)), FENDREL_INVALID_ARGUMENT);
    EXPECT_THAT(mapi.callsOf("MAPILogonEx"), IsEmpty());
  }
};

TEST_P(DamagedRecord, ProfileNameIsRefused) { expectRefused(&DestinationOptions::profileNameOffset); }
TEST_P(DamagedRecord, PasswordIsRefused) { expectRefused(&DestinationOptions::profilePasswordOffset); }
TEST_P(DamagedRecord, FolderPathIsRefused) { expectRefused(&DestinationOptions::folderPathOffset); }

INSTANTIATE_TEST_SUITE_P(With, DamagedRecord,
                         ::testing::Values(Damage{"OffsetOne", 1}, Damage{"OffsetTwoInTheHeader", 2},
                                           Damage{"OffsetFortySixInTheHeader", 46}, Damage{"OddOffset", 49},
                                           Damage{"OffsetAtTheBound", 1000}, Damage{"OffsetPastTheBound", 1002},
                                           Damage{"OffsetFarAway", 0x7FFFFFF0}, Damage{"OffsetNegative", 0xFFFFFFFE}),
                         [](const auto& test) { return test.param.name; });

TEST_F(SilentSetUpTest, StringWithoutTerminatorIsRefused) {
  auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  block.insert(block.end(), 64, std::byte{0x41});
  block.erase(block.end() - 66, block.end() - 64);  // the terminator of the last string
  EXPECT_EQ(setUp(asOptions(block)), FENDREL_INVALID_ARGUMENT);
}

// A record that ends where memory ends: the page after it cannot be read.
class CutOffRecord : public SilentSetUpTest {
 protected:
  void SetUp() override {
    SilentSetUpTest::SetUp();
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    pageSize_ = system.dwPageSize;
    pages_ = static_cast<std::byte*>(VirtualAlloc(nullptr, 2 * pageSize_, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_NE(pages_, nullptr);
    ASSERT_NE(VirtualAlloc(pages_, pageSize_, MEM_COMMIT, PAGE_READWRITE), nullptr);
  }
  void TearDown() override {
    VirtualFree(pages_, 0, MEM_RELEASE);
    SilentSetUpTest::TearDown();
  }

  // The first `size` bytes of the block, directly in front of the unreadable page.
  DestinationOptions* atTheEnd(const std::vector<std::byte>& block, std::size_t size) {
    std::byte* const start = pages_ + pageSize_ - size;
    std::memcpy(start, block.data(), size);
    return reinterpret_cast<DestinationOptions*>(start);
  }

  std::size_t pageSize_ = 0;
  std::byte* pages_ = nullptr;
};

TEST_F(CutOffRecord, WholeRecordIsTaken) {
  const auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT);
  ASSERT_EQ(setUp(atTheEnd(block, block.size())), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT);
}

TEST_F(CutOffRecord, WholeRecordWithTheShortSizeIsTaken) {
  const auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT, -30);
  ASSERT_EQ(setUp(atTheEnd(block, block.size())), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_FOLDER_REPORT);
}

TEST_F(CutOffRecord, RecordOfItsShortSizeAloneIsRefused) {
  const auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT, -30);
  EXPECT_EQ(setUp(atTheEnd(block, block.size() - 30)), FENDREL_INVALID_ARGUMENT);
}

TEST_F(CutOffRecord, RecordWithoutItsLastTerminatorIsRefused) {
  const auto block = packedOptions(&profile, &password, &path, FENDREL_FOLDER_REPORT, -30);
  EXPECT_EQ(setUp(atTheEnd(block, block.size() - 2)), FENDREL_INVALID_ARGUMENT);
}

TEST_F(CutOffRecord, UnpackedRecordAtTheEndOfMemoryIsTaken) {
  const DestinationOptions header = unpackedOptions(profile.c_str(), password.c_str(), path.c_str());
  std::vector<std::byte> block(sizeof header);
  std::memcpy(block.data(), &header, sizeof header);
  ASSERT_EQ(setUp(atTheEnd(block, block.size())), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports", FENDREL_REPORT_INSTANCE);
}

// ---- A kept record brings the export back ----

TEST_F(SilentSetUpTest, JobsOwnEncodedBlockBringsTheExportBack) {
  DestinationOptions first = unpackedOptions(L"Ada", L"secret", L"Public Folders@Reports@Daily");
  ASSERT_EQ(setUp(&first), FENDREL_SUCCESS);
  DestinationOptions* encoded = nullptr;
  uint16_t size = 0;
  ASSERT_EQ(plugin().encodeOptions(job, &encoded, &size), FENDREL_SUCCESS);
  encoded->version = 2;
  ASSERT_EQ(setUp(encoded), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports@Daily", FENDREL_REPORT_INSTANCE);
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(mapi.messages().at(0).folder, "Public Folders@Reports@Daily");
}

TEST_F(SilentSetUpTest, KeptCopyOfSizeAndThirtyBytesBringsTheExportBack) {
  DestinationOptions first = unpackedOptions(L"Ada", L"secret", L"Public Folders@Reports@Daily");
  ASSERT_EQ(setUp(&first), FENDREL_SUCCESS);
  DestinationOptions* encoded = nullptr;
  uint16_t size = 0;
  ASSERT_EQ(plugin().encodeOptions(job, &encoded, &size), FENDREL_SUCCESS);
  const auto* const start = reinterpret_cast<const std::byte*>(encoded);
  std::vector<std::byte> kept(start, start + size + 30);
  end(job);
  asOptions(kept)->version = 2;
  ASSERT_EQ(setUp(asOptions(kept)), FENDREL_SUCCESS);
  expectTaken(L"Ada", L"secret", L"Public Folders@Reports@Daily", FENDREL_REPORT_INSTANCE);
}

TEST_F(SilentSetUpTest, DecodedRecordBringsTheExportBack) {
  DestinationOptions first = unpackedOptions(L"Ada", L"secret", L"Public Folders@Reports@Daily");
  ASSERT_EQ(setUp(&first), FENDREL_SUCCESS);
  DestinationOptions* const decoded = taken();
  ASSERT_NE(decoded, nullptr);
  decoded->version = 2;
  EXPECT_EQ(setUp(decoded), FENDREL_SUCCESS);
  plugin().freeOptionsW(0, decoded);
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
}

}  // namespace
}  // namespace fendrel::test
