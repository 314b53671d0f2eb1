// The helper functions, by their published meaning. None of them needs a session.
#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <span>
#include <thread>

#include "store_fixture.h"

namespace {

using testing::ElementsAre;

template <class Function>
Function* exported(const char* name) {
  auto* function = reinterpret_cast<Function*>(GetProcAddress(mapi().module, name));
  EXPECT_NE(function, nullptr) << name;
  return function;
}
#define CALL(function) exported<decltype(function)>(#function)

// Functions whose text is 8-bit although the headers call it LPTSTR.
LPTSTR narrow(const char* text) { return reinterpret_cast<LPTSTR>(const_cast<char*>(text)); }
const char* narrow(LPTSTR text) { return reinterpret_cast<const char*>(text); }

SPropValue valueOf(ULONG tag) {
  SPropValue value{};
  value.ulPropTag = tag;
  return value;
}

TEST(Helpers, StartAndEndAsOftenAsOneLikes) {
  EXPECT_EQ(CALL(ScInitMapiUtil)(0), S_OK);
  EXPECT_EQ(CALL(ScInitMapiUtil)(0), S_OK);
  EXPECT_EQ(CALL(ScInitMapiUtil)(1), MAPI_E_UNKNOWN_FLAGS);
  CALL(DeinitMapiUtil)();
  CALL(DeinitMapiUtil)();
}

TEST(Helpers, TheDefaultMallocAllocates) {
  LPMALLOC memory = CALL(MAPIGetDefaultMalloc)();
  ASSERT_NE(memory, nullptr);
  void* block = memory->Alloc(100);
  ASSERT_NE(block, nullptr);
  std::memset(block, 1, 100);
  memory->Free(block);
  memory->Release();
}

struct PropertySetTest : testing::Test {
  PropertySetTest() {
    values[0] = longValue(PR_PRIORITY, 7);
    values[1] = textValue(PR_SUBJECT_W, L"wide");
    values[2] = ansiValue(PR_BODY_A, "narrow");
    values[3] = binaryValue(PR_SEARCH_KEY, bytes);
    values[4] = valueOf(PROP_TAG(PT_CLSID, 0x6601));
    values[4].Value.lpguid = &guid;
    values[5] = valueOf(PROP_TAG(PT_MV_LONG, 0x6602));
    values[5].Value.MVl = {3, longs};
    values[6] = valueOf(PROP_TAG(PT_MV_UNICODE, 0x6603));
    values[6].Value.MVszW = {2, texts};
    values[7] = valueOf(PROP_TAG(PT_MV_STRING8, 0x6604));
    values[7].Value.MVszA = {2, narrowTexts};
    values[8] = valueOf(PROP_TAG(PT_MV_BINARY, 0x6605));
    values[8].Value.MVbin = {2, binaries};
    values[9] = valueOf(PROP_TAG(PT_MV_CLSID, 0x6606));
    values[9].Value.MVguid = {2, guids};
  }

  void expectSame(const SPropValue* copy) {
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ(copy[i].ulPropTag, values[i].ulPropTag);
      EXPECT_EQ(CALL(LPropCompareProp)(const_cast<LPSPropValue>(&copy[i]), &values[i]), 0) << i;
    }
    EXPECT_NE(copy[1].Value.lpszW, values[1].Value.lpszW) << "a copy of its own";
    EXPECT_NE(copy[6].Value.MVszW.lppszW[1], values[6].Value.MVszW.lppszW[1]);
  }

  static constexpr int count = 10;
  Bytes bytes = patternBytes(33);
  GUID guid{1, 2, 3, {4}}, guids[2] = {{5}, {6}};
  LONG longs[3] = {1, -2, 3};
  LPWSTR texts[2] = {const_cast<LPWSTR>(L"one"), const_cast<LPWSTR>(L"second")};
  LPSTR narrowTexts[2] = {const_cast<LPSTR>("a"), const_cast<LPSTR>("")};
  SBinary binaries[2] = {{5, bytes.data()}, {0, nullptr}};
  SPropValue values[count];
};

TEST_F(PropertySetTest, APropertyIsFoundByItsTagOrItsIdentifier) {
  for (const auto find : {+[](ULONG tag, ULONG many, SPropValue*in) { return CALL(PpropFindProp)(in, many, tag); },
                          +[](ULONG tag, ULONG many, SPropValue*in) { return CALL(LpValFindProp)(tag, many, in); }}) {
    EXPECT_EQ(find(PR_SUBJECT_W, count, values), &values[1]);
    EXPECT_EQ(find(PR_SUBJECT_A, count, values), nullptr);
    EXPECT_EQ(find(PROP_TAG(PT_UNSPECIFIED, PROP_ID(PR_SUBJECT_W)), count, values), &values[1]);
    EXPECT_EQ(find(PR_COMMENT_W, count, values), nullptr);
    EXPECT_EQ(find(PR_SUBJECT_W, 1, values), nullptr);
    EXPECT_EQ(find(PR_SUBJECT_W, 0, nullptr), nullptr);
  }
}

TEST_F(PropertySetTest, SizesAreThoseOfTheValuesAlone) {
  const auto size = [](SPropValue value) { return CALL(UlPropSize)(&value); };
  EXPECT_EQ(size(values[0]), 4u);
  EXPECT_EQ(size(values[1]), 10u);
  EXPECT_EQ(size(values[2]), 7u);
  EXPECT_EQ(size(values[3]), 33u);
  EXPECT_EQ(size(values[4]), 16u);
  EXPECT_EQ(size(values[5]), 12u);
  EXPECT_EQ(size(values[6]), 8u + 14u);
  EXPECT_EQ(size(values[7]), 3u);
  EXPECT_EQ(size(values[8]), 5u);
  EXPECT_EQ(size(values[9]), 32u);
  EXPECT_EQ(size(valueOf(PROP_TAG(PT_I2, 1))), 2u);
  EXPECT_EQ(size(valueOf(PROP_TAG(PT_BOOLEAN, 1))), 2u);
  for (const ULONG type : {PT_DOUBLE, PT_APPTIME, PT_CURRENCY, PT_SYSTIME, PT_I8})
    EXPECT_EQ(size(valueOf(PROP_TAG(type, 1))), 8u) << type;
  EXPECT_EQ(size(valueOf(PR_NULL)), 0u);
}

TEST_F(PropertySetTest, ASetIsCountedCopiedAndMoved) {
  ULONG counted = 0, copied = 0, relocated = 0;
  ASSERT_EQ(CALL(ScCountProps)(count, values, &counted), S_OK);
  Bytes block(counted), moved(counted);
  auto* copy = reinterpret_cast<SPropValue*>(block.data());
  ASSERT_EQ(CALL(ScCopyProps)(count, values, copy, &copied), S_OK);
  EXPECT_EQ(copied, counted);
  expectSame(copy);
  // Moved in memory, then its pointers are put right.
  std::ranges::copy(block, moved.begin());
  std::ranges::fill(block, static_cast<unsigned char>(0xEE));
  auto* there = reinterpret_cast<SPropValue*>(moved.data());
  ASSERT_EQ(CALL(ScRelocProps)(count, there, copy, there, &relocated), S_OK);
  EXPECT_EQ(relocated, counted);
  expectSame(there);
  // Made ready for its place before it is moved there.
  ASSERT_EQ(CALL(ScRelocProps)(count, there, there, copy, &relocated), S_OK);
  EXPECT_EQ(relocated, counted);
  std::ranges::copy(moved, block.begin());
  std::ranges::fill(moved, static_cast<unsigned char>(0xEE));
  expectSame(copy);
}

TEST_F(PropertySetTest, WhatCannotBeCountedIsRefused) {
  ULONG size = 9;
  SPropValue empty = valueOf(PROP_TAG(PT_MV_LONG, 0x6602)), nameless = valueOf(PROP_TAG(PT_LONG, PROP_ID_NULL)),
             invalid = valueOf(PROP_TAG(PT_LONG, PROP_ID_INVALID));
  for (SPropValue* refused : {&empty, &nameless, &invalid}) {
    EXPECT_EQ(CALL(ScCountProps)(1, refused, &size), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(CALL(ScCopyProps)(1, refused, &size, nullptr), MAPI_E_INVALID_PARAMETER);
  }
  EXPECT_EQ(size, 9u);
  EXPECT_EQ(CALL(ScCountProps)(count, values, nullptr), S_OK);
  EXPECT_EQ(CALL(ScCountProps)(1, nullptr, &size), MAPI_E_INVALID_PARAMETER);
}

TEST_F(PropertySetTest, ASetIsDuplicatedIntoTheCallersMemory) {
  Block<SPropValue> copy;
  ASSERT_EQ(CALL(ScDupPropset)(count, values, mapi().allocateBuffer, receive(copy)), S_OK);
  expectSame(copy.get());
}

TEST_F(PropertySetTest, OneValueIsCopiedBelowAnotherBlock) {
  void* raw = nullptr;
  ASSERT_EQ(mapi().allocateBuffer(sizeof(SPropValue) * count, &raw), S_OK);
  const Block<SPropValue> copies(static_cast<SPropValue*>(raw));
  for (int i = 0; i < count; ++i)
    ASSERT_EQ(CALL(PropCopyMore)(&copies.get()[i], &values[i], mapi().allocateMore, raw), S_OK);
  expectSame(copies.get());
}

TEST_F(PropertySetTest, OneOfManyValuesIsGiven) {
  SPropValue one{};
  CALL(GetInstance)(&values[5], &one, 1);
  EXPECT_EQ(one.ulPropTag, PROP_TAG(PT_LONG, 0x6602));
  EXPECT_EQ(one.Value.l, -2);
  CALL(GetInstance)(&values[6], &one, 1);
  EXPECT_STREQ(one.Value.lpszW, L"second");
  CALL(GetInstance)(&values[9], &one, 1);
  EXPECT_EQ(*one.Value.lpguid, guids[1]);
}

struct ComparisonTest : testing::Test {
  void expectOrder(SPropValue less, SPropValue greater) {
    auto *small = &less, *large = &greater;
    EXPECT_LT(CALL(LPropCompareProp)(small, large), 0);
    EXPECT_GT(CALL(LPropCompareProp)(large, small), 0);
    EXPECT_EQ(CALL(LPropCompareProp)(small, small), 0);
    const auto compare = CALL(FPropCompareProp);
    EXPECT_TRUE(compare(small, RELOP_LT, large) && compare(small, RELOP_LE, large) && compare(small, RELOP_NE, large));
    EXPECT_TRUE(compare(large, RELOP_GT, small) && compare(large, RELOP_GE, small));
    EXPECT_TRUE(compare(small, RELOP_EQ, small) && compare(small, RELOP_LE, small) && compare(small, RELOP_GE, small));
    EXPECT_FALSE(compare(small, RELOP_GT, large) || compare(small, RELOP_GE, large) || compare(small, RELOP_EQ, large));
    EXPECT_FALSE(compare(small, RELOP_LT, small) || compare(small, RELOP_NE, small));
    EXPECT_FALSE(compare(small, RELOP_RE, small)) << "patterns are not published";
  }

  template <class Set>
  void expectOrderOf(ULONG type, Set set) {
    SPropValue less = valueOf(PROP_TAG(type, 0x6600)), greater = less;
    set(less.Value, greater.Value);
    expectOrder(less, greater);
  }
};

TEST_F(ComparisonTest, ValuesOfEveryTypeHaveAnOrder) {
  expectOrderOf(PT_I2, [](auto& a, auto& b) {
    a.i = -1;
    b.i = 1;
  });
  expectOrderOf(PT_LONG, [](auto& a, auto& b) {
    a.l = -70000;
    b.l = 1;
  });
  expectOrderOf(PT_R4, [](auto& a, auto& b) {
    a.flt = -1.5f;
    b.flt = 0.5f;
  });
  expectOrderOf(PT_DOUBLE, [](auto& a, auto& b) {
    a.dbl = 1.25;
    b.dbl = 1.5;
  });
  expectOrderOf(PT_APPTIME, [](auto& a, auto& b) {
    a.at = 1.25;
    b.at = 1.5;
  });
  expectOrderOf(PT_CURRENCY, [](auto& a, auto& b) {
    a.cur.int64 = -5'000'000'000;
    b.cur.int64 = 0;
  });
  expectOrderOf(PT_I8, [](auto& a, auto& b) {
    a.li.QuadPart = -5'000'000'000;
    b.li.QuadPart = 5'000'000'000;
  });
  expectOrderOf(PT_BOOLEAN, [](auto& a, auto& b) {
    a.b = 0;
    b.b = 1;
  });
  expectOrderOf(PT_SYSTIME, [](auto& a, auto& b) {
    a.ft = {0xFFFFFFFF, 1};
    b.ft = {0, 2};
  });
  expectOrderOf(PT_STRING8, [](auto& a, auto& b) {
    a.lpszA = const_cast<LPSTR>("a");
    b.lpszA = const_cast<LPSTR>("b");
  });
  expectOrderOf(PT_UNICODE, [](auto& a, auto& b) {
    a.lpszW = const_cast<LPWSTR>(L"a");
    b.lpszW = const_cast<LPWSTR>(L"aa");
  });
  BYTE low[] = {1, 2}, high[] = {1, 3};
  expectOrderOf(PT_BINARY, [&](auto& a, auto& b) {
    a.bin = {2, low};
    b.bin = {2, high};
  });
  expectOrderOf(PT_BINARY, [&](auto& a, auto& b) {
    a.bin = {1, low};
    b.bin = {2, low};
  });
  GUID first{}, second{};
  second.Data4[7] = 1;
  expectOrderOf(PT_CLSID, [&](auto& a, auto& b) {
    a.lpguid = &first;
    b.lpguid = &second;
  });
  LONG less[] = {1, 2}, more[] = {1, 3};
  expectOrderOf(PT_MV_LONG, [&](auto& a, auto& b) {
    a.MVl = {2, less};
    b.MVl = {2, more};
  });
  expectOrderOf(PT_MV_LONG, [&](auto& a, auto& b) {
    a.MVl = {1, less};
    b.MVl = {2, less};
  });
}

TEST_F(ComparisonTest, ValuesOfTwoTypesAreNeitherEqualNorUnequal) {
  SPropValue number = longValue(PR_PRIORITY, 1), text = textValue(PR_SUBJECT_W, L"1");
  for (const ULONG relation : {RELOP_LT, RELOP_LE, RELOP_GT, RELOP_GE, RELOP_EQ, RELOP_NE})
    EXPECT_FALSE(CALL(FPropCompareProp)(&number, relation, &text)) << relation;
}

TEST_F(ComparisonTest, TextIsContainedAsTheFuzzyLevelSays) {
  const auto contains = [](const wchar_t* whole, const wchar_t* part, ULONG level) {
    SPropValue in = textValue(PR_SUBJECT_W, whole), of = textValue(PR_SUBJECT_W, part);
    return CALL(FPropContainsProp)(&in, &of, level) != FALSE;
  };
  EXPECT_TRUE(contains(L"Monthly Sales", L"Monthly Sales", FL_FULLSTRING));
  EXPECT_FALSE(contains(L"Monthly Sales", L"Monthly", FL_FULLSTRING));
  EXPECT_TRUE(contains(L"Monthly Sales", L"Monthly", FL_PREFIX));
  EXPECT_FALSE(contains(L"Monthly Sales", L"Sales", FL_PREFIX));
  EXPECT_TRUE(contains(L"Monthly Sales", L"Sales", FL_SUBSTRING));
  EXPECT_FALSE(contains(L"Monthly Sales", L"sales", FL_SUBSTRING));
  EXPECT_TRUE(contains(L"Monthly Sales", L"sales", FL_SUBSTRING | FL_IGNORECASE));
  EXPECT_TRUE(contains(L"Monthly Sales", L"MONTHLY SALES", FL_FULLSTRING | FL_LOOSE));
  EXPECT_TRUE(contains(L"x", L"", FL_SUBSTRING));
  EXPECT_FALSE(contains(L"", L"x", FL_SUBSTRING));
  SPropValue in = ansiValue(PR_SUBJECT_A, "Monthly Sales"), of = ansiValue(PR_SUBJECT_A, "SALES");
  EXPECT_TRUE(CALL(FPropContainsProp)(&in, &of, FL_SUBSTRING | FL_IGNORECASE));
  SPropValue other = textValue(PR_SUBJECT_W, L"Sales");
  EXPECT_FALSE(CALL(FPropContainsProp)(&in, &other, FL_SUBSTRING)) << "of two types";
}

TEST_F(ComparisonTest, BytesAreContainedToo) {
  Bytes whole = {1, 2, 3, 4}, part = {2, 3}, start = {1, 2};
  SPropValue in = binaryValue(PR_SEARCH_KEY, whole), of = binaryValue(PR_SEARCH_KEY, part),
             first = binaryValue(PR_SEARCH_KEY, start);
  EXPECT_TRUE(CALL(FPropContainsProp)(&in, &of, FL_SUBSTRING));
  EXPECT_FALSE(CALL(FPropContainsProp)(&in, &of, FL_PREFIX));
  EXPECT_TRUE(CALL(FPropContainsProp)(&in, &first, FL_PREFIX));
  EXPECT_FALSE(CALL(FPropContainsProp)(&in, &first, FL_FULLSTRING));
}

TEST(Helpers, NamesAreEqualBySetKindAndName) {
  GUID set{1}, same{1}, other{2};
  MAPINAMEID number{&set, MNID_ID, {}}, again{&same, MNID_ID, {}}, elsewhere{&other, MNID_ID, {}};
  MAPINAMEID text{&set, MNID_STRING, {}}, textAgain{&same, MNID_STRING, {}}, upper{&set, MNID_STRING, {}};
  number.Kind.lID = again.Kind.lID = elsewhere.Kind.lID = 5;
  text.Kind.lpwstrName = const_cast<LPWSTR>(L"name");
  std::wstring copy = L"name";
  textAgain.Kind.lpwstrName = copy.data();
  upper.Kind.lpwstrName = const_cast<LPWSTR>(L"Name");
  EXPECT_TRUE(CALL(FEqualNames)(&number, &again));
  EXPECT_FALSE(CALL(FEqualNames)(&number, &elsewhere));
  EXPECT_TRUE(CALL(FEqualNames)(&text, &textAgain));
  EXPECT_FALSE(CALL(FEqualNames)(&text, &upper));
  EXPECT_FALSE(CALL(FEqualNames)(&number, &text));
  EXPECT_FALSE(CALL(FEqualNames)(&number, nullptr));
}

TEST(HelpersOfText, HexadecimalDigitsAreBytesAndBack) {
  BYTE bytes[4] = {};
  EXPECT_TRUE(CALL(FBinFromHex)(narrow("00fF1a"), bytes));
  EXPECT_THAT(bytes, ElementsAre(0, 0xFF, 0x1A, 0));
  EXPECT_FALSE(CALL(FBinFromHex)(narrow("0g"), bytes));
  EXPECT_FALSE(CALL(FBinFromHex)(narrow("012"), bytes)) << "half a byte";
  EXPECT_EQ(CALL(ScBinFromHexBounded)(narrow("0102"), bytes, 2), S_OK);
  EXPECT_THAT(bytes, ElementsAre(1, 2, 0x1A, 0));
  EXPECT_EQ(CALL(ScBinFromHexBounded)(narrow("010203"), bytes, 2), MAPI_E_CALL_FAILED);
  EXPECT_EQ(bytes[2], 0x1A);
  char text[7] = "??????";
  CALL(HexFromBin)(bytes, 3, narrow(text));
  EXPECT_STREQ(text, "01021A");
  EXPECT_EQ(CALL(UlFromSzHex)(narrow("1aFFxyz")), 0x1AFFu);
  EXPECT_EQ(CALL(UlFromSzHex)(narrow("x")), 0u);
}

TEST(HelpersOfText, NumbersAreReadToTheFirstOtherCharacter) {
  EXPECT_EQ(CALL(UFromSz)(narrow("1234abc5")), 1234u);
  EXPECT_EQ(CALL(UFromSz)(narrow("abc")), 0u);
  EXPECT_EQ(CALL(UFromSz)(narrow("")), 0u);
}

TEST(HelpersOfText, CharactersAndTextsAreFound) {
  const char* text = "one two one";
  EXPECT_EQ(narrow(CALL(SzFindCh)(narrow(text), 'o')), text);
  EXPECT_EQ(narrow(CALL(SzFindCh)(narrow(text), 't')), text + 4);
  EXPECT_EQ(CALL(SzFindCh)(narrow(text), 'x'), nullptr);
  EXPECT_EQ(narrow(CALL(SzFindLastCh)(narrow(text), 'o')), text + 8);
  EXPECT_EQ(CALL(SzFindLastCh)(narrow(text), 'x'), nullptr);
  EXPECT_EQ(narrow(CALL(SzFindSz)(narrow(text), narrow("two"))), text + 4);
  EXPECT_EQ(narrow(CALL(SzFindSz)(narrow(text), narrow(""))), text);
  EXPECT_EQ(CALL(SzFindSz)(narrow(text), narrow("three")), nullptr);
}

TEST(HelpersOfText, AnEncodingOfFourCharactersIsThreeBytes) {
  const auto size = exported<ULONG WINAPI(LPCSTR)>("CbOfEncoded");
  EXPECT_EQ(size("abcd"), 3u);
  EXPECT_EQ(size("abcdefgh"), 6u);
  EXPECT_EQ(size("abcde"), 6u);
  EXPECT_EQ(size(""), 0u);
  EXPECT_EQ(size(nullptr), 0u);
}

TEST(HelpersOfText, EntryIdentifiersAreTextAndBack) {
  Bytes id = patternBytes(20);
  Block<TCHAR> text;
  ASSERT_EQ(CALL(HrSzFromEntryID)(20, reinterpret_cast<LPENTRYID>(id.data()), receive(text)), S_OK);
  EXPECT_EQ(std::strlen(narrow(text.get())), 40u);
  ULONG size = 0;
  Block<ENTRYID> back;
  ASSERT_EQ(CALL(HrEntryIDFromSz)(text.get(), &size, receive(back)), S_OK);
  ASSERT_EQ(size, 20u);
  EXPECT_EQ(std::memcmp(back.get(), id.data(), 20), 0);
  EXPECT_EQ(CALL(HrEntryIDFromSz)(narrow("xy"), &size, receive(back)), MAPI_E_INVALID_PARAMETER);
}

TEST(HelpersOfText, TheSystemsTextFunctionsAreThereUnderOldNames) {
  EXPECT_EQ(exported<int WINAPI(LPCWSTR)>("MNLS_lstrlenW")(L"four"), 4);
  EXPECT_EQ(exported<int WINAPI(LPCWSTR)>("MNLS_lstrlenW")(nullptr), 0);
  EXPECT_EQ(exported<int WINAPI(LPCWSTR, LPCWSTR)>("MNLS_lstrcmpW")(L"a", L"a"), 0);
  EXPECT_LT(exported<int WINAPI(LPCWSTR, LPCWSTR)>("MNLS_lstrcmpW")(L"a", L"b"), 0);
  wchar_t copy[8] = {};
  EXPECT_EQ(exported<LPWSTR WINAPI(LPWSTR, LPCWSTR)>("MNLS_lstrcpyW")(copy, L"text"), copy);
  EXPECT_STREQ(copy, L"text");
  EXPECT_EQ(exported<int WINAPI(LCID, DWORD, LPCWSTR, int, LPCWSTR, int)>("MNLS_CompareStringW")(
                LOCALE_USER_DEFAULT, NORM_IGNORECASE, L"A", -1, L"a", -1),
            CSTR_EQUAL);
  EXPECT_EQ(exported<int WINAPI(UINT, DWORD, LPCSTR, int, LPWSTR, int)>("MNLS_MultiByteToWideChar")(CP_ACP, 0, "abc",
                                                                                                    -1, copy, 8),
            4);
  EXPECT_STREQ(copy, L"abc");
  char back[8] = {};
  EXPECT_EQ(exported<int WINAPI(UINT, DWORD, LPCWSTR, int, LPSTR, int, LPCSTR, LPBOOL)>("MNLS_WideCharToMultiByte")(
                CP_ACP, 0, copy, -1, back, 8, nullptr, nullptr),
            4);
  EXPECT_STREQ(back, "abc");
  EXPECT_FALSE(exported<BOOL WINAPI(LPCWSTR, UINT)>("MNLS_IsBadStringPtrW")(copy, 8));
  EXPECT_EQ(exported<int WINAPI(LCID, DWORD, LPCSTR, int, LPCSTR, int)>("MNLS_CompareStringA")(LOCALE_USER_DEFAULT, 0,
                                                                                               "a", -1, "b", -1),
            CSTR_LESS_THAN);
  EXPECT_EQ(exported<UINT WINAPI()>("MNLS_GetACP")(), GetACP());
  EXPECT_EQ(exported<LCID WINAPI()>("MNLS_GetUserDefaultLCID")(), GetUserDefaultLCID());
}

TEST(FileTimes, AreAddedSubtractedAndMultiplied) {
  const auto same = [](FILETIME time, DWORD low, DWORD high) {
    return time.dwLowDateTime == low && time.dwHighDateTime == high;
  };
  EXPECT_TRUE(same(CALL(FtAddFt)({0xFFFFFFFF, 1}, {1, 2}), 0, 4));
  EXPECT_TRUE(same(CALL(FtSubFt)({0, 4}, {1, 2}), 0xFFFFFFFF, 1));
  EXPECT_TRUE(same(CALL(FtMulDw)(2, {0x80000000, 1}), 0, 3));
}

TEST(HelpersOfConversations, AnIndexHasAHeadAndGrowsByFiveBytes) {
  ULONG size = 0, childSize = 0;
  Block<BYTE> head, child;
  ASSERT_EQ(CALL(ScCreateConversationIndex)(0, nullptr, &size, receive(head)), S_OK);
  ASSERT_EQ(size, 22u);
  EXPECT_EQ(head.get()[0], 1);
  ASSERT_EQ(CALL(ScCreateConversationIndex)(size, head.get(), &childSize, receive(child)), S_OK);
  ASSERT_EQ(childSize, 27u);
  EXPECT_EQ(std::memcmp(child.get(), head.get(), 22), 0);
  EXPECT_LT(child.get()[22], 0x80) << "an answer of today, in fine steps";
  EXPECT_EQ(child.get()[22], 0);
}

struct SinkTest : testing::Test {
  static LONG STDAPICALLTYPE notified(LPVOID context, ULONG count, LPNOTIFICATION) {
    auto& test = *static_cast<SinkTest*>(context);
    test.thread = GetCurrentThreadId();
    test.calls += count;
    return 7;
  }
  std::atomic<DWORD> thread{0};
  std::atomic<ULONG> calls{0};
};

TEST_F(SinkTest, ACallbackIsASink) {
  ComPtr<IMAPIAdviseSink> sink;
  ASSERT_EQ(CALL(HrAllocAdviseSink)(&SinkTest::notified, this, sink.GetAddressOf()), S_OK);
  NOTIFICATION notices[2]{};
  EXPECT_EQ(sink->OnNotify(2, notices), 7u);
  EXPECT_EQ(calls, 2u);
  EXPECT_EQ(CALL(HrAllocAdviseSink)(nullptr, this, sink.ReleaseAndGetAddressOf()), MAPI_E_INVALID_PARAMETER);
}

TEST_F(SinkTest, ReferencesAreCountedByHelpersToo) {
  ComPtr<IMAPIAdviseSink> sink;
  ASSERT_EQ(CALL(HrAllocAdviseSink)(&SinkTest::notified, this, sink.GetAddressOf()), S_OK);
  EXPECT_EQ(CALL(UlAddRef)(sink.Get()), 2u);
  EXPECT_EQ(CALL(UlRelease)(sink.Get()), 1u);
  EXPECT_EQ(CALL(UlAddRef)(nullptr), 0u);
  EXPECT_EQ(CALL(UlRelease)(nullptr), 0u);
}

TEST_F(SinkTest, ASinkOfThisThreadIsCalledOnIt) {
  ComPtr<IMAPIAdviseSink> sink, here;
  ASSERT_EQ(CALL(HrAllocAdviseSink)(&SinkTest::notified, this, sink.GetAddressOf()), S_OK);
  ASSERT_EQ(CALL(HrThisThreadAdviseSink)(sink.Get(), here.GetAddressOf()), S_OK);
  NOTIFICATION notice{};
  EXPECT_EQ(here->OnNotify(1, &notice), 7u) << "called on its own thread it needs no messages";
  std::atomic<bool> ended{false};
  std::thread other([&] {
    EXPECT_EQ(here->OnNotify(1, &notice), 7u);
    ended = true;
  });
  for (int i = 0; i < 1000 && !ended; ++i) {
    EXPECT_EQ(CALL(HrDispatchNotifications)(0), S_OK);
    Sleep(5);
  }
  other.join();
  EXPECT_EQ(calls, 2u);
  EXPECT_EQ(thread, GetCurrentThreadId());
}

struct ObjectHelpersTest : FolderTest {};

TEST_F(ObjectHelpersTest, OnePropertyIsSetAndItsProblemIsTheResult) {
  SPropValue comment = textValue(PR_COMMENT_W, L"each day"), computed = longValue(PR_CONTENT_COUNT, 5);
  EXPECT_THAT(CALL(HrSetOneProp)(reports.Get(), &comment), Gives(S_OK));
  EXPECT_EQ(text(*reports.Get(), PR_COMMENT_W), L"each day");
  EXPECT_THAT(CALL(HrSetOneProp)(reports.Get(), &computed), Gives(MAPI_E_COMPUTED));
  EXPECT_THAT(CALL(HrSetOneProp)(nullptr, &comment), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(ObjectHelpersTest, APropertyExistsByTagOrIdentifier) {
  EXPECT_TRUE(CALL(FPropExists)(reports.Get(), PR_DISPLAY_NAME_W));
  EXPECT_TRUE(CALL(FPropExists)(reports.Get(), PR_DISPLAY_NAME_A));
  EXPECT_TRUE(CALL(FPropExists)(reports.Get(), PROP_TAG(PT_UNSPECIFIED, PROP_ID(PR_DISPLAY_NAME_W))));
  EXPECT_FALSE(CALL(FPropExists)(reports.Get(), PROP_TAG(PT_LONG, PROP_ID(PR_DISPLAY_NAME_W))));
  EXPECT_FALSE(CALL(FPropExists)(reports.Get(), PR_COMMENT_W));
  EXPECT_FALSE(CALL(FPropExists)(nullptr, PR_COMMENT_W));
}

TEST_F(ObjectHelpersTest, ColumnsAreAddedBeforeThoseThatAreThere) {
  post(*reports.Get(), L"one");
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(MAPI_UNICODE, table.GetAddressOf()), S_OK);
  Tags columns{PR_ENTRYID, PR_SUBJECT_W}, wanted{PR_MESSAGE_CLASS_W, PR_ENTRYID};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  ASSERT_THAT(CALL(HrAddColumns)(table.Get(), wanted, mapi().allocateBuffer, mapi().freeBuffer), Gives(S_OK));
  Block<SPropTagArray> now;
  ASSERT_EQ(table->QueryColumns(0, receive(now)), S_OK);
  EXPECT_THAT(std::vector<ULONG>(now->aulPropTag, now->aulPropTag + now->cValues),
              ElementsAre(PR_MESSAGE_CLASS_W, PR_ENTRYID, PR_SUBJECT_W));
}

TEST_F(ObjectHelpersTest, AFilterTakesColumnsAwayBeforeOthersAreAdded) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(MAPI_UNICODE, table.GetAddressOf()), S_OK);
  Tags columns{PR_ENTRYID, PR_SUBJECT_W}, wanted{PR_MESSAGE_CLASS_W};
  ASSERT_EQ(table->SetColumns(columns, 0), S_OK);
  void (*withoutSubject)(LPSPropTagArray) = [](LPSPropTagArray tags) {
    for (ULONG i = 0; i < tags->cValues; ++i) {
      if (tags->aulPropTag[i] == PR_SUBJECT_W) tags->aulPropTag[i] = PR_NULL;
    }
  };
  ASSERT_THAT(CALL(HrAddColumnsEx)(table.Get(), wanted, mapi().allocateBuffer, mapi().freeBuffer, withoutSubject),
              Gives(S_OK));
  Block<SPropTagArray> now;
  ASSERT_EQ(table->QueryColumns(0, receive(now)), S_OK);
  EXPECT_THAT(std::vector<ULONG>(now->aulPropTag, now->aulPropTag + now->cValues),
              ElementsAre(PR_MESSAGE_CLASS_W, PR_ENTRYID));
}

TEST_F(ObjectHelpersTest, AStoresStandardFoldersAreTold) {
  ULONG count = 0;
  Block<SPropValue> values;
  ASSERT_THAT(CALL(HrValidateIPMSubtree)(store.Get(), 0, &count, receive(values), nullptr), Gives(S_OK));
  LPSPropValue mask = CALL(PpropFindProp)(values.get(), count, PR_VALID_FOLDER_MASK);
  ASSERT_NE(mask, nullptr);
  EXPECT_NE(mask->Value.l & static_cast<LONG>(FOLDER_IPM_SUBTREE_VALID), 0);
  LPSPropValue top = CALL(PpropFindProp)(values.get(), count, PR_IPM_SUBTREE_ENTRYID);
  ASSERT_NE(top, nullptr);
  EXPECT_EQ(bytesOf(*top), binary(*subtree.Get(), PR_ENTRYID));
}

TEST_F(ObjectHelpersTest, AnAddressListIsFreedWithItsEntries) {
  void *list = nullptr, *entry = nullptr;
  ASSERT_EQ(mapi().allocateBuffer(CbNewADRLIST(2), &list), S_OK);
  ASSERT_EQ(mapi().allocateBuffer(sizeof(SPropValue), &entry), S_OK);
  auto* addresses = static_cast<ADRLIST*>(list);
  std::memset(addresses, 0, CbNewADRLIST(2));
  addresses->cEntries = 2;
  addresses->aEntries[1] = {0, 1, static_cast<SPropValue*>(entry)};
  CALL(FreePadrlist)(addresses);
  EXPECT_NE(mapi().freeBuffer(entry), 0u) << "it is freed already";
  EXPECT_NE(mapi().freeBuffer(list), 0u);
  CALL(FreePadrlist)(nullptr);
}

struct FileStreamTest : testing::Test {
  using OpenOnFile = HRESULT WINAPI(LPALLOCATEBUFFER, LPFREEBUFFER, ULONG, LPCWSTR, LPCWSTR, LPSTREAM*);
  using OpenOnFileNarrow = HRESULT WINAPI(LPALLOCATEBUFFER, LPFREEBUFFER, ULONG, LPCSTR, LPCSTR, LPSTREAM*);

  HRESULT open(ULONG flags, const std::wstring& name, const wchar_t* prefix = nullptr) {
    return exported<OpenOnFile>("OpenStreamOnFileW")(mapi().allocateBuffer, mapi().freeBuffer, flags, name.c_str(),
                                                     prefix, stream.ReleaseAndGetAddressOf());
  }
  static bool exists(const std::wstring& name) { return GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES; }

  TempFolder folder;
  ComPtr<IStream> stream;
};

TEST_F(FileStreamTest, AFileIsWrittenAndRead) {
  const std::wstring name = folder.file(L"report.bin");
  const Bytes content = patternBytes(100'000);
  ASSERT_THAT(open(STGM_CREATE | STGM_READWRITE, name), Gives(S_OK));
  ULONG written = 0;
  ASSERT_EQ(stream->Write(content.data(), 100'000, &written), S_OK);
  EXPECT_EQ(written, 100'000u);
  ASSERT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
  ASSERT_EQ(stream->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
  EXPECT_TRUE(readAll(*stream.Get()) == content);
  ULARGE_INTEGER half;
  half.QuadPart = 50'000;
  ASSERT_EQ(stream->SetSize(half), S_OK);
  STATSTG statistics{};
  ASSERT_EQ(stream->Stat(&statistics, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(statistics.cbSize.QuadPart, 50'000u);
  stream.Reset();
  ASSERT_THAT(open(STGM_READ, name), Gives(S_OK));
  EXPECT_EQ(readAll(*stream.Get()).size(), 50'000u);
  EXPECT_NE(stream->Write("x", 1, nullptr), S_OK);
}

TEST_F(FileStreamTest, AFileThatIsNotThereIsNotFound) {
  EXPECT_THAT(open(STGM_READ, folder.file(L"nothing")), Gives(MAPI_E_NOT_FOUND));
  EXPECT_EQ(stream, nullptr);
  EXPECT_THAT(open(STGM_READ, L""), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(FileStreamTest, AFileOfItsOwnIsMadeAndDeletedWithItsStream) {
  const std::wstring place = folder.file(L"");
  ASSERT_THAT(open(SOF_UNIQUEFILENAME | STGM_CREATE | STGM_READWRITE | STGM_DELETEONRELEASE, place, L"rep"),
              Gives(S_OK));
  const auto files = [&] { return std::distance(std::filesystem::directory_iterator(place), {}); };
  EXPECT_EQ(files(), 1);
  ASSERT_EQ(stream->Write("text", 4, nullptr), S_OK);
  stream.Reset();
  EXPECT_EQ(files(), 0);
}

TEST_F(FileStreamTest, NamesAreTakenIn8BitFormToo) {
  const std::wstring name = folder.file(L"narrow.bin");
  const std::string same(name.begin(), name.end());
  ASSERT_THAT(exported<OpenOnFileNarrow>("OpenStreamOnFile")(mapi().allocateBuffer, mapi().freeBuffer,
                                                             STGM_CREATE | STGM_READWRITE, same.c_str(), nullptr,
                                                             stream.GetAddressOf()),
              Gives(S_OK));
  stream.Reset();
  EXPECT_TRUE(exists(name));
}

// The published example of the format.
constexpr unsigned char published[] = {0x2D, 0x00, 0x00, 0x00, 0x2B, 0x00, 0x00, 0x00, 0x4C, 0x5A, 0x46, 0x75, 0xF1,
                                       0xC5, 0xC7, 0xA7, 0x03, 0x00, 0x0A, 0x00, 0x72, 0x63, 0x70, 0x67, 0x31, 0x32,
                                       0x35, 0x42, 0x32, 0x0A, 0xF3, 0x20, 0x68, 0x65, 0x6C, 0x09, 0x00, 0x20, 0x62,
                                       0x77, 0x05, 0xB0, 0x6C, 0x64, 0x7D, 0x0A, 0x80, 0x0F, 0xA0};
constexpr char publishedText[] = "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n";

struct RtfTest : testing::Test {
  RtfTest() { EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, stored.GetAddressOf()), S_OK); }

  void store(std::span<const unsigned char> bytes) {
    ASSERT_EQ(stored->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), S_OK);
    ASSERT_EQ(stored->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
  }

  HRESULT wrap(ULONG flags) {
    EXPECT_EQ(stored->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
    return CALL(WrapCompressedRTFStream)(stored.Get(), flags, text.ReleaseAndGetAddressOf());
  }

  Bytes storedBytes() {
    EXPECT_EQ(stored->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
    return readAll(*stored.Get(), 65536);
  }

  void compress(const Bytes& bytes, ULONG flags = 0) {
    ASSERT_THAT(wrap(MAPI_MODIFY | flags), Gives(S_OK));
    for (std::size_t at = 0; at < bytes.size(); at += 1000) {
      const auto count = static_cast<ULONG>(std::min<std::size_t>(1000, bytes.size() - at));
      ASSERT_EQ(text->Write(bytes.data() + at, count, nullptr), S_OK);
    }
    ASSERT_EQ(text->Commit(STGC_DEFAULT), S_OK);
    text.Reset();
  }

  void expectComesBack(const Bytes& bytes) {
    compress(bytes);
    ASSERT_THAT(wrap(0), Gives(S_OK));
    EXPECT_TRUE(readAll(*text.Get(), 777) == bytes);
  }

  static Bytes bytesOfText(std::string_view text) { return {text.begin(), text.end()}; }

  ComPtr<IStream> stored, text;
};

TEST_F(RtfTest, ThePublishedExampleIsExpanded) {
  store(published);
  ASSERT_THAT(wrap(0), Gives(S_OK));
  EXPECT_EQ(readAll(*text.Get()), bytesOfText(publishedText));
  EXPECT_EQ(text->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
}

TEST_F(RtfTest, ThePublishedExampleIsMade) {
  compress(bytesOfText(publishedText));
  EXPECT_EQ(storedBytes(), Bytes(std::begin(published), std::end(published)));
}

TEST_F(RtfTest, ARunThatReachesIntoItselfIsExpandedAndMade) {
  // The second published example: "{\rtf1 WXYZWXYZWXYZWXYZWXYZ}".
  constexpr unsigned char example[] = {0x1A, 0x00, 0x00, 0x00, 0x1C, 0x00, 0x00, 0x00, 0x4C, 0x5A,
                                       0x46, 0x75, 0xE2, 0xD4, 0x4B, 0x51, 0x41, 0x00, 0x04, 0x20,
                                       0x57, 0x58, 0x59, 0x5A, 0x0D, 0x6E, 0x7D, 0x01, 0x0E, 0xB0};
  const Bytes expected = bytesOfText("{\\rtf1 WXYZWXYZWXYZWXYZWXYZ}");
  store(example);
  ASSERT_THAT(wrap(0), Gives(S_OK));
  EXPECT_EQ(readAll(*text.Get()), expected);
  compress(expected);
  EXPECT_EQ(storedBytes(), Bytes(std::begin(example), std::end(example)));
}

TEST_F(RtfTest, AnyBytesComeBack) {
  for (const std::size_t size : {0u, 1u, 2u, 17u, 18u, 4095u, 4096u, 4097u, 100'000u}) {
    SCOPED_TRACE(size);
    expectComesBack(patternBytes(size));
    expectComesBack(Bytes(size, 'x'));
    Bytes repeating(size);
    for (std::size_t i = 0; i < size; ++i)
      repeating[i] = static_cast<unsigned char>("{\\par Zahlen }"[i % 14] + i / 5000);
    expectComesBack(repeating);
  }
}

TEST_F(RtfTest, ATextThatRepeatsItselfBecomesShort) {
  std::string repeated;
  for (int i = 0; i < 1000; ++i) repeated += "{\\b Sales of the month}\\par ";
  compress(bytesOfText(repeated));
  EXPECT_LT(storedBytes().size(), repeated.size() / 5);
}

TEST_F(RtfTest, TheTextAsItIsIsReadAndWritten) {
  compress(bytesOfText(publishedText), STORE_UNCOMPRESSED_RTF);
  const Bytes bytes = storedBytes();
  ASSERT_EQ(bytes.size(), 16 + sizeof publishedText - 1);
  EXPECT_EQ(std::memcmp(bytes.data() + 8, "MELA", 4), 0);
  ASSERT_THAT(wrap(0), Gives(S_OK));
  EXPECT_EQ(readAll(*text.Get()), bytesOfText(publishedText));
}

TEST_F(RtfTest, WhatIsWrittenIsStoredWithoutCommitToo) {
  ASSERT_THAT(wrap(MAPI_MODIFY), Gives(S_OK));
  ASSERT_EQ(text->Write(publishedText, sizeof publishedText - 1, nullptr), S_OK);
  text.Reset();
  EXPECT_EQ(storedBytes(), Bytes(std::begin(published), std::end(published)));
}

TEST_F(RtfTest, AShorterTextReplacesALongerOne) {
  compress(patternBytes(5000));
  compress(bytesOfText(publishedText));
  EXPECT_EQ(storedBytes(), Bytes(std::begin(published), std::end(published)));
}

TEST_F(RtfTest, ChangedBytesAndCutEndsAreCorrupt) {
  for (std::size_t at = 0; at < sizeof published; ++at) {
    if (at >= 4 && at < 8) continue;
    Bytes changed(std::begin(published), std::end(published));
    changed[at] ^= 0x10;
    ASSERT_EQ(stored->SetSize({}), S_OK);
    ASSERT_EQ(stored->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
    store(changed);
    EXPECT_THAT(wrap(0), Gives(MAPI_E_CORRUPT_DATA)) << "byte " << at;
  }
  for (std::size_t size = 1; size < sizeof published; ++size) {
    ComPtr<IStream> cut;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, cut.GetAddressOf()), S_OK);
    stored = cut;
    store(std::span(published).first(size));
    EXPECT_THAT(wrap(0), Gives(MAPI_E_CORRUPT_DATA)) << size << " bytes";
  }
}

TEST_F(RtfTest, ABodyThatWasNeverWrittenIsEmpty) {
  ASSERT_THAT(wrap(0), Gives(S_OK));
  EXPECT_TRUE(readAll(*text.Get()).empty());
  EXPECT_THAT(wrap(0x100), Gives(MAPI_E_UNKNOWN_FLAGS));
}

struct RtfOfMessageTest : FolderTest {};

TEST_F(RtfOfMessageTest, AMessagesBodyIsWrittenAndRead) {
  ComPtr<IMessage> message;
  ASSERT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
  const Bytes body = patternBytes(200'000);
  {
    auto stored = openStream(*message.Get(), PR_RTF_COMPRESSED, STGM_READWRITE, MAPI_CREATE | MAPI_MODIFY);
    ComPtr<IStream> text;
    ASSERT_THAT(CALL(WrapCompressedRTFStream)(stored.Get(), MAPI_MODIFY, text.GetAddressOf()), Gives(S_OK));
    ASSERT_EQ(text->Write(body.data(), static_cast<ULONG>(body.size()), nullptr), S_OK);
    ASSERT_EQ(text->Commit(STGC_DEFAULT), S_OK);
  }
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto stored = openStream(*openFirst(*reports.Get()).Get(), PR_RTF_COMPRESSED, STGM_READ, 0);
  ComPtr<IStream> text;
  ASSERT_THAT(CALL(WrapCompressedRTFStream)(stored.Get(), 0, text.GetAddressOf()), Gives(S_OK));
  EXPECT_TRUE(readAll(*text.Get()) == body);
}

}  // namespace
