// The full cycle from a folder that a person chose: the kept bytes repeat the export without a dialog, in both sets.
// clang-format off
#include <windows.h>
#include <commctrl.h>
// clang-format on

#include <cstring>

#include "ansi_test.h"
#include "modal_call.h"
#include "tree_view.h"

namespace fendrel::test {
namespace {

class InteractiveCircle : public AnsiJobTest {
 protected:
  // Chooses the folder of native name in the dialog that the call shows.
  void choose(const std::function<void()>& call) {
    ModalCall modal(call);
    const HWND dialog = modal.dialog(L"Select a folder");
    ASSERT_NE(dialog, nullptr);
    const TreeView tree(GetDlgItem(dialog, 1000));
    tree.open({nativeStore().c_str(), nativeFolder().c_str()});
    click(dialog, IDOK);
    modal.waitForReturn();
  }

  std::vector<std::byte> ansiBytes() {
    uint32_t code = FENDREL_FAILED;
    choose([&] { code = tryToOpen(nullptr); });
    EXPECT_EQ(code, FENDREL_SUCCESS);
    DestinationOptionsA* block = nullptr;
    uint16_t size = 0;
    EXPECT_EQ(host().encodeOptions(job, &block, &size), FENDREL_SUCCESS);
    const auto* const bytes = reinterpret_cast<const std::byte*>(block);
    std::vector<std::byte> kept(bytes, bytes + size);
    kept[0] = std::byte{FENDREL_OPTIONS_VERSION};
    EXPECT_EQ(end(job), FENDREL_SUCCESS);
    return kept;
  }

  // The wide set's stated size is thirty bytes less than its block; a host must keep those as well.
  std::vector<std::byte> wideBytes() {
    FileList files{L"report.txt"};
    FendrelJob wideJob = 0;
    FendrelResult* wideResult = nullptr;
    uint32_t code = FENDREL_FAILED;
    choose([&] { code = plugin().initExportDestination(nullptr, 0, nullptr, files.record(), &wideJob, &wideResult); });
    EXPECT_EQ(code, FENDREL_SUCCESS);
    DestinationOptions* block = nullptr;
    uint16_t size = 0;
    EXPECT_EQ(plugin().encodeOptions(wideJob, &block, &size), FENDREL_SUCCESS);
    const auto* const bytes = reinterpret_cast<const std::byte*>(block);
    std::vector<std::byte> kept(bytes, bytes + size + 30);
    kept[0] = std::byte{FENDREL_OPTIONS_VERSION};
    EXPECT_EQ(plugin().termExportDestination(wideJob), FENDREL_SUCCESS);
    return kept;
  }

  void postInAnsiSet(DestinationOptionsA* options) {
    ASSERT_EQ(tryToOpen(options), FENDREL_SUCCESS);
    EXPECT_EQ(post(job, {file(L"a.txt")}), FENDREL_SUCCESS);
    expectOneMessage();
  }

  void postInWideSet(DestinationOptions* options) {
    FileList files{L"report.txt"};
    FendrelJob wideJob = 0;
    FendrelResult* wideResult = nullptr;
    ASSERT_EQ(plugin().initExportDestination(nullptr, 0, options, files.record(), &wideJob, &wideResult),
              FENDREL_SUCCESS);
    FilePaths paths({file(L"a.txt")});
    EXPECT_EQ(plugin().exportToDestination(wideJob, paths.record()), FENDREL_SUCCESS);
    EXPECT_EQ(plugin().termExportDestination(wideJob), FENDREL_SUCCESS);
    expectOneMessage();
  }

  void expectOneMessage() {
    const auto messages = mapi.messages();
    ASSERT_EQ(messages.size(), 1u);
    char expected[256] = {};
    WideCharToMultiByte(CP_UTF8, 0, nativePath().c_str(), -1, expected, sizeof expected, nullptr, nullptr);
    EXPECT_EQ(messages[0].folder, expected);
  }
};

TEST_F(InteractiveCircle, InTheAnsiSet) {
  auto kept = ansiBytes();
  postInAnsiSet(reinterpret_cast<DestinationOptionsA*>(kept.data()));
}

TEST_F(InteractiveCircle, InTheWideSet) {
  auto kept = wideBytes();
  postInWideSet(reinterpret_cast<DestinationOptions*>(kept.data()));
}

TEST_F(InteractiveCircle, FromTheAnsiSetIntoTheWideSet) {
  auto kept = ansiBytes();
  DestinationOptions* block = nullptr;
  ASSERT_EQ(plugin().optionsA2W(reinterpret_cast<DestinationOptionsA*>(kept.data()), &block, nullptr), FENDREL_SUCCESS);
  block->version = FENDREL_OPTIONS_VERSION;
  postInWideSet(block);
  plugin().freeOptionsW(0, block);
}

TEST_F(InteractiveCircle, FromTheWideSetIntoTheAnsiSet) {
  auto kept = wideBytes();
  DestinationOptionsA* block = nullptr;
  ASSERT_EQ(plugin().optionsW2A(reinterpret_cast<DestinationOptions*>(kept.data()), &block, nullptr), FENDREL_SUCCESS);
  block->version = FENDREL_OPTIONS_VERSION;
  postInAnsiSet(block);
  host().freeOptions(0, block);
}

TEST_F(InteractiveCircle, AReportInstanceIsPostedWhateverTheFilesExtensionsAre) {
  for (const wchar_t* name : {L"a.rpt", L"a.RPT", L"a.pdf", L"a"}) {
    uint32_t code = FENDREL_FAILED;
    choose([&] { code = tryToOpen(nullptr, {name, L"b.rpt"}); });
    ASSERT_EQ(code, FENDREL_SUCCESS);
    DestinationOptionsA* options = nullptr;
    ASSERT_EQ(host().decodeOptions(job, &options), FENDREL_SUCCESS);
    EXPECT_EQ(options->destinationType, FENDREL_REPORT_INSTANCE) << name;
    host().freeOptions(0, options);
    EXPECT_EQ(end(job), FENDREL_SUCCESS);
  }
}

TEST_F(InteractiveCircle, AJobThatWasSetUpInADialogLetsTheStoreAsk) {
  uint32_t code = FENDREL_FAILED;
  choose([&] { code = tryToOpen(nullptr); });
  ASSERT_EQ(code, FENDREL_SUCCESS);
  EXPECT_EQ(post(job, {file(L"a.txt")}), FENDREL_SUCCESS);
  EXPECT_THAT(mapi.linesOf("IMAPISession::OpenMsgStore").back(), testing::HasSubstr("flags=0x4"));
}

TEST_F(InteractiveCircle, ACancelledDialogIsCode6AndNoJob) {
  uint32_t code = FENDREL_FAILED;
  {
    ModalCall modal([&] { code = tryToOpen(nullptr); });
    click(modal.dialog(L"Select a folder"), IDCANCEL);
    modal.waitForReturn();
  }
  EXPECT_EQ(code, FENDREL_CANCELLED);
  EXPECT_EQ(job, 0u);
  unmatchedInitialisations = 1;
}

}  // namespace
}  // namespace fendrel::test
