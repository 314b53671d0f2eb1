// The posting type dialog and the report name dialog.
#include "dest_folder_type_dialog.h"
#include "display_name_dialog.h"
#include "failing_memory.h"
#include "import_hook.h"
#include "ui_fixture.h"

using namespace fendrel;
using namespace fendrel::test;

namespace {

class SmallDialogs : public testing::Test {
 protected:
  SmallDialogs() { g_hModule = g_hResInstance = GetModuleHandleW(nullptr); }
};

class TypeDialog : public SmallDialogs {
 protected:
  // Opens the dialog, and closes it by `use`.
  BOOL ask(const std::function<void(HWND)>& use) {
    BOOL result = -1;
    ModalCall call([&] { result = CDestFolderTypeDialog::DoModal(nullptr, type); });
    if (const HWND dialog = call.dialog(L"Export to Exchange Folder")) use(dialog);
    call.waitForReturn();
    return result;
  }

  static bool isChecked(HWND dialog, int id) {
    return SendMessageW(GetDlgItem(dialog, id), BM_GETCHECK, 0, 0) == BST_CHECKED;
  }

  WORD type = 7;
};

TEST_F(TypeDialog, OpensWithReportInstanceChecked) {
  type = IDC_PERSONAL_REPORT;
  ask([](HWND dialog) {
    EXPECT_TRUE(isChecked(dialog, IDC_REPORT_INSTANCE));
    EXPECT_FALSE(isChecked(dialog, IDC_FOLDER_REPORT));
    EXPECT_FALSE(isChecked(dialog, IDC_PERSONAL_REPORT));
    click(dialog, IDCANCEL);
  });
}

TEST_F(TypeDialog, OkAnswersReportInstance) {
  EXPECT_TRUE(ask([](HWND dialog) { click(dialog, IDOK); }));
  EXPECT_EQ(type, 1011);
}

TEST_F(TypeDialog, PersonalReportIs1009) {
  EXPECT_TRUE(ask([](HWND dialog) {
    SendMessageW(GetDlgItem(dialog, IDC_PERSONAL_REPORT), BM_CLICK, 0, 0);
    click(dialog, IDOK);
  }));
  EXPECT_EQ(type, 1009);
}

TEST_F(TypeDialog, FolderReportIs1010) {
  EXPECT_TRUE(ask([](HWND dialog) {
    SendMessageW(GetDlgItem(dialog, IDC_FOLDER_REPORT), BM_CLICK, 0, 0);
    click(dialog, IDOK);
  }));
  EXPECT_EQ(type, 1010);
}

TEST_F(TypeDialog, OkWithNothingCheckedAnswersReportInstance) {
  EXPECT_TRUE(ask([](HWND dialog) {
    SendMessageW(GetDlgItem(dialog, IDC_REPORT_INSTANCE), BM_SETCHECK, BST_UNCHECKED, 0);
    click(dialog, IDOK);
  }));
  EXPECT_EQ(type, 1011);
}

TEST_F(TypeDialog, CancelLeavesTheTypeAlone) {
  EXPECT_FALSE(ask([](HWND dialog) { click(dialog, IDCANCEL); }));
  EXPECT_EQ(type, 7);
}

TEST_F(TypeDialog, WithoutItsTemplateAnswersFalse) {
  g_hResInstance = GetModuleHandleW(L"kernel32.dll");
  EXPECT_FALSE(CDestFolderTypeDialog::DoModal(nullptr, type));
  EXPECT_EQ(type, 7);
}

class NameDialog : public SmallDialogs {
 protected:
  INT_PTR ask(const std::function<void(ModalCall&, HWND)>& use, const wchar_t* report = L"report.rpt") {
    INT_PTR result = -2;
    ModalCall call([&] { result = CDisplayNameDialog::DoModal(nullptr, report, name); });
    if (const HWND dialog = call.dialog(L"Enter Report Name")) use(call, dialog);
    call.waitForReturn();
    return result;
  }

  // Enters a text and presses OK.
  INT_PTR enter(const std::wstring& text) {
    return ask([&](ModalCall&, HWND dialog) {
      setText(dialog, IDC_NAME_EDIT, text);
      click(dialog, IDOK);
    });
  }

  HeapText name;
};

TEST_F(NameDialog, PromptNamesTheReport) {
  ask([](ModalCall&, HWND dialog) {
    EXPECT_EQ(textOf(dialog, IDC_NAME_PROMPT), L"For report.rpt:");
    EXPECT_EQ(textOf(dialog, IDC_NAME_EDIT), L"");
    click(dialog, IDCANCEL);
  });
}

TEST_F(NameDialog, PromptOfALongReportNameIsCut) {
  ask(
      [](ModalCall&, HWND dialog) {
        EXPECT_EQ(textOf(dialog, IDC_NAME_PROMPT), L"For " + std::wstring(251, L'r'));
        click(dialog, IDCANCEL);
      },
      std::wstring(400, L'r').c_str());
}

TEST_F(NameDialog, OkAnswersTheName) {
  EXPECT_EQ(enter(L"Sales"), 1);
  EXPECT_STREQ(name.get(), L"Sales");
}

TEST_F(NameDialog, TrailingBlanksGoLeadingBlanksStay) {
  enter(L"  Sales   ");
  EXPECT_STREQ(name.get(), L"  Sales");
}

TEST_F(NameDialog, TrailingTabStays) {
  enter(L"Sales\t");
  EXPECT_STREQ(name.get(), L"Sales\t");
}

TEST_F(NameDialog, NameOf300CharactersIsCutTo254) {
  enter(std::wstring(300, L'n'));
  EXPECT_EQ(std::wstring(name.get()), std::wstring(254, L'n'));
}

class RefusedName : public NameDialog, public testing::WithParamInterface<const wchar_t*> {};

TEST_P(RefusedName, BringsTheBoxAndKeepsTheDialog) {
  ask([](ModalCall& call, HWND dialog) {
    setText(dialog, IDC_NAME_EDIT, GetParam());
    click(dialog, IDOK);
    const HWND box = call.dialog(L"FENDREL.DLL");
    EXPECT_EQ(boxText(box), L"Report Name cannot be empty.");
    EXPECT_EQ(GetWindow(box, GW_OWNER), dialog);
    closeBox(box);
    call.waitForClose(box);
    EXPECT_FALSE(call.hasReturned());
    EXPECT_TRUE(IsWindowVisible(dialog));
    click(dialog, IDCANCEL);
  });
  EXPECT_EQ(name, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Blank, RefusedName, testing::Values(L"", L"   "));

TEST_F(NameDialog, CancelAnswers2AndNoName) {
  EXPECT_EQ(ask([](ModalCall&, HWND dialog) {
              setText(dialog, IDC_NAME_EDIT, L"Sales");
              click(dialog, IDCANCEL);
            }),
            2);
  EXPECT_EQ(name, nullptr);
}

TEST_F(NameDialog, AbortAnswers3AndNoName) {
  EXPECT_EQ(ask([](ModalCall&, HWND dialog) { click(dialog, IDABORT); }), 3);
  EXPECT_EQ(name, nullptr);
}

TEST_F(NameDialog, CloseBoxCancels) {
  EXPECT_EQ(ask([](ModalCall&, HWND dialog) { PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); }), 2);
}

TEST_F(NameDialog, EnterKeyConfirmsWhatWasTyped) {
  EXPECT_EQ(ask([](ModalCall& call, HWND dialog) {
              ASSERT_TRUE(waitUntil([&] { return call.focus() == GetDlgItem(dialog, IDC_NAME_EDIT); }));
              for (const wchar_t letter : {L'A', L'b'}) PostMessageW(call.focus(), WM_CHAR, letter, 1);
              call.press(VK_RETURN);
            }),
            1);
  EXPECT_STREQ(name.get(), L"Ab");
}

TEST_F(NameDialog, WithoutItsTemplateAnswersMinus1) {
  g_hResInstance = GetModuleHandleW(L"kernel32.dll");
  EXPECT_EQ(CDisplayNameDialog::DoModal(nullptr, L"report.rpt", name), -1);
}

TEST_F(NameDialog, BuiltInWordsStandInForAMissingString) {
  // The dialog opens with its resources and presses OK when they are gone.
  ask([](ModalCall& call, HWND dialog) {
    g_hResInstance = GetModuleHandleW(L"kernel32.dll");
    click(dialog, IDOK);
    const HWND box = call.dialog(L"FENDREL.DLL");
    EXPECT_EQ(boxText(box), L"Report Name cannot be empty.");
    closeBox(box);
    call.waitForClose(box);
    click(dialog, IDCANCEL);
  });
}

// A dialog that could not be found by its window could not be closed.
TEST_F(NameDialog, ThatTheMapHasNoMemoryForEndsAtOnceWithMinus1) {
  INT_PTR result = 0;
  EXPECT_TRUE(
      withFailingAllocation(1, [&] { result = CDisplayNameDialog::DoModal(nullptr, L"report.rpt", name); }).failed);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(name, nullptr);
}

TEST_F(TypeDialog, ThatTheMapHasNoMemoryForEndsAtOnce) {
  BOOL result = TRUE;
  EXPECT_TRUE(withFailingAllocation(1, [&] { result = CDestFolderTypeDialog::DoModal(nullptr, type); }).failed);
  EXPECT_FALSE(result);
  EXPECT_EQ(type, 7);
}

UINT g_boxType;
HWND g_boxOwner;
int WINAPI noteNameBox(HWND owner, const wchar_t*, const wchar_t*, UINT type) {
  g_boxOwner = owner;
  g_boxType = type;
  return IDOK;
}

TEST_F(NameDialog, BoxAboutAnEmptyNameHasTheInformationIconAndTheDialogAsOwner) {
  const ImportHook hook("USER32.dll", "MessageBoxW", &noteNameBox);
  for (const bool hasItsString : {true, false}) {
    g_hResInstance = GetModuleHandleW(nullptr);
    g_boxType = 0;
    ask([&](ModalCall&, HWND dialog) {
      if (!hasItsString) g_hResInstance = GetModuleHandleW(L"kernel32.dll");
      SendMessageW(dialog, WM_COMMAND, IDOK, 0);
      EXPECT_EQ(g_boxType, 0x40u);
      EXPECT_EQ(g_boxOwner, dialog);
      click(dialog, IDCANCEL);
    });
  }
}

}  // namespace
