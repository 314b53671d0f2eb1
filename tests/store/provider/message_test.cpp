// IMessage: properties, saving, the read flag.
#include "store_fixture.h"

namespace {

using testing::ElementsAre;

struct MessageTest : FolderTest {
  ComPtr<IMessage> create(ULONG flags = 0) {
    ComPtr<IMessage> message;
    EXPECT_EQ(reports->CreateMessage(nullptr, flags, message.GetAddressOf()), S_OK);
    return message;
  }
  LONG messages() { return number(*reports.Get(), PR_CONTENT_COUNT).value_or(-1); }
};

TEST_F(MessageTest, NothingIsVisibleBeforeItIsSaved) {
  auto message = create();
  SPropValue subject = textValue(PR_SUBJECT_W, L"one");
  ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
  EXPECT_EQ(messages(), 0);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_EQ(messages(), 1);
}

TEST_F(MessageTest, AMessageLetGoOfUnsavedNeverWas) {
  create().Reset();
  EXPECT_EQ(messages(), 0);
}

TEST_F(MessageTest, ASavedMessageIsSeenByAnotherSessionAtOnce) {
  post(*reports.Get(), L"one");
  auto other = logon();
  auto otherSubtree = openSubtree(*openStore(*other.Get(), L"Public").Get());
  ComPtr<IMAPIFolder> same;
  ASSERT_EQ(otherSubtree->CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(L"Reports"), nullptr, nullptr,
                                       MAPI_UNICODE | OPEN_IF_EXISTS, same.GetAddressOf()),
            S_OK);
  EXPECT_THAT(subjects(*same.Get()), ElementsAre(L"one"));
}

TEST_F(MessageTest, EveryPropertyTypeComesBack) {
  Bytes bytes = patternBytes(300);
  GUID guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  LONG longs[] = {1, -2, 3};
  LPWSTR texts[] = {const_cast<LPWSTR>(L"x"), const_cast<LPWSTR>(L"\u00e4\u3042")};
  SBinary binaries[] = {{3, bytes.data()}, {0, nullptr}};
  SPropValue values[14]{};
  values[0].ulPropTag = PROP_TAG(PT_I2, 0x6610);
  values[0].Value.i = -5;
  values[1] = longValue(PROP_TAG(PT_LONG, 0x6611), -70000);
  values[2].ulPropTag = PROP_TAG(PT_R4, 0x6612);
  values[2].Value.flt = 1.5f;
  values[3].ulPropTag = PROP_TAG(PT_DOUBLE, 0x6613);
  values[3].Value.dbl = -2.25;
  values[4].ulPropTag = PROP_TAG(PT_CURRENCY, 0x6614);
  values[4].Value.cur.int64 = 123456789012;
  values[5].ulPropTag = PROP_TAG(PT_APPTIME, 0x6615);
  values[5].Value.at = 40000.5;
  values[6] = boolValue(PROP_TAG(PT_BOOLEAN, 0x6616), true);
  values[7].ulPropTag = PROP_TAG(PT_I8, 0x6617);
  values[7].Value.li.QuadPart = -1234567890123;
  values[8].ulPropTag = PROP_TAG(PT_SYSTIME, 0x6618);
  values[8].Value.ft = {0x89ABCDEF, 0x01D00000};
  values[9].ulPropTag = PROP_TAG(PT_CLSID, 0x6619);
  values[9].Value.lpguid = &guid;
  values[10] = binaryValue(PROP_TAG(PT_BINARY, 0x661A), bytes);
  values[11].ulPropTag = PROP_TAG(PT_MV_LONG, 0x661C);
  values[11].Value.MVl = {3, longs};
  values[12].ulPropTag = PROP_TAG(PT_MV_UNICODE, 0x661D);
  values[12].Value.MVszW = {2, texts};
  values[13].ulPropTag = PROP_TAG(PT_MV_BINARY, 0x661E);
  values[13].Value.MVbin = {2, binaries};
  auto message = create();
  Block<SPropProblemArray> problems;
  ASSERT_EQ(message->SetProps(14, values, receive(problems)), S_OK);
  ASSERT_EQ(problems, nullptr);
  ASSERT_EQ(message->SaveChanges(0), S_OK);

  auto again = openFirst(*reports.Get());
  Tags tags{values[0].ulPropTag,  values[1].ulPropTag,  values[2].ulPropTag,  values[3].ulPropTag, values[4].ulPropTag,
            values[5].ulPropTag,  values[6].ulPropTag,  values[7].ulPropTag,  values[8].ulPropTag, values[9].ulPropTag,
            values[10].ulPropTag, values[11].ulPropTag, values[12].ulPropTag, values[13].ulPropTag};
  ULONG count = 0;
  Block<SPropValue> read;
  ASSERT_THAT(again->GetProps(tags, 0, &count, receive(read)), Gives(S_OK));
  ASSERT_EQ(count, 14u);
  const SPropValue* found = read.get();
  EXPECT_EQ(found[0].Value.i, -5);
  EXPECT_EQ(found[1].Value.l, -70000);
  EXPECT_EQ(found[2].Value.flt, 1.5f);
  EXPECT_EQ(found[3].Value.dbl, -2.25);
  EXPECT_EQ(found[4].Value.cur.int64, 123456789012);
  EXPECT_EQ(found[5].Value.at, 40000.5);
  EXPECT_EQ(found[6].Value.b, 1);
  EXPECT_EQ(found[7].Value.li.QuadPart, -1234567890123);
  EXPECT_EQ(found[8].Value.ft.dwLowDateTime, 0x89ABCDEFu);
  EXPECT_EQ(found[8].Value.ft.dwHighDateTime, 0x01D00000u);
  EXPECT_EQ(*found[9].Value.lpguid, guid);
  EXPECT_EQ(bytesOf(found[10]), bytes);
  ASSERT_EQ(found[11].Value.MVl.cValues, 3u);
  EXPECT_EQ(found[11].Value.MVl.lpl[1], -2);
  ASSERT_EQ(found[12].Value.MVszW.cValues, 2u);
  EXPECT_STREQ(found[12].Value.MVszW.lppszW[1], L"\u00e4\u3042");
  ASSERT_EQ(found[13].Value.MVbin.cValues, 2u);
  EXPECT_EQ(found[13].Value.MVbin.lpbin[0].cb, 3u);
  EXPECT_EQ(found[13].Value.MVbin.lpbin[1].cb, 0u);
}

TEST_F(MessageTest, TextSet8BitIsReadWideAndBack) {
  auto message = create();
  SPropValue subject = ansiValue(PR_SUBJECT_A, "plain");
  ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
  EXPECT_EQ(text(*message.Get(), PR_SUBJECT_W), L"plain");
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
  Block<SPropValue> value;
  ASSERT_EQ(mapi().hrGetOneProp(message.Get(), PR_SUBJECT_A, receive(value)), S_OK);
  EXPECT_STREQ(value->Value.lpszA, "plain");
}

TEST_F(MessageTest, AMissingPropertyIsAnErrorValueAndAWarning) {
  auto message = create();
  Tags tags{PR_SUBJECT_W, PR_OBJECT_TYPE};
  ULONG count = 0;
  Block<SPropValue> values;
  EXPECT_THAT(message->GetProps(tags, 0, &count, receive(values)), Gives(MAPI_W_ERRORS_RETURNED));
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(values.get()[0].ulPropTag, PROP_TAG(PT_ERROR, PROP_ID(PR_SUBJECT_W)));
  EXPECT_EQ(values.get()[0].Value.err, MAPI_E_NOT_FOUND);
  EXPECT_EQ(values.get()[1].Value.l, static_cast<LONG>(MAPI_MESSAGE));
}

TEST_F(MessageTest, AllPropertiesComeWithoutATagArray) {
  post(*reports.Get(), L"one");
  auto message = openFirst(*reports.Get());
  ULONG count = 0;
  Block<SPropValue> values;
  ASSERT_THAT(message->GetProps(nullptr, MAPI_UNICODE, &count, receive(values)), Gives(S_OK));
  std::vector<ULONG> tags;
  for (ULONG i = 0; i < count; ++i) tags.push_back(values.get()[i].ulPropTag);
  EXPECT_THAT(tags, testing::IsSupersetOf({PR_ENTRYID, PR_SUBJECT_W, PR_MESSAGE_CLASS_W, PR_MESSAGE_SIZE}));
  Block<SPropTagArray> list;
  ASSERT_EQ(message->GetPropList(MAPI_UNICODE, receive(list)), S_OK);
  EXPECT_THAT(std::vector<ULONG>(list->aulPropTag, list->aulPropTag + list->cValues),
              testing::UnorderedElementsAreArray(tags));
}

TEST_F(MessageTest, ComputedPropertiesAreProblemsNotFailures) {
  auto message = create();
  SPropValue values[] = {textValue(PR_SUBJECT_W, L"one"), longValue(PR_MESSAGE_SIZE, 5), boolValue(PR_HASATTACH, true),
                         longValue(PR_OBJECT_TYPE, 1)};
  Block<SPropProblemArray> problems;
  ASSERT_EQ(message->SetProps(4, values, receive(problems)), S_OK);
  ASSERT_NE(problems, nullptr);
  ASSERT_EQ(problems->cProblem, 3u);
  EXPECT_EQ(problems->aProblem[0].ulIndex, 1u);
  EXPECT_EQ(problems->aProblem[0].ulPropTag, PR_MESSAGE_SIZE);
  EXPECT_THAT(problems->aProblem[0].scode, Gives(MAPI_E_COMPUTED));
  EXPECT_EQ(text(*message.Get(), PR_SUBJECT_W), L"one");
}

TEST_F(MessageTest, AnImpossibleTypeIsAProblem) {
  auto message = create();
  SPropValue value = longValue(PROP_TAG(0x0099, 0x6620), 1);
  Block<SPropProblemArray> problems;
  ASSERT_EQ(message->SetProps(1, &value, receive(problems)), S_OK);
  ASSERT_NE(problems, nullptr);
  EXPECT_THAT(problems->aProblem[0].scode, Gives(MAPI_E_INVALID_TYPE));
}

TEST_F(MessageTest, SavedTimesAndKeysAreThere) {
  FILETIME before, after;
  GetSystemTimeAsFileTime(&before);
  post(*reports.Get(), L"one");
  GetSystemTimeAsFileTime(&after);
  auto message = openFirst(*reports.Get());
  Block<SPropValue> modified;
  ASSERT_EQ(mapi().hrGetOneProp(message.Get(), PR_LAST_MODIFICATION_TIME, receive(modified)), S_OK);
  EXPECT_GE(CompareFileTime(&modified->Value.ft, &before), 0);
  // Stamps of one process never repeat, so they may run ahead of a coarse clock by a little.
  EXPECT_LE(modified->Value.ft.dwHighDateTime, after.dwHighDateTime + 1);
  EXPECT_EQ(binary(*message.Get(), PR_SEARCH_KEY).size(), 16u);
  EXPECT_EQ(binary(*message.Get(), PR_RECORD_KEY).size(), 16u);
  EXPECT_EQ(binary(*message.Get(), PR_PARENT_ENTRYID), binary(*reports.Get(), PR_ENTRYID));
  EXPECT_EQ(binary(*message.Get(), PR_STORE_ENTRYID), binary(*store.Get(), PR_ENTRYID));
  EXPECT_GE(number(*message.Get(), PR_MESSAGE_SIZE).value(), 6);
}

TEST_F(MessageTest, ANewMessageHasNoIdentifierUntilItIsSaved) {
  auto message = create();
  EXPECT_TRUE(binary(*message.Get(), PR_ENTRYID).empty());
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_FALSE(binary(*message.Get(), PR_ENTRYID).empty());
}

TEST_F(MessageTest, TheSubjectsPrefixIsNotInTheNormalizedSubject) {
  auto message = create();
  SPropValue subject = textValue(PR_SUBJECT_W, L"RE: Sales");
  ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
  EXPECT_EQ(text(*message.Get(), PR_NORMALIZED_SUBJECT_W), L"Sales");
  subject = textValue(PR_SUBJECT_W, L"Report: Sales");
  ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
  EXPECT_EQ(text(*message.Get(), PR_NORMALIZED_SUBJECT_W), L"Report: Sales");
}

TEST_F(MessageTest, AMessageWithoutClassIsANote) {
  create()->SaveChanges(0);
  EXPECT_EQ(text(*openFirst(*reports.Get()).Get(), PR_MESSAGE_CLASS_W), L"IPM.Note");
}

TEST_F(MessageTest, ClearingTheReadFlagBeforeTheFirstSaveCounts) {
  auto message = create();
  EXPECT_THAT(message->SetReadFlag(CLEAR_READ_FLAG), Gives(S_OK));
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_EQ(number(*openFirst(*reports.Get()).Get(), PR_MESSAGE_FLAGS).value() & static_cast<LONG>(MSGFLAG_READ), 0);
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_UNREAD), 1);
}

TEST_F(MessageTest, TheReadFlagOfASavedMessageChangesAtOnce) {
  post(*reports.Get(), L"one");
  auto message = openFirst(*reports.Get());
  EXPECT_NE(number(*message.Get(), PR_MESSAGE_FLAGS).value() & static_cast<LONG>(MSGFLAG_READ), 0);
  EXPECT_THAT(message->SetReadFlag(CLEAR_READ_FLAG), Gives(S_OK));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_UNREAD), 1);
  EXPECT_THAT(message->SetReadFlag(0), Gives(S_OK));
  EXPECT_EQ(number(*reports.Get(), PR_CONTENT_UNREAD), 0);
  EXPECT_THAT(message->SetReadFlag(SUPPRESS_RECEIPT | CLEAR_READ_FLAG), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(MessageTest, FlagsAreTheMakersUntilTheFirstSave) {
  auto message = create();
  SPropValue flags = longValue(PR_MESSAGE_FLAGS, MSGFLAG_FROMME);
  Block<SPropProblemArray> problems;
  ASSERT_EQ(message->SetProps(1, &flags, receive(problems)), S_OK);
  EXPECT_EQ(problems, nullptr);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_EQ(number(*message.Get(), PR_MESSAGE_FLAGS), static_cast<LONG>(MSGFLAG_FROMME | MSGFLAG_UNMODIFIED));
  ASSERT_EQ(message->SetProps(1, &flags, receive(problems)), S_OK);
  ASSERT_NE(problems, nullptr);
  EXPECT_THAT(problems->aProblem[0].scode, Gives(MAPI_E_COMPUTED));
}

TEST_F(MessageTest, HiddenMessagesSaySo) {
  auto message = create(MAPI_ASSOCIATED);
  EXPECT_NE(number(*message.Get(), PR_MESSAGE_FLAGS).value() & static_cast<LONG>(MSGFLAG_ASSOCIATED), 0);
}

TEST_F(MessageTest, AfterAPlainSaveNothingMoreCanBeWritten) {
  auto message = create();
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  SPropValue subject = textValue(PR_SUBJECT_W, L"late");
  EXPECT_THAT(message->SetProps(1, &subject, nullptr), Gives(MAPI_E_NO_ACCESS));
  EXPECT_THAT(message->SaveChanges(0), Gives(MAPI_E_NO_ACCESS));
}

TEST_F(MessageTest, KeptOpenForWritingItGoesOn) {
  auto message = create();
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  SPropValue subject = textValue(PR_SUBJECT_W, L"second");
  ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"second"));
  EXPECT_EQ(text(*message.Get(), PR_SUBJECT_W), L"second");
  EXPECT_THAT(message->SetProps(1, &subject, nullptr), Gives(MAPI_E_NO_ACCESS));
}

TEST_F(MessageTest, AMessageOpenedForReadingCannotBeChanged) {
  post(*reports.Get(), L"one");
  auto message = openFirst(*reports.Get());
  SPropValue subject = textValue(PR_SUBJECT_W, L"x");
  Tags tags{PR_SUBJECT_W};
  EXPECT_THAT(message->SetProps(1, &subject, nullptr), Gives(MAPI_E_NO_ACCESS));
  EXPECT_THAT(message->DeleteProps(tags, nullptr), Gives(MAPI_E_NO_ACCESS));
  EXPECT_THAT(message->SaveChanges(0), Gives(MAPI_E_NO_ACCESS));
  EXPECT_EQ(number(*message.Get(), PR_ACCESS_LEVEL), 0);
}

TEST_F(MessageTest, DeletedPropertiesAreGoneAfterTheSave) {
  post(*reports.Get(), L"one");
  auto message = openFirst(*reports.Get(), MAPI_MODIFY);
  Tags tags{PR_SUBJECT_W, PR_COMMENT_W, PR_MESSAGE_SIZE};
  Block<SPropProblemArray> problems;
  ASSERT_EQ(message->DeleteProps(tags, receive(problems)), S_OK);
  ASSERT_NE(problems, nullptr);
  ASSERT_EQ(problems->cProblem, 2u);
  EXPECT_THAT(problems->aProblem[0].scode, Gives(MAPI_E_NOT_FOUND));
  EXPECT_THAT(problems->aProblem[1].scode, Gives(MAPI_E_COMPUTED));
  EXPECT_EQ(text(*message.Get(), PR_SUBJECT_W), std::nullopt);
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"one"));
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"(none)"));
}

TEST_F(MessageTest, TwoWritersAreToldAndForceDecides) {
  post(*reports.Get(), L"one");
  auto first = openFirst(*reports.Get(), MAPI_MODIFY), second = openFirst(*reports.Get(), MAPI_MODIFY);
  SPropValue a = textValue(PR_SUBJECT_W, L"a"), b = textValue(PR_SUBJECT_W, L"b");
  ASSERT_EQ(first->SetProps(1, &a, nullptr), S_OK);
  ASSERT_EQ(second->SetProps(1, &b, nullptr), S_OK);
  ASSERT_EQ(first->SaveChanges(0), S_OK);
  EXPECT_THAT(second->SaveChanges(0), Gives(MAPI_E_OBJECT_CHANGED));
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"a"));
  EXPECT_THAT(second->SaveChanges(FORCE_SAVE), Gives(S_OK));
  EXPECT_THAT(subjects(*reports.Get()), ElementsAre(L"b"));
}

TEST_F(MessageTest, AMessageDeletedMeanwhileSaysSo) {
  post(*reports.Get(), L"one");
  auto message = openFirst(*reports.Get(), MAPI_MODIFY);
  ASSERT_EQ(reports->EmptyFolder(0, nullptr, 0), S_OK);
  SPropValue subject = textValue(PR_SUBJECT_W, L"x");
  ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
  EXPECT_THAT(message->SaveChanges(0), Gives(MAPI_E_OBJECT_DELETED));
}

TEST_F(MessageTest, ALongTextComesWhole) {
  const std::wstring body(200'000, L'\u00e9');
  auto message = create();
  SPropValue value = textValue(PR_BODY_W, body.c_str());
  ASSERT_EQ(message->SetProps(1, &value, nullptr), S_OK);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_EQ(text(*openFirst(*reports.Get()).Get(), PR_BODY_W), body);
}

TEST_F(MessageTest, ThereAreNoRecipients) {
  auto message = create();
  ComPtr<IMAPITable> table;
  ASSERT_EQ(message->GetRecipientTable(0, table.GetAddressOf()), S_OK);
  ULONG count = 9;
  ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(text(*message.Get(), PR_DISPLAY_TO_W), L"");
  EXPECT_THAT(message->SubmitMessage(0), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(message->ModifyRecipients(0, nullptr), Gives(MAPI_E_NO_SUPPORT));
}

TEST_F(MessageTest, BadArgumentsAreInvalidParameters) {
  auto message = create();
  ULONG count = 0;
  Tags none{};
  Block<SPropValue> values;
  EXPECT_THAT(message->GetProps(none, 0, &count, receive(values)), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(message->GetProps(nullptr, 0, nullptr, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(message->GetPropList(0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(message->SetProps(0, nullptr, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(message->DeleteProps(nullptr, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(message->CreateAttach(nullptr, 0, nullptr, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(message->OpenProperty(PR_BODY_W, nullptr, 0, 0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
}

// A list of one type, whose values are compared as bytes.
struct ListCase {
  const char* name;
  ULONG type;
  std::size_t elementSize;
};

struct MessageListTest : MessageTest, testing::WithParamInterface<ListCase> {};

TEST_P(MessageListTest, ComesBackEveryWay) {
  const auto& [name, type, elementSize] = GetParam();
  const ULONG tag = PROP_TAG(type, 0x6660);
  Bytes bytes = patternBytes(elementSize * 3, 11);
  if (type == PT_MV_R4 || type == PT_MV_DOUBLE || type == PT_MV_APPTIME) {
    // Any number, but no not-a-number: that would be unequal to itself.
    for (std::size_t i = elementSize - 1; i < bytes.size(); i += elementSize) bytes[i] = 0x40;
  }
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.MVl.cValues = 3;
  value.Value.MVl.lpl = reinterpret_cast<LONG*>(bytes.data());
  auto message = create();
  Block<SPropProblemArray> problems;
  ASSERT_THAT(message->SetProps(1, &value, receive(problems)), Gives(S_OK));
  ASSERT_EQ(problems, nullptr) << name;
  const auto expectIn = [&](const SPropValue& found) {
    ASSERT_EQ(found.ulPropTag, tag);
    ASSERT_EQ(found.Value.MVl.cValues, 3u);
    const auto* values = reinterpret_cast<const unsigned char*>(found.Value.MVl.lpl);
    EXPECT_EQ(Bytes(values, values + bytes.size()), bytes);
  };
  const auto expectOf = [&](IMessage& of) {
    Block<SPropValue> found;
    ASSERT_THAT(mapi().hrGetOneProp(&of, tag, receive(found)), Gives(S_OK));
    expectIn(*found);
  };
  expectOf(*message.Get());
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
  expectOf(*message.Get());
  auto theirs = openAgain(*reports.Get(), *openStore(*logon().Get(), L"Public").Get());
  expectOf(*openFirst(*theirs.Get()).Get());
  ComPtr<IMAPITable> table;
  ASSERT_EQ(theirs->GetContentsTable(0, table.GetAddressOf()), S_OK);
  Tags columns{tag};
  SSortOrderSet order{1, 0, 0, {{tag, TABLE_SORT_ASCEND}}};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, &order, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 1u);
  expectIn(rows->aRow[0].lpProps[0]);
}

INSTANTIATE_TEST_SUITE_P(Types, MessageListTest,
                         testing::Values(ListCase{"I2", PT_MV_I2, 2}, ListCase{"Long", PT_MV_LONG, 4},
                                         ListCase{"R4", PT_MV_R4, 4}, ListCase{"Double", PT_MV_DOUBLE, 8},
                                         ListCase{"Currency", PT_MV_CURRENCY, 8}, ListCase{"AppTime", PT_MV_APPTIME, 8},
                                         ListCase{"I8", PT_MV_I8, 8}, ListCase{"SysTime", PT_MV_SYSTIME, 8},
                                         ListCase{"Clsid", PT_MV_CLSID, 16}),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_F(MessageTest, AValueThatIsAnErrorIsPassedOver) {
  auto message = create();
  SPropValue values[] = {longValue(PROP_TAG(PT_ERROR, PROP_ID(PR_BODY_W)), MAPI_E_NOT_FOUND), longValue(PR_NULL, 0),
                         textValue(PR_SUBJECT_W, L"one")};
  Block<SPropProblemArray> problems;
  EXPECT_THAT(message->SetProps(3, values, receive(problems)), Gives(S_OK));
  EXPECT_EQ(problems, nullptr);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto again = openFirst(*reports.Get());
  EXPECT_EQ(text(*again.Get(), PR_SUBJECT_W), L"one");
  EXPECT_EQ(text(*again.Get(), PR_BODY_W), std::nullopt);
}

TEST_F(MessageTest, ObjectsAndListsWithoutValuesRefuseTheWholeCall) {
  auto message = create();
  SPropValue object{}, nothing{};
  object.ulPropTag = PROP_TAG(PT_OBJECT, 0x6661);
  nothing.ulPropTag = PROP_TAG(PT_MV_UNICODE, 0x6662);
  for (const SPropValue& refused : {object, nothing}) {
    SPropValue values[] = {textValue(PR_SUBJECT_W, L"one"), refused};
    EXPECT_THAT(message->SetProps(2, values, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
    EXPECT_EQ(text(*message.Get(), PR_SUBJECT_W), std::nullopt) << "nothing of it is set";
  }
}

TEST_F(MessageTest, OpenPropertyAsksForAType) {
  post(*reports.Get(), L"one");
  auto message = openFirst(*reports.Get());
  ComPtr<IUnknown> object;
  for (const ULONG tag : {PROP_TAG(PT_UNSPECIFIED, PROP_ID(PR_SUBJECT_W)), PROP_TAG(PT_BINARY, 0), ULONG{0}}) {
    EXPECT_THAT(message->OpenProperty(tag, &IID_IStream, STGM_READ, 0, object.ReleaseAndGetAddressOf()),
                Gives(MAPI_E_INVALID_PARAMETER));
    EXPECT_THAT(reports->OpenProperty(tag, &IID_IStream, STGM_READ, 0, object.ReleaseAndGetAddressOf()),
                Gives(MAPI_E_INVALID_PARAMETER));
    EXPECT_EQ(object, nullptr);
  }
}

TEST_F(MessageTest, ThePropertyListNamesTheTables) {
  post(*reports.Get(), L"one");
  auto message = openFirst(*reports.Get());
  Block<SPropTagArray> listed;
  ASSERT_EQ(message->GetPropList(MAPI_UNICODE, receive(listed)), S_OK);
  const std::vector<ULONG> tags(listed->aulPropTag, listed->aulPropTag + listed->cValues);
  for (const ULONG tag : {PR_MESSAGE_ATTACHMENTS, PR_MESSAGE_RECIPIENTS}) {
    EXPECT_THAT(tags, testing::Contains(tag));
    ComPtr<IMAPITable> table;
    EXPECT_THAT(message->OpenProperty(tag, &IID_IMAPITable, 0, 0, unknownOut(table)), Gives(S_OK));
  }
}

TEST_F(MessageTest, ItIsUnmodifiedUntilItIsSavedAgain) {
  constexpr LONG unmodified = static_cast<LONG>(MSGFLAG_UNMODIFIED);
  const auto isUnmodified = [&](IMessage& message) {
    return (number(message, PR_MESSAGE_FLAGS).value_or(0) & unmodified) != 0;
  };
  auto message = create();
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_TRUE(isUnmodified(*message.Get()));
  EXPECT_TRUE(isUnmodified(*openFirst(*reports.Get()).Get()));
  ASSERT_EQ(openFirst(*reports.Get())->SetReadFlag(CLEAR_READ_FLAG), S_OK);
  EXPECT_TRUE(isUnmodified(*openFirst(*reports.Get()).Get())) << "reading is not a change";
  SPropValue subject = textValue(PR_SUBJECT_W, L"other");
  ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_FALSE(isUnmodified(*message.Get()));
  EXPECT_FALSE(isUnmodified(*openFirst(*reports.Get()).Get()));
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  SRestriction bits{};
  bits.rt = RES_BITMASK;
  bits.res.resBitMask = {BMR_NEZ, PR_MESSAGE_FLAGS, MSGFLAG_UNMODIFIED};
  EXPECT_THAT(column(*table.Get(), PR_SUBJECT_W, &bits), ElementsAre());
}

TEST_F(MessageTest, TheSubjectsPrefixMayBeSet) {
  auto message = create();
  SPropValue subject = textValue(PR_SUBJECT_W, L"Antwort: Zahlen"),
             prefix = textValue(PR_SUBJECT_PREFIX_W, L"Antwort: ");
  ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
  EXPECT_EQ(text(*message.Get(), PR_SUBJECT_PREFIX_W), L"");
  EXPECT_EQ(text(*message.Get(), PR_NORMALIZED_SUBJECT_W), L"Antwort: Zahlen");
  Block<SPropProblemArray> problems;
  ASSERT_THAT(message->SetProps(1, &prefix, receive(problems)), Gives(S_OK));
  EXPECT_EQ(problems, nullptr);
  const auto expectParts = [&](IMessage& of) {
    EXPECT_EQ(text(of, PR_SUBJECT_W), L"Antwort: Zahlen");
    EXPECT_EQ(text(of, PR_SUBJECT_PREFIX_W), L"Antwort: ");
    EXPECT_EQ(text(of, PR_NORMALIZED_SUBJECT_W), L"Zahlen");
  };
  expectParts(*message.Get());
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  expectParts(*openFirst(*reports.Get()).Get());
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  EXPECT_THAT(column(*table.Get(), PR_NORMALIZED_SUBJECT_W), ElementsAre(L"Zahlen"));
  // Another subject is looked at anew.
  subject = textValue(PR_SUBJECT_W, L"RE: Zahlen");
  ASSERT_EQ(message->SetProps(1, &subject, nullptr), S_OK);
  EXPECT_EQ(text(*message.Get(), PR_SUBJECT_PREFIX_W), L"RE: ");
  EXPECT_EQ(text(*message.Get(), PR_NORMALIZED_SUBJECT_W), L"Zahlen");
}

}  // namespace
