// Each call of an export of two files fails in turn, with each mapped code and with an unmapped one: the documented
// result, no crash, nothing left.
#include "abi_test.h"

namespace fendrel::test {
namespace {

enum class Effect {
  creationFailsWithMinusOne,
  creationFails,  // with the mapped code
  none,
  noSender,        // no failure, but the messages have no sender
  exportFails,     // with the mapped code and words, nothing is posted
  storeNotFound,   // like exportFails, with MAPI_E_NOT_FOUND for any code
  firstFileFails,  // without effect on the result
  lastFileFails,   // with the mapped code and words
};

// One call of an export without failures, and the effect of its failure.
struct Step {
  std::string name;
  std::string object;
  Effect effect;
};
using Steps = std::vector<Step>;

const Steps logonSteps = {
    {"MAPIInitialize", "", Effect::creationFailsWithMinusOne},
    {"MAPILogonEx", "", Effect::creationFails},
    {"IMAPISession::GetStatusTable", "Default", Effect::creationFails},
    {"IMAPITable::GetRowCount", "status", Effect::creationFails},
    {"IMAPITable::Restrict", "status", Effect::none},
    {"IMAPITable::SetColumns", "status", Effect::creationFails},
    {"IMAPITable::GetRowCount", "status", Effect::creationFails},
    {"IMAPITable::SeekRow", "status", Effect::creationFails},
    {"IMAPITable::QueryRows", "status", Effect::creationFails},
    {"IMAPISession::QueryIdentity", "Default", Effect::noSender},
    {"IMAPISession::OpenEntry", "Default", Effect::noSender},
    {"IMailUser::GetProps", "user", Effect::noSender},
};

Steps tableSteps(const std::string& table) {
  return {
      {"IMAPITable::Restrict", table, Effect::none},           {"IMAPITable::SetColumns", table, Effect::exportFails},
      {"IMAPITable::GetRowCount", table, Effect::exportFails}, {"IMAPITable::SeekRow", table, Effect::exportFails},
      {"IMAPITable::QueryRows", table, Effect::exportFails},
  };
}

Steps fileSteps(const std::string& folder, int number, Effect failure) {
  const std::string message = folder + " message " + std::to_string(number);
  const std::string attachment = message + " attachment 0";
  return {
      {"IMAPIFolder::CreateMessage", folder, failure},
      {"MAPIAllocateBuffer", "", failure},
      {"IMessage::SetProps", message, failure},
      {"IMessage::CreateAttach", message, failure},
      {"MAPIAllocateBuffer", "", failure},
      {"IAttach::SetProps", attachment, failure},
      {"IAttach::OpenProperty", attachment, failure},
      {"IStream::Write", attachment + " content", failure},
      {"IAttach::SaveChanges", attachment, Effect::none},
      {"IMessage::SetReadFlag", message, Effect::none},
      {"IMessage::SaveChanges", message, Effect::none},
  };
}

Steps joined(std::initializer_list<Steps> parts) {
  Steps all;
  for (const Steps& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

const std::string daily = "Public Folders@Reports@Daily";
const Steps stepsByPath = joined({
    logonSteps,
    {{"IMAPISession::GetMsgStoresTable", "Default", Effect::exportFails}},
    tableSteps("message stores"),
    {{"IMAPISession::OpenMsgStore", "Default", Effect::exportFails},
     {"HrGetOneProp", "", Effect::exportFails},
     {"IMsgStore::OpenEntry", "Public Folders", Effect::exportFails},
     {"IMAPIFolder::GetHierarchyTable", "Public Folders (subtree)", Effect::exportFails}},
    tableSteps("hierarchy of Public Folders (subtree)"),
    {{"IMsgStore::OpenEntry", "Public Folders", Effect::exportFails},
     {"IMAPIFolder::GetHierarchyTable", "Public Folders@Reports", Effect::exportFails}},
    tableSteps("hierarchy of Public Folders@Reports"),
    {{"IMsgStore::OpenEntry", "Public Folders", Effect::exportFails}},
    fileSteps(daily, 1, Effect::firstFileFails),
    fileSteps(daily, 2, Effect::lastFileFails),
    {{"IMAPISession::Logoff", "Default", Effect::none}},
});

const std::string commonViews = "Mailbox - Ada (common views)";
const Steps stepsOfAPersonalReport = joined({
    logonSteps,
    {{"IMAPISession::GetMsgStoresTable", "Default", Effect::exportFails}},
    tableSteps("message stores"),
    {{"IMAPISession::OpenMsgStore", "Default", Effect::storeNotFound},
     {"IMsgStore::GetProps", "Mailbox - Ada", Effect::exportFails},
     {"IMsgStore::OpenEntry", "Mailbox - Ada", Effect::exportFails}},
    fileSteps(commonViews, 1, Effect::firstFileFails),
    fileSteps(commonViews, 2, Effect::lastFileFails),
    {{"IMAPISession::Logoff", "Default", Effect::none}},
});

class TwoFileExport : public JobTest {
 protected:
  DestinationOptions optionsOf(uint16_t type) {
    return unpackedOptions(L"Default", L"", type == FENDREL_PERSONAL_REPORT ? nullptr : L"Public Folders@Reports@Daily",
                           type);
  }

  struct Outcome {
    uint32_t creation = 0;
    Answer answer{0, L""};
    uint32_t ended = 0;
  };

  // A whole export of two files.
  Outcome run(uint16_t type) {
    Outcome outcome;
    DestinationOptions options = optionsOf(type);
    FileList files{L"one.txt", L"two.txt"};
    FendrelJob made = 0;
    outcome.creation = plugin().initExportDestination(nullptr, 0, &options, files.record(), &made, &result);
    EXPECT_EQ(made == 0, outcome.creation != FENDREL_SUCCESS);
    if (outcome.creation != FENDREL_SUCCESS) return outcome;
    outcome.answer = postAndRead(made, {one_, two_});
    outcome.ended = plugin().termExportDestination(made);
    return outcome;
  }

  void expectNothingLeft(bool initialisationUnmatched) {
    const RecordingCounts counts = mapi.counts();
    EXPECT_EQ(counts.interfaces, 0u) << mapi.liveObjects();
    EXPECT_EQ(counts.buffers, 0u) << mapi.liveObjects();
    EXPECT_EQ(counts.sessions, 0u);
    EXPECT_EQ(counts.initialised, initialisationUnmatched ? 1 : 0);
    EXPECT_THAT(mapi.faults(), ::testing::IsEmpty());
  }

  std::vector<bool> savedMessages() const {
    std::vector<bool> saved;
    for (const PostedMessage& message : mapi.messages()) saved.push_back(message.saved);
    return saved;
  }

  void expectEffect(const Step& step, const Mapped& failure, const Outcome& outcome) {
    using ::testing::ElementsAre;
    using ::testing::IsEmpty;
    const Answer mapped{failure.code, failure.text};
    const bool savesTheMessage = step.name == "IMessage::SaveChanges";
    switch (step.effect) {
      case Effect::creationFailsWithMinusOne: EXPECT_EQ(outcome.creation, FENDREL_FAILED); break;
      case Effect::creationFails: EXPECT_EQ(outcome.creation, failure.code); break;
      case Effect::none:
        EXPECT_EQ(outcome.creation, FENDREL_SUCCESS);
        EXPECT_EQ(outcome.answer, success);
        EXPECT_EQ(std::ranges::count(savedMessages(), true), savesTheMessage ? 1 : 2);
        break;
      case Effect::noSender:
        EXPECT_EQ(outcome.answer, success);
        EXPECT_THAT(savedMessages(), ElementsAre(true, true));
        EXPECT_FALSE(has(mapi.messages().at(0).properties, PR_SENDER_ENTRYID));
        break;
      case Effect::exportFails:
        EXPECT_EQ(outcome.answer, mapped);
        EXPECT_THAT(mapi.messages(), IsEmpty());
        break;
      case Effect::storeNotFound:
        EXPECT_EQ(outcome.answer, (Answer{FENDREL_FAILED, L"MAPI object not found."}));
        EXPECT_THAT(mapi.messages(), IsEmpty());
        break;
      case Effect::firstFileFails:
        EXPECT_EQ(outcome.answer, success);
        ASSERT_FALSE(savedMessages().empty());
        EXPECT_TRUE(savedMessages().back());
        EXPECT_EQ(std::ranges::count(savedMessages(), true), 1);
        break;
      case Effect::lastFileFails:
        EXPECT_EQ(outcome.answer, mapped);
        EXPECT_EQ(std::ranges::count(savedMessages(), true), 1);
        EXPECT_TRUE(savedMessages().front());
        break;
    }
    EXPECT_EQ(outcome.ended, FENDREL_SUCCESS);
    expectNothingLeft(outcome.creation != FENDREL_SUCCESS && step.effect != Effect::creationFailsWithMinusOne);
  }

  // The steps are those of an export without failures, one by one.
  void expectSteps(uint16_t type, const Steps& steps) {
    EXPECT_EQ(run(type).answer, (Answer{FENDREL_SUCCESS, L""}));
    std::vector<std::string> expected, made;
    for (const Step& step : steps) expected.push_back(step.name + " on '" + step.object + "'");
    for (const Call& call : mapi.everything())
      if (call.canFail) made.push_back(call.name + " on '" + call.object + "'");
    EXPECT_EQ(made, expected);
  }

  const std::wstring one_ = file(L"one", "first");
  const std::wstring two_ = file(L"two", "second");
};

TEST_F(TwoFileExport, ByPathMakesTheseCalls) { expectSteps(FENDREL_REPORT_INSTANCE, stepsByPath); }
TEST_F(TwoFileExport, AsAPersonalReportMakesTheseCalls) {
  expectSteps(FENDREL_PERSONAL_REPORT, stepsOfAPersonalReport);
}

class FaultSweep : public TwoFileExport, public ::testing::WithParamInterface<Mapped> {
 protected:
  void sweep(uint16_t type, const Steps& steps) {
    for (std::size_t index = 0; index < steps.size(); ++index) {
      SCOPED_TRACE("call " + std::to_string(index + 1) + ", " + steps[index].name + " on '" + steps[index].object +
                   "'");
      rebuildWorld();
      mapi.fail(nullptr, static_cast<uint32_t>(index + 1), GetParam().result);
      expectEffect(steps[index], GetParam(), run(type));
    }
    rebuildWorld();
  }
};

TEST_P(FaultSweep, OfAnExportByPathGivesTheDocumentedResultAtEachCall) { sweep(FENDREL_REPORT_INSTANCE, stepsByPath); }

TEST_P(FaultSweep, OfAPersonalReportGivesTheDocumentedResultAtEachCall) {
  sweep(FENDREL_PERSONAL_REPORT, stepsOfAPersonalReport);
}

INSTANTIATE_TEST_SUITE_P(With, FaultSweep, ::testing::ValuesIn(mappedResults),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace fendrel::test
