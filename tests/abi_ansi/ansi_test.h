// Fixtures of the tests on the ANSI set, which run with ANSI code page 1252 and again with 932.
#pragma once

#include <deque>

#include "abi_test.h"
#include "ansi_plugin.h"

namespace fendrel::test {

bool isDoubleByte();
std::string ansi(const std::wstring& text);
std::wstring wide(const char* text);  // "(null)" for null

// Names in the code page's letters. The profile's letters have one byte each in both code pages; in double-byte code
// pages, one of the folders' letters contains the byte of '@' and one that of a backslash.
std::wstring nativeProfile();
std::wstring nativeStore();
std::wstring nativeFolder();
std::wstring nativeFile();
std::wstring nativePath();  // store and folder

// An unpacked record whose texts it owns.
class AnsiOptionsRecord {
 public:
  AnsiOptionsRecord(const std::wstring& profileName, const std::wstring& password, const std::wstring& folderPath,
                    uint16_t destinationType = FENDREL_REPORT_INSTANCE);
  AnsiOptionsRecord(const AnsiOptionsRecord&) = delete;
  AnsiOptionsRecord& operator=(const AnsiOptionsRecord&) = delete;

  DestinationOptionsA* get() { return &record_; }

 private:
  std::string profileName_, password_, folderPath_;
  DestinationOptionsA record_{};
};

// A file list of templates.
class AnsiFileList {
 public:
  explicit AnsiFileList(std::initializer_list<std::wstring> templates);
  AnsiFileList(const AnsiFileList&) = delete;
  AnsiFileList& operator=(const AnsiFileList&) = delete;

  FendrelFileListA* get() { return &list_; }

 private:
  std::deque<std::string> texts_;
  std::deque<FendrelFileDescriptionA> descriptions_;
  std::vector<const FendrelFileDescriptionA*> files_;
  FendrelFileListA list_{};
};

class AnsiPluginTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    ansiPlugin.emplace();
  }
  void TearDown() override {
    ansiPlugin.reset();
    PluginTest::TearDown();
  }
  AnsiPlugin& host() { return *ansiPlugin; }

  std::optional<AnsiPlugin> ansiPlugin;
};

// The world has the profile, the store and the folder of native names besides the standard ones.
class AnsiJobTest : public AnsiPluginTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Calls NRVInitExportDestination and returns its code; the fixture ends jobs.
  uint32_t tryToOpen(DestinationOptionsA* options, std::initializer_list<std::wstring> templates = {L"report.txt"});
  FendrelJob open(std::initializer_list<std::wstring> templates = {L"report.txt"});
  FendrelJob open(const std::wstring& profileName, const std::wstring& password, const std::wstring& folderPath);
  uint32_t end(FendrelJob job);
  uint32_t post(FendrelJob job, const std::vector<std::wstring>& paths);

  // A new file of that name.
  std::wstring file(const std::wstring& name, std::string_view content = "content") const;

  FendrelJob job = 0;
  FendrelResultA* result = nullptr;

 private:
  std::wstring profile_, store_, folder_;  // the double reads them
  std::vector<FendrelJob> open_;
  TempFolder files_;
};

}  // namespace fendrel::test
