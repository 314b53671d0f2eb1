// Which mode a job posts in, and template mode with the answers of the naming step.
#include "posting_fixture.h"

using namespace fendrel;
using testing::_;
using testing::Return;

namespace {

struct Mode {
  const char* row;
  std::uint16_t type;
  bool optionsSupplied;
  bool isTemplate;
  friend void PrintTo(const Mode& value, std::ostream* out) { *out << value.row; }
};

class PostingMode : public PostingFixture, public testing::WithParamInterface<Mode> {};

TEST_P(PostingMode, FollowsFromTypeAndSetUp) {
  destination.type = GetParam().type;
  const PostingJob job{&world.session, GetParam().optionsSupplied, destination, fileNames, sender, L"", L"", noNaming,
                       errorText};
  EXPECT_EQ(isTemplateMode(job), GetParam().isTemplate);
}

INSTANTIATE_TEST_SUITE_P(
    , PostingMode,
    testing::Values(Mode{"InteractivePersonal", 1009, false, true}, Mode{"InteractiveFolder", 1010, false, true},
                    Mode{"InteractiveInstance", 1011, false, false}, Mode{"SilentPersonal", 1009, true, false},
                    Mode{"SilentFolder", 1010, true, false}, Mode{"SilentInstance", 1011, true, false},
                    Mode{"InteractiveUnknown", 0, false, true}),
    [](const auto& row) { return std::string(row.param.row); });

class MockNaming : public NamingStep {
 public:
  MOCK_METHOD(Naming, nameReport, (const std::wstring&, const wchar_t*, IMAPIFolder*, ReportTexts&), (override));
};

class TemplateMode : public PostingFixture {
 protected:
  TemplateMode() {
    destination.type = FENDREL_FOLDER_REPORT;
    optionsSupplied = false;
    naming = &step;
  }
  static auto answers(Naming naming, ReportTexts texts = {}) {
    return [naming, texts](auto, auto, auto, ReportTexts& out) {
      out = texts;
      return naming;
    };
  }

  testing::StrictMock<MockNaming> step;
};

TEST_F(TemplateMode, PostsHiddenMessagesOfTheTemplateClass) {
  addFile(L"a.rpt");
  addFile(L"b.pdf");
  EXPECT_CALL(step, nameReport).WillRepeatedly(answers(Naming::post));
  EXPECT_EQ(post(), 0u);
  EXPECT_EQ(message(0).flags, static_cast<ULONG>(MAPI_ASSOCIATED));
  EXPECT_EQ(message(0).find(PR_MESSAGE_CLASS_W)->text, L"IPM.QUORVEL.REPORT.TEMPLATE");
  EXPECT_EQ(message(1).find(PR_MESSAGE_CLASS_W)->text, L"IPM.QUORVEL.REPORT.TEMPLATE") << "no extension is appended";
  EXPECT_EQ(message(1).attachmentProperties[2].text, L"pdf");
}

TEST_F(TemplateMode, NamingStepIsAskedWithNamePathAndFolder) {
  addFile(L"a.rpt");
  EXPECT_CALL(step, nameReport(std::wstring(L"a.rpt"), paths[0], &world.top, _)).WillOnce(answers(Naming::post));
  post();
}

TEST_F(TemplateMode, NamesCommentsAndBodiesBelongToTheirFile) {
  addFile(L"a.rpt");
  addFile(L"b.rpt");
  EXPECT_CALL(step, nameReport)
      .WillOnce(answers(Naming::post, {L"First", L"Comment", L"Body"}))
      .WillOnce(answers(Naming::post, {L"Second"}));
  EXPECT_EQ(post(), 0u);
  EXPECT_EQ(message(0).find(PR_DISPLAY_NAME_W)->text, L"First");
  EXPECT_EQ(message(0).find(PR_COMMENT_W)->text, L"Comment");
  EXPECT_EQ(message(0).find(PR_BODY_W)->text, L"Body");
  EXPECT_EQ(message(1).find(PR_DISPLAY_NAME_W)->text, L"Second");
  EXPECT_EQ(message(1).find(PR_COMMENT_W), nullptr);
  EXPECT_EQ(message(1).find(PR_BODY_W), nullptr);
}

TEST_F(TemplateMode, SkippedFileIsNotPostedAndDoesNotChangeTheResult) {
  addMissingFile(L"a.rpt");
  addFile(L"b.rpt");
  EXPECT_CALL(step, nameReport).WillOnce(answers(Naming::post)).WillOnce(answers(Naming::skip));
  EXPECT_EQ(post(), FENDREL_FAILED) << "the result of the file before";
  EXPECT_STREQ(errorText.get(), L"MAPI_E_CALL_FAILED");
  EXPECT_EQ(world.top.messages.size(), 1u);
}

TEST_F(TemplateMode, OnlySkippedFilesAreASuccess) {
  addFile(L"a.rpt");
  EXPECT_CALL(step, nameReport).WillOnce(answers(Naming::skip));
  EXPECT_EQ(post(), 0u);
  EXPECT_TRUE(world.top.messages.empty());
}

TEST_F(TemplateMode, AbortEndsTheExportAsCancelledAndKeepsWhatIsPosted) {
  addFile(L"a.rpt");
  addFile(L"b.rpt");
  addFile(L"c.rpt");
  EXPECT_CALL(step, nameReport).WillOnce(answers(Naming::post)).WillOnce(answers(Naming::abort));
  EXPECT_EQ(post(), FENDREL_CANCELLED);
  EXPECT_STREQ(errorText.get(), L"");
  ASSERT_EQ(world.top.messages.size(), 1u);
  EXPECT_TRUE(message(0).saved);
}

TEST_F(TemplateMode, AnyOtherAnswerPosts) {
  addFile(L"a.rpt");
  addFile(L"b.rpt");
  EXPECT_CALL(step, nameReport).WillOnce(answers(Naming{0})).WillOnce(answers(Naming{-1}, {L"Named"}));
  EXPECT_EQ(post(), 0u);
  ASSERT_EQ(world.top.messages.size(), 2u);
  EXPECT_EQ(message(1).find(PR_DISPLAY_NAME_W)->text, L"Named");
}

TEST_F(TemplateMode, NamingStepOutOfMemoryFailsItsFileOnly) {
  addFile(L"a.rpt");
  addFile(L"b.rpt");
  EXPECT_CALL(step, nameReport)
      .WillOnce([](auto, auto, auto, auto&) -> Naming { throw std::bad_alloc(); })
      .WillOnce(answers(Naming::post));
  EXPECT_EQ(post(), 0u);
  EXPECT_EQ(world.top.messages.size(), 1u);
}

TEST_F(TemplateMode, OtherExceptionOfTheNamingStepReachesTheCaller) {
  addFile(L"a.rpt");
  EXPECT_CALL(step, nameReport).WillOnce([](auto, auto, auto, auto&) -> Naming { throw 1184; });
  EXPECT_THROW(post(), int);
  EXPECT_FALSE(world.top.isHeld());
}

}  // namespace
