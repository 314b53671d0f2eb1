// A template-mode export of three files, each named by a person.
#include <fstream>

#include "fendrel/fendrel.h"
#include "import_hook.h"
#include "information_box.h"
#include "report_naming.h"
#include "temp_folder.h"
#include "ui_fixture.h"

using namespace fendrel;
using namespace fendrel::test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class TemplateExport : public UiTest {
 protected:
  void start() {
    for (const std::wstring& name : names_) {
      paths_.push_back(files_.file(name));
      std::ofstream(std::filesystem::path(paths_.back())) << "a report";
    }
    call_.emplace([this] {
      ReportNaming naming(nullptr);
      std::vector<const wchar_t*> paths;
      for (const std::wstring& path : paths_) paths.push_back(path.c_str());
      code = postReportFiles({.session = session(),
                              .optionsSupplied = false,
                              .destination = destination_,
                              .fileNames = names_,
                              .sender = sender_,
                              .templateClass = L"IPM.QUORVEL.REPORT.TEMPLATE",
                              .documentClass = L"IPM.Document.*",
                              .naming = naming,
                              .errorText = errorText_},
                             paths);
    });
  }

  // The name dialog of a file, and its answer.
  HWND dialogFor(const std::wstring& report) {
    const HWND dialog = call_->dialog(L"Enter Report Name");
    EXPECT_TRUE(waitUntil([&] { return textOf(dialog, IDC_NAME_PROMPT) == L"For " + report + L":"; }));
    return dialog;
  }
  void answer(const std::wstring& report, const std::wstring& name) {
    const HWND dialog = dialogFor(report);
    setText(dialog, IDC_NAME_EDIT, name);
    click(dialog, IDOK);
    call_->waitForClose(dialog);
  }
  void press(const std::wstring& report, int button) {
    const HWND dialog = dialogFor(report);
    click(dialog, button);
    call_->waitForClose(dialog);
  }
  void finish() { call_->waitForReturn(); }

  std::vector<std::wstring> postedNames() {
    std::vector<std::wstring> posted;
    for (const PostedMessage& message : mapi.messages())
      if (message.saved) posted.push_back(valueOf(message.properties, PR_DISPLAY_NAME_W).text);
    return posted;
  }

  void TearDown() override {
    call_.reset();
    UiTest::TearDown();
  }

  ModalCall& call() { return *call_; }

  // Into the Common Views folder of the default store.
  void choosePersonalReport() { destination_ = {.type = FENDREL_PERSONAL_REPORT}; }
  const wchar_t* words() const { return errorText_.get(); }

  std::uint32_t code = 99;

 private:
  const std::vector<std::wstring> names_ = {L"one.rpt", L"two.rpt", L"three.rpt"};
  std::vector<std::wstring> paths_;
  TempFolder files_;
  Destination destination_{
      .profileName = L"Default", .folderPath = L"Public Folders@Reports", .type = FENDREL_FOLDER_REPORT};
  SenderIdentity sender_;
  ErrorText errorText_;
  std::optional<ModalCall> call_;
};

TEST_F(TemplateExport, PostsHiddenMessagesUnderTheNamesGiven) {
  start();
  answer(L"one.rpt", L"First");
  answer(L"two.rpt", L"Second ");
  answer(L"three.rpt", L"Third");
  finish();
  EXPECT_EQ(code, 0u);
  EXPECT_THAT(postedNames(), ElementsAre(L"First", L"Second", L"Third"));
  for (const PostedMessage& message : mapi.messages()) {
    EXPECT_TRUE(message.associated);
    EXPECT_EQ(valueOf(message.properties, PR_MESSAGE_CLASS_W).text, L"IPM.QUORVEL.REPORT.TEMPLATE");
    EXPECT_FALSE(has(message.properties, PR_COMMENT_W));
    EXPECT_FALSE(has(message.properties, PR_BODY_W));
  }
}

TEST_F(TemplateExport, CancelSkipsTheFileAndTheOthersArePosted) {
  start();
  answer(L"one.rpt", L"First");
  press(L"two.rpt", IDCANCEL);
  answer(L"three.rpt", L"Third");
  finish();
  EXPECT_EQ(code, 0u);
  EXPECT_THAT(postedNames(), ElementsAre(L"First", L"Third"));
}

TEST_F(TemplateExport, AbortOnTheSecondFileEndsWith6AndTheFirstStays) {
  start();
  answer(L"one.rpt", L"First");
  press(L"two.rpt", IDABORT);
  finish();
  EXPECT_EQ(code, 6u);
  EXPECT_THAT(postedNames(), ElementsAre(L"First"));
}

TEST_F(TemplateExport, CancelOnEveryFilePostsNothingAndIsNoFailure) {
  start();
  for (const wchar_t* report : {L"one.rpt", L"two.rpt", L"three.rpt"}) press(report, IDCANCEL);
  finish();
  EXPECT_EQ(code, 0u);
  EXPECT_THAT(mapi.messages(), IsEmpty());
}

TEST_F(TemplateExport, TakenNameBringsTheBoxAndTheDialogAgain) {
  start();
  answer(L"one.rpt", L"A");
  answer(L"two.rpt", L"a");
  const HWND box = call().dialog(L"FENDREL.DLL");
  EXPECT_EQ(boxText(box),
            L"Report Display Name has already been used by other reports.\n"
            L"Please enter a unique report display name.");
  closeBox(box);
  call().waitForClose(box);
  answer(L"two.rpt", L"b");
  press(L"three.rpt", IDABORT);
  finish();
  EXPECT_THAT(postedNames(), ElementsAre(L"A", L"b"));
}

TEST_F(TemplateExport, BlankNameIsAskedForAgain) {
  start();
  const HWND dialog = dialogFor(L"one.rpt");
  setText(dialog, IDC_NAME_EDIT, L"   ");
  click(dialog, IDOK);
  const HWND box = call().dialog(L"FENDREL.DLL");
  EXPECT_EQ(boxText(box), L"Report Name cannot be empty.");
  closeBox(box);
  call().waitForClose(box);
  answer(L"one.rpt", std::wstring(300, L'n'));
  press(L"two.rpt", IDABORT);
  finish();
  EXPECT_THAT(postedNames(), ElementsAre(std::wstring(254, L'n')));
}

TEST_F(TemplateExport, DialogThatCannotBeShownPostsWithoutAName) {
  g_hResInstance = GetModuleHandleW(L"kernel32.dll");
  start();
  finish();
  EXPECT_EQ(code, 0u);
  EXPECT_THAT(mapi.messages(), SizeIs(3));
  for (const PostedMessage& message : mapi.messages()) EXPECT_FALSE(has(message.properties, PR_DISPLAY_NAME_W));
}

TEST_F(TemplateExport, OfAPersonalReportPostsIntoCommonViews) {
  choosePersonalReport();
  start();
  answer(L"one.rpt", L"First");
  press(L"two.rpt", IDABORT);
  finish();
  EXPECT_EQ(code, 6u);
  ASSERT_THAT(mapi.messages(), SizeIs(1));
  EXPECT_EQ(mapi.messages()[0].folder, "Mailbox - Ada (common views)");
  EXPECT_TRUE(mapi.messages()[0].associated);
}

// Names are still asked for, but there is no folder to post into.
TEST_F(TemplateExport, OfAPersonalReportWithoutCommonViewsFailsForEachFile) {
  World world = standardWorld();
  world.stores[0].validFolderMask = FOLDER_IPM_SUBTREE_VALID;
  logOn(world);
  choosePersonalReport();
  start();
  answer(L"one.rpt", L"First");
  press(L"two.rpt", IDCANCEL);
  answer(L"three.rpt", L"Third");
  finish();
  EXPECT_EQ(code, FENDREL_FAILED);
  EXPECT_STREQ(words(), L"MAPI_E_INVALID_PARAMETER");
  EXPECT_THAT(mapi.messages(), IsEmpty());
}

UINT g_boxType;
HWND g_boxOwner;
int WINAPI noteBox(HWND owner, const wchar_t*, const wchar_t*, UINT type) {
  g_boxOwner = owner;
  g_boxType = type;
  return IDOK;
}

TEST_F(TemplateExport, BoxAboutATakenNameHasTheInformationIconAndTheParentWindowAsOwner) {
  const HWND parent =
      CreateWindowW(L"STATIC", L"host", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  const ImportHook hook("USER32.dll", "MessageBoxW", &noteBox);
  for (const HWND owner : {HWND{nullptr}, parent}) {
    g_boxType = 0;
    showInformation(owner, L"text");
    EXPECT_EQ(g_boxType, 0x40u);
    EXPECT_EQ(g_boxOwner, owner);
  }
  DestroyWindow(parent);
}

}  // namespace
