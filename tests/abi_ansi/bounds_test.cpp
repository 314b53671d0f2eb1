// The largest that an interface of 16-bit counts and sizes takes, in the ANSI set.
#include "ansi_test.h"

namespace fendrel::test {
namespace {

TEST_F(AnsiJobTest, AllOf65535FilesAreGoneThroughAndTheLastOneCounts) {
  constexpr std::size_t count = 65535;
  FendrelFileDescriptionA other{.size = sizeof other}, last{.size = sizeof last};
  other.fileNameTemplate = "other.txt";
  last.fileNameTemplate = "last.txt";
  std::vector<const FendrelFileDescriptionA*> descriptions(count, &other);
  descriptions.back() = &last;
  FendrelFileListA files{.size = sizeof files};
  files.fileCount = count;
  files.files = descriptions.data();
  AnsiOptionsRecord options(L"Default", L"", L"Public Folders@Reports");
  ASSERT_EQ(host().initExportDestination(nullptr, 0, options.get(), &files, &job, &result), FENDREL_SUCCESS);
  const std::string path = ansi(file(L"source.bin"));
  std::vector<const char*> paths(count, nullptr);  // a file without a path fails and calls nothing
  paths.front() = paths.back() = path.c_str();
  FendrelExportDescriptionA description{.size = sizeof description, .fileCount = count, .filePaths = paths.data()};
  EXPECT_EQ(host().exportToDestination(job, &description), FENDREL_SUCCESS);
  const auto messages = mapi.messages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(valueOf(messages[0].properties, PR_SUBJECT_W).text, L"other.txt");
  EXPECT_EQ(valueOf(messages[1].properties, PR_SUBJECT_W).text, L"last.txt");
  EXPECT_EQ(host().termExportDestination(job), FENDREL_SUCCESS);
}

class AnsiLongPath : public AnsiJobTest, public ::testing::WithParamInterface<std::size_t> {
 protected:
  bool isPackable() const { return GetParam() <= 32700; }

  const std::wstring path_ = std::wstring(L"Public Folders@") + std::wstring(GetParam() - 15, L'x');
};

TEST_P(AnsiLongPath, IsTakenByASetUpAndNamesNoFolder) {
  open(L"Default", L"", path_);
  EXPECT_EQ(post(job, {file(L"a.txt")}), FENDREL_FAILED);
  EXPECT_STREQ(host().getErrorText(job), "MAPI object not found.");
}

TEST_P(AnsiLongPath, IsDecodedWhole) {
  open(L"Default", L"", path_);
  DestinationOptionsA* options = nullptr;
  ASSERT_EQ(host().decodeOptions(job, &options), FENDREL_SUCCESS);
  EXPECT_EQ(wide(options->folderPath), path_);
  host().freeOptions(0, options);
}

TEST_P(AnsiLongPath, IsEncodedAndComesBackAsFarAsItsSizeCanBeTold) {
  open(L"Default", L"", path_);
  DestinationOptionsA* block = nullptr;
  uint16_t size = 0;
  EXPECT_EQ(host().encodeOptions(job, &block, &size), isPackable() ? FENDREL_SUCCESS : FENDREL_INVALID_ARGUMENT);
  EXPECT_EQ(block != nullptr, isPackable());
  if (!block) return;
  EXPECT_EQ(wide(reinterpret_cast<const char*>(block) + block->folderPathOffset), path_);
  const auto* const bytes = reinterpret_cast<const std::byte*>(block);
  std::vector<std::byte> kept(bytes, bytes + size);
  auto* const options = reinterpret_cast<DestinationOptionsA*>(kept.data());
  options->version = FENDREL_OPTIONS_VERSION;
  EXPECT_EQ(tryToOpen(options), FENDREL_SUCCESS);
}

TEST_P(AnsiLongPath, OfAFileIsOneThatDoesNotOpen) {
  open();
  EXPECT_EQ(post(job, {L"C:\\" + std::wstring(GetParam() - 3, L'x')}), FENDREL_FAILED);
  EXPECT_STREQ(host().getErrorText(job), "MAPI_E_CALL_FAILED");
}

INSTANTIATE_TEST_SUITE_P(Characters, AnsiLongPath, ::testing::Values(32700, 33000));

}  // namespace
}  // namespace fendrel::test
