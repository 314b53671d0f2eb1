// The double notices what a client must not do, and fails what a test plans to fail.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <mapix.h>

#include "basic_rules.h"

namespace fendrel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class RecordingMapiTest : public ::testing::Test {
 protected:
  RecordingMapiTest() {
    mapi.reset(standardWorld());
    lookUp("MAPIInitialize", initialize);
    lookUp("MAPIUninitialize", uninitialize);
    lookUp("MAPILogonEx", logonEx);
    lookUp("MAPIAllocateBuffer", allocateBuffer);
    lookUp("MAPIAllocateMore", allocateMore);
    lookUp("MAPIFreeBuffer", freeBuffer);
  }
  ~RecordingMapiTest() override { mapi.reset(standardWorld()); }

  template <class Function>
  void lookUp(const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(mapi.module(), name)));
  }

  IMAPISession* logOn() {
    initialize(nullptr);
    IMAPISession* session = nullptr;
    EXPECT_EQ(logonEx(0, const_cast<LPTSTR>(L"Default"), nullptr, MAPI_UNICODE, &session), S_OK);
    return session;
  }

  RecordingMapi mapi;
  MAPIINITIALIZE* initialize;
  MAPIUNINITIALIZE* uninitialize;
  MAPILOGONEX* logonEx;
  MAPIALLOCATEBUFFER* allocateBuffer;
  MAPIALLOCATEMORE* allocateMore;
  MAPIFREEBUFFER* freeBuffer;
};

TEST_F(RecordingMapiTest, CountsBlocksUntilTheyAreFreedWithTheirChain) {
  void* top = nullptr;
  void* more = nullptr;
  ASSERT_EQ(allocateBuffer(10, &top), S_OK);
  ASSERT_EQ(allocateMore(10, top, &more), S_OK);
  EXPECT_EQ(mapi.counts().buffers, 1u);
  EXPECT_EQ(mapi.counts().chainedBuffers, 1u);
  EXPECT_THAT(mapi.liveObjects(), HasSubstr("10 bytes: MAPIAllocateBuffer"));
  EXPECT_EQ(freeBuffer(top), 0u);
  EXPECT_EQ(mapi.counts().buffers, 0u);
  EXPECT_EQ(mapi.counts().chainedBuffers, 0u);
  EXPECT_THAT(mapi.faults(), IsEmpty());
}

TEST_F(RecordingMapiTest, NoticesADoubleFree) {
  void* block = nullptr;
  ASSERT_EQ(allocateBuffer(10, &block), S_OK);
  freeBuffer(block);
  EXPECT_NE(freeBuffer(block), 0u);
  EXPECT_THAT(mapi.faults(), ElementsAre(HasSubstr("freed twice")));
}

TEST_F(RecordingMapiTest, NoticesTheFreeOfAChainedBlock) {
  void* top = nullptr;
  void* more = nullptr;
  ASSERT_EQ(allocateBuffer(10, &top), S_OK);
  ASSERT_EQ(allocateMore(10, top, &more), S_OK);
  EXPECT_NE(freeBuffer(more), 0u);
  EXPECT_THAT(mapi.faults(), ElementsAre(HasSubstr("chained block")));
}

TEST_F(RecordingMapiTest, NoticesTheFreeOfAForeignAddress) {
  int here = 0;
  EXPECT_NE(freeBuffer(&here), 0u);
  EXPECT_THAT(mapi.faults(), ElementsAre(HasSubstr("never allocated")));
}

TEST_F(RecordingMapiTest, NoticesAWritePastABlock) {
  void* block = nullptr;
  ASSERT_EQ(allocateBuffer(10, &block), S_OK);
  static_cast<char*>(block)[10] = 1;
  freeBuffer(block);
  EXPECT_THAT(mapi.faults(), ElementsAre(HasSubstr("written past")));
}

TEST_F(RecordingMapiTest, NoticesAWriteIntoAFreedBlock) {
  void* block = nullptr;
  ASSERT_EQ(allocateBuffer(10, &block), S_OK);
  freeBuffer(block);
  static_cast<char*>(block)[3] = 1;
  EXPECT_THAT(mapi.faults(), ElementsAre(HasSubstr("written after it was freed")));
}

TEST_F(RecordingMapiTest, NoticesOneReleaseTooMany) {
  IMAPISession* const session = logOn();
  session->Logoff(0, 0, 0);
  session->Release();
  session->Release();
  EXPECT_THAT(mapi.faults(), ElementsAre(HasSubstr("released too often")));
}

TEST_F(RecordingMapiTest, NoticesACallOnAReleasedObject) {
  IMAPISession* const session = logOn();
  session->Logoff(0, 0, 0);
  session->Release();
  session->Logoff(0, 0, 0);
  EXPECT_THAT(mapi.faults(), ::testing::Contains(HasSubstr("called on a released IMAPISession")));
}

TEST_F(RecordingMapiTest, NoticesASessionThatIsReleasedWithoutLogoff) {
  logOn()->Release();
  EXPECT_EQ(mapi.counts().sessions, 1u);
  EXPECT_THAT(mapi.faults(), ElementsAre(HasSubstr("without Logoff")));
}

TEST_F(RecordingMapiTest, NoticesACallWithoutMapiInitialize) {
  IMAPISession* const session = logOn();
  uninitialize();
  IMAPITable* table = nullptr;
  session->GetStatusTable(0, &table);
  EXPECT_THAT(mapi.faults(), ::testing::Contains(HasSubstr("without MAPIInitialize")));
}

TEST_F(RecordingMapiTest, CountsInterfacesUntilTheirLastRelease) {
  IMAPISession* const session = logOn();
  IMAPITable* table = nullptr;
  ASSERT_EQ(session->GetStatusTable(0, &table), S_OK);
  EXPECT_EQ(mapi.counts().interfaces, 2u);
  table->AddRef();
  table->Release();
  EXPECT_EQ(mapi.counts().interfaces, 2u);
  table->Release();
  EXPECT_EQ(mapi.counts().interfaces, 1u);
  EXPECT_THAT(mapi.linesOf("IMAPITable::Release"), ElementsAre("IMAPITable::Release [status] "));
}

TEST_F(RecordingMapiTest, RefusesAndRecordsWhatItDoesNotHave) {
  IMAPISession* const session = logOn();
  EXPECT_EQ(session->SetDefaultStore(0, 0, nullptr), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(mapi.callsOf("IMAPISession::SetDefaultStore").size(), 1u);
}

TEST_F(RecordingMapiTest, FailsTheNthCallOfANameAlone) {
  mapi.fail("MAPIInitialize", 2, MAPI_E_CALL_FAILED);
  EXPECT_EQ(initialize(nullptr), S_OK);
  EXPECT_EQ(initialize(nullptr), MAPI_E_CALL_FAILED);
  EXPECT_EQ(initialize(nullptr), S_OK);
  EXPECT_EQ(mapi.counts().initialised, 2);
}

TEST_F(RecordingMapiTest, FailsEveryCallOfAName) {
  mapi.failEvery("MAPIInitialize", MAPI_E_CALL_FAILED);
  EXPECT_EQ(initialize(nullptr), MAPI_E_CALL_FAILED);
  EXPECT_EQ(initialize(nullptr), MAPI_E_CALL_FAILED);
  mapi.failNothing();
  EXPECT_EQ(initialize(nullptr), S_OK);
}

TEST_F(RecordingMapiTest, FailsTheNthCallOfAll) {
  mapi.fail(nullptr, 2, MAPI_E_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(initialize(nullptr), S_OK);
  void* block = nullptr;
  EXPECT_EQ(allocateBuffer(10, &block), MAPI_E_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(block, nullptr);
}

TEST_F(RecordingMapiTest, RecordsCallsWithTheirResults) {
  mapi.fail("MAPIInitialize", 1, MAPI_E_CALL_FAILED);
  initialize(nullptr);
  const auto calls = mapi.callsOf("MAPIInitialize");
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].result, MAPI_E_CALL_FAILED);
  EXPECT_EQ(calls[0].arguments, "record=null");
}

// Both leave a block. Whichever runs first says which, the other one names it.
class BrokenRule : public RecordingMapiTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(BrokenRule, IsToldByTheFirstTestAndNamedByTheNext) {
  static std::string first;
  void* block = nullptr;
  ASSERT_EQ(allocateBuffer(10, &block), S_OK);
  ::testing::TestPartResultArray found;
  {
    const ::testing::ScopedFakeTestPartResultReporter reporter(
        ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &found);
    expectBasicRules(mapi);
  }
  freeBuffer(block);
  ASSERT_EQ(found.size(), 1);
  EXPECT_THAT(found.GetTestPartResult(0).message(), HasSubstr("every block is freed"));
  const std::string more = first.empty() ? "10 bytes: MAPIAllocateBuffer" : "first in " + first;
  EXPECT_THAT(found.GetTestPartResult(0).message(), HasSubstr(more));
  if (first.empty()) first = std::string("InAnyOrder/BrokenRule.IsToldByTheFirstTestAndNamedByTheNext/") + GetParam();
}

INSTANTIATE_TEST_SUITE_P(InAnyOrder, BrokenRule, ::testing::Values("One", "Other"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace fendrel::test
