// The limits of an interface with 16-bit counts and sizes.
#include <cstring>

#include "abi_test.h"

namespace fendrel::test {
namespace {

TEST_F(JobTest, AllOf65535FilesAreGoneThroughAndTheLastOneCounts) {
  constexpr std::size_t count = 65535;
  FileList files;
  for (std::size_t index = 1; index < count; ++index) files.addTemplate(L"other.txt");
  files.addTemplate(L"last.txt");
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders@Reports");
  ASSERT_EQ(tryToOpen(&options, files), FENDREL_SUCCESS);
  const std::wstring path = file();
  std::vector<const wchar_t*> paths(count, nullptr);  // a file without a path fails and calls nothing
  paths.front() = paths.back() = path.c_str();
  FendrelExportDescription description{.size = sizeof description, .fileCount = count, .filePaths = paths.data()};
  EXPECT_EQ(plugin().exportToDestination(job, &description), FENDREL_SUCCESS);
  const auto messages = mapi.messages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(valueOf(messages[0].properties, PR_SUBJECT_W).text, L"other.txt");
  EXPECT_EQ(valueOf(messages[1].properties, PR_SUBJECT_W).text, L"last.txt");
}

// A folder path of this length; the first one is the longest that fits a packed record.
class LongPath : public JobTest, public ::testing::WithParamInterface<std::size_t> {
 protected:
  static constexpr std::size_t packable = 32700;

  bool isPackable() const { return GetParam() <= packable; }

  const std::wstring path_ = std::wstring(L"Public Folders@") + std::wstring(GetParam() - 15, L'x');
  const std::string ansiPath_ = std::string(path_.begin(), path_.end());
};

TEST_P(LongPath, IsTakenByASetUpAndNamesNoFolder) {
  openPath(path_.c_str());
  EXPECT_EQ(postAndRead(job, {file()}), (Answer{FENDREL_FAILED, L"MAPI object not found."}));
}

TEST_P(LongPath, IsDecodedWhole) {
  openPath(path_.c_str());
  DestinationOptions* options = nullptr;
  ASSERT_EQ(plugin().decodeOptions(job, &options), FENDREL_SUCCESS);
  EXPECT_EQ(options->folderPath, path_);
  plugin().freeOptionsW(0, options);
}

TEST_P(LongPath, IsEncodedWholeAndComesBackAsFarAsItsSizeCanBeTold) {
  openPath(path_.c_str());
  DestinationOptions* block = nullptr;
  uint16_t size = 0;
  ASSERT_EQ(plugin().encodeOptions(job, &block, &size), FENDREL_SUCCESS);
  const std::size_t whole = 48 + 2 * (8 + 1 + path_.size() + 1);
  EXPECT_EQ(size, static_cast<uint16_t>(whole - 30));
  std::vector<std::byte> kept(whole);
  std::memcpy(kept.data(), block, whole);
  EXPECT_EQ(reinterpret_cast<const wchar_t*>(kept.data() + asOptions(kept)->folderPathOffset), path_);
  asOptions(kept)->version = FENDREL_OPTIONS_VERSION;
  FileList files{L"report.txt"};
  EXPECT_EQ(tryToOpen(asOptions(kept), files), isPackable() ? FENDREL_SUCCESS : FENDREL_INVALID_ARGUMENT);
  DestinationOptionsA* ansi = nullptr;
  EXPECT_EQ(plugin().optionsW2A(asOptions(kept), &ansi, &size),
            isPackable() ? FENDREL_SUCCESS : FENDREL_INVALID_ARGUMENT);
  if (ansi) {
    EXPECT_EQ(reinterpret_cast<const char*>(ansi) + ansi->folderPathOffset, ansiPath_);
    ansi->version = FENDREL_OPTIONS_VERSION;
    DestinationOptions* back = nullptr;
    EXPECT_EQ(plugin().optionsA2W(ansi, &back, &size), FENDREL_SUCCESS);
    EXPECT_EQ(reinterpret_cast<const wchar_t*>(reinterpret_cast<std::byte*>(back) + back->folderPathOffset), path_);
    plugin().freeOptionsW(0, back);
  }
  plugin().freeOptionsA(0, ansi);
}

TEST_P(LongPath, IsConvertedWholeInAnUnpackedRecord) {
  DestinationOptions options = unpackedOptions(L"Default", L"", path_.c_str());
  DestinationOptionsA* ansi = nullptr;
  uint16_t size = 99;
  ASSERT_EQ(plugin().optionsW2A(&options, &ansi, &size), FENDREL_SUCCESS);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(ansi->folderPath, ansiPath_);
  ansi->version = FENDREL_OPTIONS_VERSION;
  DestinationOptions* back = nullptr;
  ASSERT_EQ(plugin().a2wOptions(ansi, &back, nullptr), FENDREL_SUCCESS);
  EXPECT_EQ(back->folderPath, path_);
  plugin().freeOptionsW(0, back);
  plugin().freeOptionsA(0, ansi);
}

TEST_P(LongPath, OfAFileIsOneThatDoesNotOpen) {
  open();
  EXPECT_EQ(postAndRead(job, {L"C:\\" + std::wstring(GetParam() - 3, L'x')}),
            (Answer{FENDREL_FAILED, L"MAPI_E_CALL_FAILED"}));
}

TEST_P(LongPath, OfAGivenNameIsCutTo260Characters) {
  FileList files;
  const std::wstring name(GetParam(), L'n');
  files.addGivenName(name.c_str());
  DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders@Reports");
  ASSERT_EQ(tryToOpen(&options, files), FENDREL_SUCCESS);
  EXPECT_EQ(post(job, {file()}), FENDREL_SUCCESS);
  EXPECT_EQ(valueOf(mapi.messages().at(0).properties, PR_SUBJECT_W).text, std::wstring(260, L'n'));
}

INSTANTIATE_TEST_SUITE_P(Characters, LongPath, ::testing::Values(32700, 33000));

}  // namespace
}  // namespace fendrel::test
