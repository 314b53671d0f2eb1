#include "scenarios.h"

#include <fstream>

#include "dialog_driver.h"
#include "report_naming.h"
#include "resource_module.h"
#include "target_folder.h"

namespace fendrel::test {
namespace {

// All calls on a job of the wide set.
void useJob(ScenarioHost& host, FendrelJob job) {
  Plugin& plugin = host.wide();
  FilePaths paths(host.files());
  ScenarioHost::expectDocumented(plugin.exportToDestination(job, paths.record()), "NRVExportToDestinationW");
  EXPECT_NE(plugin.getErrorText(job), nullptr);
  DestinationOptions* options = nullptr;
  uint16_t size = 0;
  // A status table without rows leaves the job without a profile name, which gives 5.
  ScenarioHost::expectDocumented(plugin.encodeOptions(job, &options, &size), "NRVEncodeDestinationOptionsW");
  ScenarioHost::expectDocumented(plugin.decodeOptions(job, &options), "NRVDecodeDestinationOptionsW");
  EXPECT_EQ(plugin.freeOptionsW(0, options), FENDREL_SUCCESS);
  EXPECT_EQ(plugin.termExportDestination(job), FENDREL_SUCCESS);
}

void inWideSet(ScenarioHost& host, DestinationOptions* options) {
  FileList files{L"one.txt", L"two.txt"};
  FendrelJob job = 0;
  FendrelResult* result = nullptr;
  const uint32_t code = host.wide().initExportDestination(nullptr, 0, options, files.record(), &job, &result);
  ScenarioHost::expectDocumented(code, "NRVInitExportDestinationW");
  EXPECT_EQ(job != 0, code == FENDREL_SUCCESS);
  if (job != 0) useJob(host, job);
}

void silently(ScenarioHost& host, const wchar_t* path, uint16_t type) {
  DestinationOptions options = unpackedOptions(L"Default", L"", path, type);
  inWideSet(host, &options);
}

void byPath(ScenarioHost& host) { silently(host, L"Public Folders@Reports@Daily", FENDREL_REPORT_INSTANCE); }
void asFolderReport(ScenarioHost& host) { silently(host, L"Mailbox - Ada@Inbox", FENDREL_FOLDER_REPORT); }
void asPersonalReport(ScenarioHost& host) { silently(host, nullptr, FENDREL_PERSONAL_REPORT); }

void inAnsiSet(ScenarioHost& host) {
  AnsiPlugin& plugin = host.ansi();
  AnsiOptionsRecord options(L"Default", L"", L"Public Folders@Reports");
  AnsiFileList files{L"one.txt", L"two.txt"};
  FendrelJob job = 0;
  FendrelResultA* result = nullptr;
  const uint32_t code = plugin.initExportDestination(nullptr, 0, options.get(), files.get(), &job, &result);
  ScenarioHost::expectDocumented(code, "NRVInitExportDestination");
  EXPECT_EQ(job != 0, code == FENDREL_SUCCESS);
  if (job == 0) return;
  std::vector<std::string> texts;
  std::vector<const char*> paths;
  for (const std::wstring& path : host.files()) texts.push_back(ansi(path));
  for (const std::string& text : texts) paths.push_back(text.c_str());
  FendrelExportDescriptionA description{.size = sizeof description, .fileCount = 2, .filePaths = paths.data()};
  ScenarioHost::expectDocumented(plugin.exportToDestination(job, &description), "NRVExportToDestination");
  EXPECT_NE(plugin.getErrorText(job), nullptr);
  DestinationOptionsA* block = nullptr;
  uint16_t size = 0;
  ScenarioHost::expectDocumented(plugin.encodeOptions(job, &block, &size), "NRVEncodeDestinationOptions");
  ScenarioHost::expectDocumented(plugin.decodeOptions(job, &block), "NRVDecodeDestinationOptions");
  EXPECT_EQ(plugin.freeOptions(0, block), FENDREL_SUCCESS);
  EXPECT_EQ(plugin.termExportDestination(job), FENDREL_SUCCESS);
}

void interactively(ScenarioHost& host) {
  const DialogDriver driver;
  inWideSet(host, nullptr);
}

// Template mode, which no set-up can select: uses the posting library over the same double.
void withNames(ScenarioHost& host) {
  const DialogDriver driver;
  if (MapiStart() != 0) return;
  ComPtr<IMAPISession> session;
  if (SUCCEEDED(openSession(L"Default", nullptr, true, session))) {
    const Destination destination{.folderPath = L"Public Folders@Reports", .type = FENDREL_FOLDER_REPORT};
    const std::vector<std::wstring> names = {L"one.txt", L"two.txt"};
    const SenderIdentity sender;
    ErrorText errorText;
    ReportNaming naming(nullptr);
    std::vector<const wchar_t*> paths;
    for (const std::wstring& path : host.files()) paths.push_back(path.c_str());
    ScenarioHost::expectDocumented(postReportFiles({.session = session.Get(),
                                                    .optionsSupplied = false,
                                                    .destination = destination,
                                                    .fileNames = names,
                                                    .sender = sender,
                                                    .templateClass = L"IPM.QUORVEL.REPORT.TEMPLATE",
                                                    .documentClass = L"IPM.Document.*",
                                                    .naming = naming,
                                                    .errorText = errorText},
                                                   paths),
                                   "template mode");
  }
  closeSession(session);
  MapiStop();
}

}  // namespace

const std::vector<Scenario> scenarios = {
    {"by path", byPath, 30},     {"folder report", asFolderReport, 15}, {"personal report", asPersonalReport, 25},
    {"ANSI set", inAnsiSet, 25}, {"interactive", interactively, 3},     {"template mode", withNames, 2},
};

ScenarioHost::ScenarioHost(RecordingMapi& mapi) : mapi_(mapi) {
  g_hModule = g_hResInstance = GetModuleHandleW(nullptr);
  mapi_.reset(world_);
  EXPECT_EQ(wide_.initialize(), FENDREL_SUCCESS);
  EXPECT_TRUE(BindMapi());
  for (const wchar_t* name : {L"one", L"two"}) {
    files_.push_back(folder_.file(name));
    std::ofstream(std::filesystem::path(files_.back()), std::ios::binary) << "the content of a report";
  }
}

ScenarioHost::~ScenarioHost() {
  UnbindMapi();
  wide_.terminate();
}

void ScenarioHost::expectDocumented(uint32_t code, const char* function) {
  const bool known = code == FENDREL_SUCCESS || code == FENDREL_OUT_OF_MEMORY || code == FENDREL_NOT_ENOUGH_DISK ||
                     code == FENDREL_INVALID_ARGUMENT || code == FENDREL_CANCELLED || code == FENDREL_FAILED;
  EXPECT_TRUE(known) << function << " answers " << code;
}

void ScenarioHost::run(const Scenario& scenario, const std::function<void()>& misbehave) {
  mapi_.reset(world_);
  misbehave();
  scenario.run(*this);
  const RecordingCounts counts = mapi_.counts();
  EXPECT_EQ(counts.interfaces, 0u) << mapi_.liveObjects();
  EXPECT_EQ(counts.buffers, 0u) << mapi_.liveObjects();
  EXPECT_EQ(counts.chainedBuffers, 0u) << mapi_.liveObjects();
  EXPECT_EQ(counts.sessions, 0u);
  EXPECT_THAT(mapi_.faults(), ::testing::IsEmpty());
}

}  // namespace fendrel::test
