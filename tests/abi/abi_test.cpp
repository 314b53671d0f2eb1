#include "abi_test.h"

#include <fstream>

#include "basic_rules.h"

namespace fendrel::test {

const std::vector<Mapped> mappedResults = {
    {"Abort", E_ABORT, FENDREL_CANCELLED, L""},
    {"UserCancel", MAPI_E_USER_CANCEL, FENDREL_CANCELLED, L""},
    {"Cancel", MAPI_E_CANCEL, FENDREL_CANCELLED, L""},
    {"NotEnoughMemory", MAPI_E_NOT_ENOUGH_MEMORY, FENDREL_OUT_OF_MEMORY, L""},
    {"NotEnoughDisk", MAPI_E_NOT_ENOUGH_DISK, FENDREL_NOT_ENOUGH_DISK, L""},
    {"CallFailed", MAPI_E_CALL_FAILED, FENDREL_FAILED, L"MAPI_E_CALL_FAILED"},
    {"CorruptData", MAPI_E_CORRUPT_DATA, FENDREL_FAILED, L"MAPI_E_CORRUPT_DATA"},
    {"FailOneProvider", MAPI_E_FAILONEPROVIDER, FENDREL_FAILED, L"MAPI Error: Fail on provider."},
    {"InvalidParameter", MAPI_E_INVALID_PARAMETER, FENDREL_FAILED, L"MAPI_E_INVALID_PARAMETER"},
    {"NoSupport", MAPI_E_NO_SUPPORT, FENDREL_FAILED, L"Such posting is not supported by the Message Service Provider."},
    {"NotFound", MAPI_E_NOT_FOUND, FENDREL_FAILED, L"MAPI object not found."},
    {"NoAccess", MAPI_E_NO_ACCESS, FENDREL_FAILED, L"No access right to post file to Exchange Folders."},
    {"Unknown", static_cast<HRESULT>(0x8004FEDC), FENDREL_FAILED, L"Error code 0x8004FEDC returned."},
};

std::vector<uint8_t> bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

const wchar_t* localName() { return GetACP() == 932 ? L"日報" : L"Größe"; }

void PluginTest::SetUp() {
  mapi.reset(world);
  plugin_.emplace();
}

void PluginTest::TearDown() {
  plugin_.reset();
  expectBasicRules(mapi, unmatchedInitialisations);
}

void InitialisedTest::SetUp() {
  PluginTest::SetUp();
  ASSERT_EQ(plugin().initialize(), FENDREL_SUCCESS);
}

void InitialisedTest::TearDown() {
  EXPECT_EQ(plugin().terminate(), FENDREL_SUCCESS);
  PluginTest::TearDown();
}

void JobTest::TearDown() {
  for (const FendrelJob left : std::vector(open_)) EXPECT_EQ(end(left), FENDREL_SUCCESS);
  InitialisedTest::TearDown();
}

uint32_t JobTest::tryToOpen(DestinationOptions* options, FileList& files) {
  job = 0xDEADBEEF;
  result = nullptr;
  const uint32_t code = plugin().initExportDestination(nullptr, 0, options, files.record(), &job, &result);
  if (code == FENDREL_SUCCESS) {
    EXPECT_NE(job, 0u);
    EXPECT_NE(result, nullptr);
    open_.push_back(job);
  } else {
    EXPECT_EQ(job, 0u);
    ++unmatchedInitialisations;
  }
  return code;
}

FendrelJob JobTest::open(DestinationOptions options, std::initializer_list<const wchar_t*> templates) {
  FileList files(templates);
  EXPECT_EQ(tryToOpen(&options, files), FENDREL_SUCCESS);
  return job;
}

FendrelJob JobTest::open(std::initializer_list<const wchar_t*> templates) {
  return openPath(L"Public Folders@Reports@Daily", templates);
}

FendrelJob JobTest::openPath(const wchar_t* folderPath, std::initializer_list<const wchar_t*> templates) {
  return open(unpackedOptions(L"Default", L"", folderPath), templates);
}

uint32_t JobTest::end(FendrelJob ended) {
  std::erase(open_, ended);
  return plugin().termExportDestination(ended);
}

uint32_t JobTest::post(FendrelJob into, std::vector<std::wstring> paths) {
  FilePaths files(std::move(paths));
  return plugin().exportToDestination(into, files.record());
}

std::wstring JobTest::errorText(FendrelJob of) {
  const wchar_t* const text = plugin().getErrorText(of);
  return text ? text : L"(null)";
}

Answer JobTest::postAndRead(FendrelJob into, std::vector<std::wstring> paths) {
  const uint32_t code = post(into, std::move(paths));
  return {code, errorText(into)};
}

void PrintTo(const Answer& answer, std::ostream* out) {
  *out << "code " << answer.code << ", text " << ::testing::PrintToString(answer.text);
}

PostedMessage JobTest::postOne(const wchar_t* reportName, std::string_view content) {
  open({reportName});
  EXPECT_EQ(post(job, {file(L"source.bin", content)}), FENDREL_SUCCESS);
  const auto messages = mapi.messages();
  EXPECT_EQ(messages.size(), 1u);
  return messages.empty() ? PostedMessage{} : messages[0];
}

std::wstring JobTest::file(std::wstring_view name, std::string_view content) const {
  const std::filesystem::path path = folder_.path() / name;
  std::ofstream stream(path, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  EXPECT_TRUE(stream) << "cannot write " << path;
  return path.wstring();
}

}  // namespace fendrel::test
