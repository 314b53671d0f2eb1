// Each kind of restriction, compared with the same predicate on the list of posted reports.
#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

#include "conditions.h"
#include "posted_reports.h"

namespace client {
namespace {

class PostedRestrictions : public testing::Test {
 protected:
  using Predicate = std::function<bool(const PostedReport&)>;

  // The restriction finds the same messages as the predicate in every folder, and at least `atLeast` in all.
  void expectSame(SRestriction restriction, const Predicate& predicate, std::size_t atLeast) {
    std::size_t found = 0;
    for (const std::wstring& path : foldersWithReports()) {
      std::vector<std::wstring> expected;
      for (const PostedReport& report : reportsIn(path))
        if (predicate(report)) expected.push_back(report.name);
      const ComPtr<IMAPIFolder> folder = session.openFolder(path);
      ASSERT_TRUE(folder);
      const auto names = texts(queryAll(*contents(*folder.Get()).Get(), {PR_SUBJECT_W}, &restriction), 0);
      EXPECT_THAT(names, testing::UnorderedElementsAreArray(expected));
      found += expected.size();
    }
    EXPECT_GE(found, atLeast) << "the question says nothing";
    EXPECT_LT(found, 13u) << "the question says nothing";
  }

  void expectAnswer(SRestriction restriction, HRESULT result) {
    const ComPtr<IMAPIFolder> folder = session.openFolder(L"Public Folders@Reports@Daily");
    ASSERT_TRUE(folder);
    EXPECT_EQ(contents(*folder.Get())->Restrict(&restriction, 0), result);
  }

  static bool contains(const std::wstring& text, std::wstring_view part) { return text.find(part) != text.npos; }

  Session session{profileName};
  Conditions is;
};

TEST_F(PostedRestrictions, ContentAsWholePrefixAndPart) {
  expectSame(
      is.content(PR_SUBJECT_W, L"block.bin", FL_FULLSTRING),
      [](const PostedReport& report) { return report.name == L"block.bin"; }, 1);
  expectSame(
      is.content(PR_SUBJECT_W, L"over ", FL_PREFIX),
      [](const PostedReport& report) { return report.name.starts_with(L"over "); }, 2);
  expectSame(
      is.content(PR_SUBJECT_W, L"bin", FL_SUBSTRING),
      [](const PostedReport& report) { return contains(report.name, L"bin"); }, 2);
  expectSame(
      is.content(PR_SUBJECT_W, L"報告", FL_SUBSTRING),
      [](const PostedReport& report) { return contains(report.name, L"報告"); }, 1);
}

TEST_F(PostedRestrictions, ContentWithoutCase) {
  expectSame(
      is.content(PR_SUBJECT_W, L"BIN", FL_SUBSTRING | FL_IGNORECASE),
      [](const PostedReport& report) { return contains(upperCase(report.name), L"BIN"); }, 3);
  expectSame(
      is.content(PR_SUBJECT_W, L"ÜBERSICHT FÜR", FL_PREFIX | FL_IGNORECASE),
      [](const PostedReport& report) { return upperCase(report.name).starts_with(L"ÜBERSICHT FÜR"); }, 1);
  expectSame(
      is.content(PR_SUBJECT_W, L"may.rpt", FL_PREFIX | FL_LOOSE),
      [](const PostedReport& report) { return upperCase(report.name).starts_with(L"MAY.RPT"); }, 2);
}

TEST_F(PostedRestrictions, ContentIn8BitForm) {
  expectSame(
      is.content(PR_SUBJECT_A, L".txt", FL_SUBSTRING),
      [](const PostedReport& report) { return contains(report.name, L".txt"); }, 3);
}

TEST_F(PostedRestrictions, TextByEveryRelation) {
  const std::wstring middle = L"two.dots.txt";
  expectSame(
      is.text(RELOP_EQ, PR_SUBJECT_W, middle), [&](const PostedReport& report) { return report.name == middle; }, 1);
  expectSame(
      is.text(RELOP_NE, PR_SUBJECT_W, middle), [&](const PostedReport& report) { return report.name != middle; }, 12);
  expectSame(
      is.text(RELOP_EQ, PR_MESSAGE_CLASS_W, L"IPM.DOCUMENT.*BIN"),
      [](const PostedReport& report) { return classOf(report.name) == L"IPM.DOCUMENT.*BIN"; }, 3);
  // Text is ordered by language, ignoring case.
  const auto order = [&](const PostedReport& report) {
    return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, report.name.c_str(), -1, middle.c_str(), -1);
  };
  expectSame(
      is.text(RELOP_LT, PR_SUBJECT_W, middle),
      [&](const PostedReport& report) { return order(report) == CSTR_LESS_THAN; }, 5);
  expectSame(
      is.text(RELOP_GE, PR_SUBJECT_W, middle),
      [&](const PostedReport& report) { return order(report) != CSTR_LESS_THAN; }, 1);
}

TEST_F(PostedRestrictions, NumbersByEveryRelation) {
  // A message is larger than its file by less than 8 KiB; none has exactly the limit.
  const LONG limit = 64 * 1024;
  const auto larger = [&](const PostedReport& report) { return report.content.size() > limit; };
  const auto smaller = [&](const PostedReport& report) { return report.content.size() < limit; };
  for (const ULONG relation : {RELOP_GT, RELOP_GE}) expectSame(is.number(relation, PR_MESSAGE_SIZE, limit), larger, 4);
  for (const ULONG relation : {RELOP_LT, RELOP_LE}) expectSame(is.number(relation, PR_MESSAGE_SIZE, limit), smaller, 5);
  const auto none = [](const PostedReport&) { return false; };
  expectSame(is.number(RELOP_NE, PR_IMPORTANCE, 1), none, 0);
  expectSame(is.number(RELOP_GT, PR_CLIENT_SUBMIT_TIME, MAXLONGLONG), none, 0);
  expectSame(is.number(RELOP_EQ, PR_HASATTACH, 0), none, 0);
}

TEST_F(PostedRestrictions, ExistenceBitsAndSizes) {
  const auto none = [](const PostedReport&) { return false; };
  expectSame(is.exists(PR_BODY_W), none, 0);
  expectSame(is.negated(is.exists(PR_CONVERSATION_TOPIC_W)), none, 0);
  expectSame(is.bits(BMR_EQZ, PR_MESSAGE_FLAGS, MSGFLAG_HASATTACH), none, 0);
  expectSame(is.bits(BMR_NEZ, PR_MESSAGE_FLAGS, MSGFLAG_READ), none, 0);
  expectSame(
      is.all({is.bits(BMR_NEZ, PR_MESSAGE_FLAGS, MSGFLAG_HASATTACH | MSGFLAG_READ),
              is.text(RELOP_EQ, PR_SUBJECT_W, L"one.bin")}),
      [](const PostedReport& report) { return report.name == L"one.bin"; }, 1);
  // Measured in memory: two bytes per character, with terminator.
  expectSame(
      is.size(RELOP_GT, PR_SUBJECT_W, 100),
      [](const PostedReport& report) { return (report.name.size() + 1) * 2 > 100; }, 1);
  expectSame(is.size(RELOP_EQ, PR_SENDER_SEARCH_KEY, 0), none, 0);
}

TEST_F(PostedRestrictions, TwoColumnsCompared) {
  const auto none = [](const PostedReport&) { return false; };
  expectSame(is.compare(RELOP_NE, PR_SUBJECT_W, PR_CONVERSATION_TOPIC_W), none, 0);
  expectSame(is.compare(RELOP_EQ, PR_SUBJECT_W, PR_SENDER_NAME_W), none, 0);
  expectSame(is.negated(is.compare(RELOP_EQ, PR_CLIENT_SUBMIT_TIME, PR_MESSAGE_DELIVERY_TIME)), none, 0);
}

TEST_F(PostedRestrictions, JoinedByAndOrNot) {
  const auto small = is.number(RELOP_LT, PR_MESSAGE_SIZE, 20'000);
  const auto isText = is.content(PR_SUBJECT_W, L".txt", FL_SUBSTRING);
  const auto isSmall = [](const PostedReport& report) { return report.content.size() < 15'000; };
  const auto hasText = [](const PostedReport& report) { return contains(report.name, L".txt"); };
  expectSame(
      is.all({small, is.negated(isText)}),
      [&](const PostedReport& report) { return isSmall(report) && !hasText(report); }, 3);
  expectSame(
      is.any({isText, is.negated(small)}),
      [&](const PostedReport& report) { return hasText(report) || !isSmall(report); }, 5);
  expectSame(
      is.negated(is.any({small, isText, is.all({})})), [](const PostedReport&) { return false; }, 0);
  expectSame(
      is.all({is.any({}), small}), [](const PostedReport&) { return false; }, 0);
}

TEST_F(PostedRestrictions, OnSubObjectsAndPatternsAreTooComplexAsPublished) {
  expectAnswer(is.below(PR_MESSAGE_ATTACHMENTS, is.exists(PR_ATTACH_FILENAME_W)), MAPI_E_TOO_COMPLEX);
  expectAnswer(is.text(RELOP_RE, PR_SUBJECT_W, L".*"), MAPI_E_TOO_COMPLEX);
}

TEST_F(PostedRestrictions, WorkOnAttachmentTablesToo) {
  const ComPtr<IMAPIFolder> folder = session.openFolder(L"Public Folders@Reports@Daily");
  ASSERT_TRUE(folder);
  const ComPtr<IMsgStore> store = session.openStore(publicStore);
  std::vector<std::wstring> found;
  for (const Row& row : queryAll(*contents(*folder.Get()).Get(), {PR_ENTRYID})) {
    const ComPtr<IMessage> message = openEntry<IMessage>(*store.Get(), row[0].bytes);
    ComPtr<IMAPITable> table;
    ASSERT_EQ(message->GetAttachmentTable(0, &table), S_OK);
    SRestriction large = is.all({is.number(RELOP_GE, PR_ATTACH_SIZE, 128 * 1024),
                                 is.content(PR_ATTACH_EXTENSION_W, L"bin", FL_FULLSTRING | FL_IGNORECASE)});
    SortOrder order{{PR_ATTACH_NUM, TABLE_SORT_DESCEND}};
    for (const auto& name : texts(queryAll(*table.Get(), {PR_ATTACH_LONG_FILENAME_W}, &large, order), 0))
      found.push_back(name);
  }
  EXPECT_THAT(found, testing::UnorderedElementsAre(L"block.bin", L"over a block.BIN"));
}

TEST_F(PostedRestrictions, FindARowByItsIdentifierAndKeys) {
  const ComPtr<IMAPIFolder> folder = session.openFolder(L"Public Folders@Reports@Daily");
  ASSERT_TRUE(folder);
  const ComPtr<IMAPITable> table = contents(*folder.Get());
  for (const ULONG tag : {PR_ENTRYID, PR_RECORD_KEY, PR_SEARCH_KEY, PR_INSTANCE_KEY}) {
    EXPECT_EQ(table->Restrict(nullptr, 0), S_OK);
    for (const Row& row : queryAll(*table.Get(), {tag, PR_SUBJECT_W})) {
      SRestriction same = is.binary(RELOP_EQ, tag, row[0].bytes);
      const Rows found = queryAll(*table.Get(), {tag, PR_SUBJECT_W}, &same);
      ASSERT_EQ(found.size(), 1u) << std::hex << tag;
      EXPECT_EQ(found[0], row);
    }
  }
}

}  // namespace
}  // namespace client
