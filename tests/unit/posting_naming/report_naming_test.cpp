// Whether a report name is in use: the comparison with the hidden messages of a folder.
#include "report_naming.h"

#include <cstring>

#include "target_folder.h"
#include "ui_fixture.h"

using namespace fendrel;
using namespace fendrel::test;

namespace {

class UsedNames : public UiTest {
 protected:
  void SetUp() override {
    UiTest::SetUp();
    TargetFolder target;
    ASSERT_EQ(openFolderByPath(session(), L"Public Folders@Reports", false, target), S_OK);
    folder_ = std::move(target);
  }
  void TearDown() override {
    folder_ = {};
    UiTest::TearDown();
  }

  // Adds a message with this name to the folder.
  void addMessage(const char* name, ULONG flags = MAPI_ASSOCIATED) {
    ComPtr<IMessage> message;
    ASSERT_EQ(folder()->CreateMessage(nullptr, flags, &message), S_OK);
    SPropValue value = {};
    value.ulPropTag = PR_DISPLAY_NAME_A;
    value.Value.lpszA = const_cast<char*>(name);
    MapiBuffer<SPropProblemArray> problems;
    ASSERT_EQ(message->SetProps(1, &value, receive(problems)), S_OK);
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }

  IMAPIFolder* folder() const { return folder_.folder.Get(); }

 private:
  TargetFolder folder_;
};

TEST_F(UsedNames, EmptyFolderHasNone) { EXPECT_FALSE(isReportNameUsed(folder(), L"Sales")); }

TEST_F(UsedNames, NoFolderHasNone) { EXPECT_FALSE(isReportNameUsed(nullptr, L"Sales")); }

TEST_F(UsedNames, EightBitNameIsComparedAsIfItWereWide) {
  addMessage("Sales");
  EXPECT_FALSE(isReportNameUsed(folder(), L"Sales"));
  const wchar_t sameBytes[] = {L'S' | L'a' << 8, L'l' | L'e' << 8, L's', 0};
  EXPECT_TRUE(isReportNameUsed(folder(), sameBytes));
}

TEST_F(UsedNames, NameOfOneLetterIsFoundWhateverItsCase) {
  addMessage("A");
  EXPECT_TRUE(isReportNameUsed(folder(), L"A"));
  EXPECT_TRUE(isReportNameUsed(folder(), L"a"));
  EXPECT_FALSE(isReportNameUsed(folder(), L"B"));
}

TEST_F(UsedNames, OrdinaryMessagesDoNotCount) {
  addMessage("A", 0);
  EXPECT_FALSE(isReportNameUsed(folder(), L"A"));
}

TEST_F(UsedNames, TheLastOfManyRowsCounts) {
  for (int i = 0; i < 60; ++i) addMessage("B");
  addMessage("A");
  EXPECT_TRUE(isReportNameUsed(folder(), L"A"));
}

TEST_F(UsedNames, RefusedTableHasNone) {
  addMessage("A");
  mapi.failEvery("IMAPIFolder::GetContentsTable", MAPI_E_NO_ACCESS);
  EXPECT_FALSE(isReportNameUsed(folder(), L"A"));
}

TEST_F(UsedNames, TableIsAskedForHiddenMessagesAndTheirNamesAlone) {
  isReportNameUsed(folder(), L"A");
  EXPECT_EQ(mapi.callsOf("IMAPIFolder::GetContentsTable").at(0).arguments, "flags=0x40");
  EXPECT_EQ(mapi.callsOf("IMAPITable::SetColumns").back().arguments, "columns=PR_DISPLAY_NAME_A flags=0x0");
}

TEST_F(UsedNames, RowsWhoseNameIsAnErrorOrWideDoNotCount) {
  addMessage("A");
  for (const RecordingAnswer answer : {RECORDING_ERROR_VALUES, RECORDING_OTHER_WIDTH, RECORDING_OTHER_TYPE,
                                       RECORDING_NULL_VALUES, RECORDING_BAD_ADDRESS, RECORDING_ROWS_WITHOUT_COLUMNS}) {
    mapi.failNothing();
    mapi.answer("IMAPITable::QueryRows", 1, answer);
    EXPECT_FALSE(isReportNameUsed(folder(), L"A")) << answer;
  }
  EXPECT_TRUE(isReportNameUsed(folder(), L"A"));
}

TEST_F(UsedNames, OfATableThatFailsMidwayAreThoseReadBefore) {
  for (int i = 0; i < 50; ++i) addMessage("B");
  addMessage("A");
  mapi.fail("IMAPITable::QueryRows", 2, MAPI_E_NETWORK_ERROR);
  EXPECT_FALSE(isReportNameUsed(folder(), L"A"));
  mapi.failNothing();
  mapi.fail("IMAPITable::QueryRows", 2, MAPI_E_NETWORK_ERROR);
  EXPECT_TRUE(isReportNameUsed(folder(), L"B"));
}

TEST_F(UsedNames, OfATableThatIsBusyForAWhileAreFound) {
  addMessage("A");
  for (const char* call : {"IMAPITable::SetColumns", "IMAPITable::SeekRow"}) {
    mapi.failNothing();
    mapi.fail(call, 1, MAPI_E_BUSY);
    EXPECT_TRUE(isReportNameUsed(folder(), L"A")) << call;
  }
}

// The wait succeeds, but the requested rows have not arrived.
TEST_F(UsedNames, OfATableThatIsBusyMidwayEndWhereItWas) {
  for (int i = 0; i < 50; ++i) addMessage("B");
  addMessage("A");
  mapi.fail("IMAPITable::QueryRows", 2, MAPI_E_BUSY);
  EXPECT_FALSE(isReportNameUsed(folder(), L"A"));
  EXPECT_EQ(mapi.callsOf("IMAPITable::WaitForCompletion").size(), 1u);
}

}  // namespace
