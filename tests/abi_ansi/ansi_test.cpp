#include "ansi_test.h"

#include <cstring>
#include <fstream>

namespace fendrel::test {

bool isDoubleByte() { return GetACP() == 932; }

std::string ansi(const std::wstring& text) {
  std::string result(3 * text.size() + 1, '\0');
  const int size = WideCharToMultiByte(CP_ACP, 0, text.c_str(), static_cast<int>(text.size()), result.data(),
                                       static_cast<int>(result.size()), nullptr, nullptr);
  result.resize(static_cast<std::size_t>(size));
  return result;
}

std::wstring wide(const char* text) {
  if (!text) return L"(null)";
  const int length = static_cast<int>(std::strlen(text));
  std::wstring result(static_cast<std::size_t>(length), L'\0');
  result.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, text, length, result.data(), length)));
  return result;
}

std::wstring nativeProfile() { return isDoubleByte() ? L"ﾎｳｺｸ" : L"Zoë"; }
std::wstring nativeStore() { return isDoubleByte() ? L"公開フォルダ" : L"Öffentliche Ordner"; }
std::wstring nativeFolder() { return isDoubleByte() ? L"予定表ファイル" : L"Größe"; }
std::wstring nativeFile() { return isDoubleByte() ? L"売上表.txt" : L"Übersicht.txt"; }
std::wstring nativePath() { return nativeStore() + L"@" + nativeFolder(); }

AnsiOptionsRecord::AnsiOptionsRecord(const std::wstring& profileName, const std::wstring& password,
                                     const std::wstring& folderPath, uint16_t destinationType)
    : profileName_(ansi(profileName)), password_(ansi(password)), folderPath_(ansi(folderPath)) {
  record_.version = FENDREL_OPTIONS_VERSION;
  record_.profileName = profileName_.data();
  record_.profilePassword = password_.data();
  record_.folderPath = folderPath_.data();
  record_.destinationType = destinationType;
}

AnsiFileList::AnsiFileList(std::initializer_list<std::wstring> templates) {
  for (const std::wstring& text : templates) {
    FendrelFileDescriptionA& description = descriptions_.emplace_back();
    description.size = sizeof description;
    description.fileNameTemplate = texts_.emplace_back(ansi(text)).c_str();
    files_.push_back(&description);
  }
  list_.size = sizeof list_;
  list_.fileCount = static_cast<uint16_t>(files_.size());
  list_.files = files_.data();
}

void AnsiJobTest::SetUp() {
  profile_ = nativeProfile();
  store_ = nativeStore();
  folder_ = nativeFolder();
  world.profiles.push_back({profile_.c_str(), nullptr});
  const int store = world.addStore(store_.c_str());
  world.addFolder(store, World::subtree, folder_.c_str());
  AnsiPluginTest::SetUp();
  ASSERT_EQ(host().initialize(), FENDREL_SUCCESS);
}

void AnsiJobTest::TearDown() {
  for (const FendrelJob left : std::vector(open_)) EXPECT_EQ(end(left), FENDREL_SUCCESS);
  EXPECT_EQ(host().terminate(), FENDREL_SUCCESS);
  AnsiPluginTest::TearDown();
}

uint32_t AnsiJobTest::tryToOpen(DestinationOptionsA* options, std::initializer_list<std::wstring> templates) {
  AnsiFileList files(templates);
  job = 0xDEADBEEF;
  result = nullptr;
  const uint32_t code = host().initExportDestination(nullptr, 4711, options, files.get(), &job, &result);
  if (code == FENDREL_SUCCESS) {
    EXPECT_NE(job, 0u);
    EXPECT_NE(result, nullptr);
    open_.push_back(job);
  } else {
    EXPECT_EQ(job, 0u);
  }
  return code;
}

FendrelJob AnsiJobTest::open(const std::wstring& profileName, const std::wstring& password,
                             const std::wstring& folderPath) {
  AnsiOptionsRecord options(profileName, password, folderPath);
  EXPECT_EQ(tryToOpen(options.get()), FENDREL_SUCCESS);
  return job;
}

FendrelJob AnsiJobTest::open(std::initializer_list<std::wstring> templates) {
  AnsiOptionsRecord options(nativeProfile(), L"", nativePath());
  EXPECT_EQ(tryToOpen(options.get(), templates), FENDREL_SUCCESS);
  return job;
}

uint32_t AnsiJobTest::end(FendrelJob ended) {
  std::erase(open_, ended);
  return host().termExportDestination(ended);
}

uint32_t AnsiJobTest::post(FendrelJob into, const std::vector<std::wstring>& paths) {
  std::vector<std::string> texts;
  for (const std::wstring& path : paths) texts.push_back(ansi(path));
  std::vector<const char*> pointers;
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  FendrelExportDescriptionA description{};
  description.size = sizeof description;
  description.fileCount = static_cast<uint16_t>(pointers.size());
  description.filePaths = pointers.data();
  return host().exportToDestination(into, &description);
}

std::wstring AnsiJobTest::file(const std::wstring& name, std::string_view content) const {
  const std::filesystem::path path = files_.path() / name;
  std::ofstream stream(path, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  EXPECT_TRUE(stream) << "cannot write " << path;
  return path.wstring();
}

}  // namespace fendrel::test
