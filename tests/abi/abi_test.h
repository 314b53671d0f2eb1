// Fixtures of the tests on the built plug-in over the recording double. After every test the plug-in must have released
// everything from MAPI.
#pragma once

#include <gmock/gmock.h>
#include <mapicode.h>
#include <mapidefs.h>
#include <mapitags.h>
#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "host_records.h"
#include "plugin.h"
#include "recording_client.h"
#include "temp_folder.h"

namespace fendrel::test {

// The double with the standard world, and the plug-in, loaded and not initialised.
class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  Plugin& plugin() { return *plugin_; }

  World world = standardWorld();
  RecordingMapi mapi;
  int unmatchedInitialisations = 0;  // as the test expects

 private:
  std::optional<Plugin> plugin_;
};

// The plug-in, initialised.
class InitialisedTest : public PluginTest {
 protected:
  void SetUp() override;
  void TearDown() override;
};

// Code and error text of an export.
struct Answer {
  uint32_t code;
  std::wstring text;
  bool operator==(const Answer&) const = default;
};
void PrintTo(const Answer& answer, std::ostream* out);

inline const Answer success{FENDREL_SUCCESS, L""};
inline const Answer notFound{FENDREL_FAILED, L"MAPI object not found."};
inline const Answer callFailed{FENDREL_FAILED, L"MAPI_E_CALL_FAILED"};

// Silent jobs on "Public Folders@Reports@Daily" with profile "Default", unless a test says otherwise.
class JobTest : public InitialisedTest {
 protected:
  void TearDown() override;

  // Clears the record and builds the current `world`.
  void rebuildWorld() { mapi.reset(world); }

  // Calls NRVInitExportDestinationW and returns its code; `job` and `result` are its results. The fixture ends jobs.
  uint32_t tryToOpen(DestinationOptions* options, FileList& files);
  FendrelJob open(DestinationOptions options, std::initializer_list<const wchar_t*> templates = {L"report.txt"});
  FendrelJob open(std::initializer_list<const wchar_t*> templates = {L"report.txt"});
  FendrelJob openPath(const wchar_t* folderPath, std::initializer_list<const wchar_t*> templates = {L"report.txt"});
  uint32_t end(FendrelJob job);

  uint32_t post(FendrelJob job, std::vector<std::wstring> paths);
  std::wstring errorText(FendrelJob job);
  // Posts one file with this content and report name in a new job; returns the message.
  PostedMessage postOne(const wchar_t* reportName = L"sales.pdf", std::string_view content = "content");

  // The full path of a new file, and of one that does not exist.
  std::wstring file(std::wstring_view name = L"source.bin", std::string_view content = "content") const;
  std::wstring missingFile() const { return folder_.file(L"missing.bin"); }

  Answer postAndRead(FendrelJob job, std::vector<std::wstring> paths);

  FendrelJob job = 0;
  FendrelResult* result = nullptr;

 private:
  std::vector<FendrelJob> open_;
  TempFolder folder_;
};

// The code to which a failing HRESULT is mapped, and its error text (empty: none is set).
struct Mapped {
  const char* name;
  HRESULT result;
  uint32_t code;
  const wchar_t* text;
};
extern const std::vector<Mapped> mappedResults;

std::vector<uint8_t> bytesOf(std::string_view text);

// A name outside ASCII that the ANSI code page of the process can hold.
const wchar_t* localName();

}  // namespace fendrel::test
