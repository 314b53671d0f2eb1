// Each kind of restriction, on a folder of five messages.
#include "store_fixture.h"

namespace {

using testing::ElementsAre;

constexpr ULONG tagFlags = PROP_TAG(PT_LONG, 0x6601), tagOther = PROP_TAG(PT_LONG, 0x6602);

SRestriction property(ULONG relop, SPropValue& value) {
  SRestriction restriction{};
  restriction.rt = RES_PROPERTY;
  restriction.res.resProperty = {relop, value.ulPropTag, &value};
  return restriction;
}

SRestriction content(ULONG fuzzyLevel, SPropValue& value) {
  SRestriction restriction{};
  restriction.rt = RES_CONTENT;
  restriction.res.resContent = {fuzzyLevel, value.ulPropTag, &value};
  return restriction;
}

struct RestrictionTest : FolderTest {
  RestrictionTest() {
    add(L"Alpha report", 1, 1);
    add(L"alpha list", 2, 1);
    add(L"Beta report", 3, 4);
    add(L"Gamma", 4, std::nullopt);
    add(L"", 8, 8);
  }

  void add(const wchar_t* subject, LONG flags, std::optional<LONG> other) {
    ComPtr<IMessage> message;
    reports->CreateMessage(nullptr, 0, message.GetAddressOf());
    SPropValue values[] = {textValue(PR_SUBJECT_W, subject), longValue(tagFlags, flags),
                           longValue(tagOther, other.value_or(0))};
    EXPECT_EQ(message->SetProps(other ? 3 : 2, values, nullptr), S_OK);
    EXPECT_EQ(message->SaveChanges(0), S_OK);
  }

  std::vector<std::wstring> matching(SRestriction& restriction) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
    return column(*table.Get(), PR_SUBJECT_W, &restriction);
  }

  HRESULT restrict(SRestriction& restriction) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
    return table->Restrict(&restriction, 0);
  }
};

TEST_F(RestrictionTest, EqualTextMatchesWithItsCase) {
  SPropValue value = textValue(PR_SUBJECT_W, L"Alpha report");
  auto equal = property(RELOP_EQ, value);
  EXPECT_THAT(matching(equal), ElementsAre(L"Alpha report"));
  SPropValue other = textValue(PR_SUBJECT_W, L"alpha report");
  auto otherCase = property(RELOP_EQ, other);
  EXPECT_THAT(matching(otherCase), ElementsAre());
}

TEST_F(RestrictionTest, TextIn8BitFormMatchesTheSame) {
  SPropValue value = ansiValue(PR_SUBJECT_A, "Gamma");
  auto equal = property(RELOP_EQ, value);
  EXPECT_THAT(matching(equal), ElementsAre(L"Gamma"));
}

TEST_F(RestrictionTest, Less) {
  SPropValue value = longValue(tagFlags, 3);
  auto restriction = property(RELOP_LT, value);
  EXPECT_THAT(matching(restriction), ElementsAre(L"Alpha report", L"alpha list"));
}

TEST_F(RestrictionTest, LessOrEqual) {
  SPropValue value = longValue(tagFlags, 2);
  auto restriction = property(RELOP_LE, value);
  EXPECT_THAT(matching(restriction), ElementsAre(L"Alpha report", L"alpha list"));
}

TEST_F(RestrictionTest, Greater) {
  SPropValue value = longValue(tagFlags, 3);
  auto restriction = property(RELOP_GT, value);
  EXPECT_THAT(matching(restriction), ElementsAre(L"Gamma", L""));
}

TEST_F(RestrictionTest, GreaterOrEqual) {
  SPropValue value = longValue(tagFlags, 4);
  auto restriction = property(RELOP_GE, value);
  EXPECT_THAT(matching(restriction), ElementsAre(L"Gamma", L""));
}

TEST_F(RestrictionTest, NotEqualPassesOverRowsWithoutTheProperty) {
  SPropValue value = longValue(tagOther, 1);
  auto restriction = property(RELOP_NE, value);
  EXPECT_THAT(matching(restriction), ElementsAre(L"Beta report", L""));
}

TEST_F(RestrictionTest, And) {
  SPropValue report = textValue(PR_SUBJECT_W, L"report"), one = longValue(tagFlags, 1);
  SRestriction both[] = {content(FL_SUBSTRING, report), property(RELOP_GT, one)};
  SRestriction restriction{};
  restriction.rt = RES_AND;
  restriction.res.resAnd = {2, both};
  EXPECT_THAT(matching(restriction), ElementsAre(L"Beta report"));
}

TEST_F(RestrictionTest, Or) {
  SPropValue list = textValue(PR_SUBJECT_W, L"list"), eight = longValue(tagFlags, 8);
  SRestriction either[] = {content(FL_SUBSTRING, list), property(RELOP_EQ, eight)};
  SRestriction restriction{};
  restriction.rt = RES_OR;
  restriction.res.resOr = {2, either};
  EXPECT_THAT(matching(restriction), ElementsAre(L"alpha list", L""));
}

TEST_F(RestrictionTest, Not) {
  SPropValue report = textValue(PR_SUBJECT_W, L"report");
  SRestriction inner = content(FL_SUBSTRING, report);
  SRestriction restriction{};
  restriction.rt = RES_NOT;
  restriction.res.resNot = {0, &inner};
  EXPECT_THAT(matching(restriction), ElementsAre(L"alpha list", L"Gamma", L""));
}

TEST_F(RestrictionTest, Exist) {
  SRestriction restriction{};
  restriction.rt = RES_EXIST;
  restriction.res.resExist = {0, tagOther, 0};
  EXPECT_THAT(matching(restriction), ElementsAre(L"Alpha report", L"alpha list", L"Beta report", L""));
}

TEST_F(RestrictionTest, PrefixWithAndWithoutCase) {
  SPropValue alpha = textValue(PR_SUBJECT_W, L"Alpha");
  auto exact = content(FL_PREFIX, alpha);
  EXPECT_THAT(matching(exact), ElementsAre(L"Alpha report"));
  auto anyCase = content(FL_PREFIX | FL_IGNORECASE, alpha);
  EXPECT_THAT(matching(anyCase), ElementsAre(L"Alpha report", L"alpha list"));
}

TEST_F(RestrictionTest, FullString) {
  SPropValue gamma = textValue(PR_SUBJECT_W, L"GAMMA");
  auto exact = content(FL_FULLSTRING, gamma);
  EXPECT_THAT(matching(exact), ElementsAre());
  auto anyCase = content(FL_FULLSTRING | FL_IGNORECASE, gamma);
  EXPECT_THAT(matching(anyCase), ElementsAre(L"Gamma"));
}

TEST_F(RestrictionTest, BitMask) {
  SRestriction restriction{};
  restriction.rt = RES_BITMASK;
  restriction.res.resBitMask = {BMR_NEZ, tagFlags, 1};
  EXPECT_THAT(matching(restriction), ElementsAre(L"Alpha report", L"Beta report"));
  restriction.res.resBitMask.relBMR = BMR_EQZ;
  EXPECT_THAT(matching(restriction), ElementsAre(L"alpha list", L"Gamma", L""));
}

TEST_F(RestrictionTest, CompareTwoProperties) {
  SRestriction restriction{};
  restriction.rt = RES_COMPAREPROPS;
  restriction.res.resCompareProps = {RELOP_EQ, tagFlags, tagOther};
  EXPECT_THAT(matching(restriction), ElementsAre(L"Alpha report", L""));
}

TEST_F(RestrictionTest, Size) {
  SRestriction restriction{};
  restriction.rt = RES_SIZE;
  restriction.res.resSize = {RELOP_GT, PR_SUBJECT_W, 22};
  EXPECT_THAT(matching(restriction), ElementsAre(L"Alpha report", L"Beta report"));
}

TEST_F(RestrictionTest, SizeOfALongTextCountsItsEndToo) {
  ComPtr<IMessage> message;
  ASSERT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
  const std::wstring body(20'000, L'b');
  SPropValue values[] = {textValue(PR_SUBJECT_W, L"Long"), textValue(PR_BODY_W, body.c_str())};
  EXPECT_EQ(message->SetProps(2, values, nullptr), S_OK);
  EXPECT_EQ(message->SaveChanges(0), S_OK);
  SRestriction restriction{};
  restriction.rt = RES_SIZE;
  restriction.res.resSize = {RELOP_EQ, PR_BODY_W, 40'002};
  EXPECT_THAT(matching(restriction), ElementsAre(L"Long"));
}

TEST_F(RestrictionTest, ACommentSaysNothingAboutRows) {
  SPropValue gamma = textValue(PR_SUBJECT_W, L"Gamma");
  SRestriction inner = property(RELOP_EQ, gamma);
  SRestriction restriction{};
  restriction.rt = RES_COMMENT;
  restriction.res.resComment = {0, &inner, nullptr};
  EXPECT_THAT(matching(restriction), ElementsAre(L"Gamma"));
}

TEST_F(RestrictionTest, ComputedPropertiesCanBeAskedFor) {
  SPropValue unsaid = boolValue(PR_HASATTACH, false);
  auto restriction = property(RELOP_EQ, unsaid);
  EXPECT_EQ(matching(restriction).size(), 5u);
}

TEST_F(RestrictionTest, AValueOfAnotherTypeMatchesNothing) {
  SPropValue text = textValue(PR_SUBJECT_W, L"1");
  SRestriction restriction{};
  restriction.rt = RES_PROPERTY;
  restriction.res.resProperty = {RELOP_EQ, tagFlags, &text};
  EXPECT_THAT(matching(restriction), ElementsAre());
}

TEST_F(RestrictionTest, TheCallersStructureIsNotNeededAfterwards) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  {
    std::wstring wanted = L"Gamma";
    SPropValue value = textValue(PR_SUBJECT_W, wanted.c_str());
    SRestriction inner = property(RELOP_EQ, value);
    SRestriction restriction{};
    restriction.rt = RES_AND;
    restriction.res.resAnd = {1, &inner};
    ASSERT_EQ(table->Restrict(&restriction, 0), S_OK);
    wanted[0] = L'x';
    inner = {};
  }
  ULONG count = 0;
  ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 1u);
}

TEST_F(RestrictionTest, WhatMakesNoSenseIsRefused) {
  SRestriction restriction{};
  restriction.rt = 99;
  EXPECT_THAT(restrict(restriction), Gives(MAPI_E_INVALID_PARAMETER));
  restriction.rt = RES_AND;
  restriction.res.resAnd = {2, nullptr};
  EXPECT_THAT(restrict(restriction), Gives(MAPI_E_INVALID_PARAMETER));
  restriction.rt = RES_NOT;
  restriction.res.resNot = {0, nullptr};
  EXPECT_THAT(restrict(restriction), Gives(MAPI_E_INVALID_PARAMETER));
  restriction.rt = RES_PROPERTY;
  restriction.res.resProperty = {RELOP_EQ, tagFlags, nullptr};
  EXPECT_THAT(restrict(restriction), Gives(MAPI_E_INVALID_PARAMETER));
  SPropValue text = textValue(PR_SUBJECT_W, nullptr);
  restriction.res.resProperty = {RELOP_EQ, PR_SUBJECT_W, &text};
  EXPECT_THAT(restrict(restriction), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(RestrictionTest, AValueOfMoreThan32KiBIsSeenByExistenceAndSizeAlone) {
  constexpr ULONG tagText = PROP_TAG(PT_UNICODE, 0x6611);
  for (const std::size_t length : {std::size_t{16 * 1024}, std::size_t{16 * 1024 + 1}}) {
    const std::wstring subject = std::to_wstring(length), longText(length, L'x');
    ComPtr<IMessage> message;
    ASSERT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
    SPropValue values[] = {textValue(PR_SUBJECT_W, subject.c_str()), textValue(tagText, longText.c_str())};
    ASSERT_EQ(message->SetProps(2, values, nullptr), S_OK);
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }
  SPropValue x = textValue(tagText, L"x");
  SRestriction holds = content(FL_SUBSTRING, x);
  EXPECT_THAT(matching(holds), ElementsAre(L"16384"));
  SRestriction exists{};
  exists.rt = RES_EXIST;
  exists.res.resExist.ulPropTag = tagText;
  EXPECT_THAT(matching(exists), ElementsAre(L"16384", L"16385"));
  SRestriction isLong{};
  isLong.rt = RES_SIZE;
  isLong.res.resSize = {RELOP_GT, tagText, 32 * 1024};
  EXPECT_THAT(matching(isLong), ElementsAre(L"16384", L"16385")) << "the end counts";
}

TEST_F(RestrictionTest, PatternsAndSubObjectsAreTooComplex) {
  SPropValue value = textValue(PR_SUBJECT_W, L"G*");
  auto pattern = property(RELOP_RE, value);
  EXPECT_THAT(restrict(pattern), Gives(MAPI_E_TOO_COMPLEX));
  SRestriction restriction{};
  restriction.rt = RES_SUBRESTRICTION;
  EXPECT_THAT(restrict(restriction), Gives(MAPI_E_TOO_COMPLEX));
}

TEST_F(RestrictionTest, EndlessNestingIsTooComplex) {
  SRestriction circle{};
  circle.rt = RES_NOT;
  circle.res.resNot = {0, &circle};
  EXPECT_THAT(restrict(circle), Gives(MAPI_E_TOO_COMPLEX));
}

}  // namespace
