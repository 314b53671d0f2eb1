// The exported functions: names, MAPI memory, the utility functions.
#include <array>
#include <thread>

#include "store_fixture.h"

namespace {

struct ExportsTest : testing::TestWithParam<const char*> {};

TEST_P(ExportsTest, IsExported) { EXPECT_NE(GetProcAddress(mapi().module, GetParam()), nullptr); }

INSTANTIATE_TEST_SUITE_P(Names, ExportsTest,
                         testing::Values("MAPIInitialize", "MAPIUninitialize", "MAPILogonEx", "MAPIAllocateBuffer",
                                         "MAPIAllocateMore", "MAPIFreeBuffer", "MAPIOpenFormMgr", "MAPIAdminProfiles"));

// A helper function with the bytes of its arguments in 32 bits, which its decorated name ends with.
struct HelperExportTest : testing::TestWithParam<std::pair<const char*, int>> {};

TEST_P(HelperExportTest, IsExportedUnderBothNames) {
  const auto& [name, bytes] = GetParam();
  const FARPROC plain = GetProcAddress(mapi().module, name);
  EXPECT_NE(plain, nullptr) << name;
  EXPECT_EQ(GetProcAddress(mapi().module, (std::string(name) + "@" + std::to_string(bytes)).c_str()), plain) << name;
}

constexpr std::pair<const char*, int> helpers[] = {{"CbOfEncoded", 4},
                                                   {"DeinitMapiUtil", 0},
                                                   {"FBinFromHex", 8},
                                                   {"FEqualNames", 8},
                                                   {"FPropCompareProp", 12},
                                                   {"FPropContainsProp", 12},
                                                   {"FPropExists", 8},
                                                   {"FreePadrlist", 4},
                                                   {"FreeProws", 4},
                                                   {"FtAddFt", 16},
                                                   {"FtMulDw", 12},
                                                   {"FtMulDwDw", 8},
                                                   {"FtNegFt", 8},
                                                   {"FtSubFt", 16},
                                                   {"GetInstance", 12},
                                                   {"HexFromBin", 12},
                                                   {"HrAddColumns", 16},
                                                   {"HrAddColumnsEx", 20},
                                                   {"HrAllocAdviseSink", 12},
                                                   {"HrDispatchNotifications", 4},
                                                   {"HrEntryIDFromSz", 12},
                                                   {"HrGetOneProp", 12},
                                                   {"HrQueryAllRows", 24},
                                                   {"HrSetOneProp", 8},
                                                   {"HrSzFromEntryID", 12},
                                                   {"HrThisThreadAdviseSink", 8},
                                                   {"HrValidateIPMSubtree", 20},
                                                   {"LPropCompareProp", 8},
                                                   {"LpValFindProp", 12},
                                                   {"MAPIGetDefaultMalloc", 0},
                                                   {"MNLS_CompareStringA", 24},
                                                   {"MNLS_CompareStringW", 24},
                                                   {"MNLS_GetACP", 0},
                                                   {"MNLS_GetUserDefaultLCID", 0},
                                                   {"MNLS_IsBadStringPtrW", 8},
                                                   {"MNLS_lstrcmpW", 8},
                                                   {"MNLS_lstrcpyW", 8},
                                                   {"MNLS_lstrlenW", 4},
                                                   {"MNLS_MultiByteToWideChar", 24},
                                                   {"MNLS_WideCharToMultiByte", 32},
                                                   {"OpenStreamOnFile", 24},
                                                   {"OpenStreamOnFileW", 24},
                                                   {"PpropFindProp", 12},
                                                   {"PropCopyMore", 16},
                                                   {"ScBinFromHexBounded", 12},
                                                   {"ScCopyProps", 16},
                                                   {"ScCountProps", 12},
                                                   {"ScCreateConversationIndex", 16},
                                                   {"ScDupPropset", 16},
                                                   {"ScInitMapiUtil", 4},
                                                   {"ScRelocProps", 20},
                                                   {"SzFindCh", 8},
                                                   {"SzFindLastCh", 8},
                                                   {"SzFindSz", 8},
                                                   {"UFromSz", 4},
                                                   {"UlAddRef", 4},
                                                   {"UlFromSzHex", 4},
                                                   {"UlPropSize", 4},
                                                   {"UlRelease", 4},
                                                   {"WrapCompressedRTFStream", 12}};

INSTANTIATE_TEST_SUITE_P(Names, HelperExportTest, testing::ValuesIn(helpers));

TEST(Exports, ALaterLoadByBareNameFindsTheLoadedLibrary) {
  const HMODULE loaded = mapi().module;
  const HMODULE found = LoadLibraryW(L"MAPI32.DLL");
  EXPECT_EQ(found, loaded);
  FreeLibrary(found);
}

TEST(Exports, FormsAreNotSupported) {
  void* manager = &manager;
  EXPECT_THAT(mapi().openFormMgr(nullptr, &manager), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_EQ(manager, nullptr);
}

TEST(MapiMemory, BlocksAreWritableAndApart) {
  Block<unsigned char> first, second;
  void* block = nullptr;
  ASSERT_EQ(mapi().allocateBuffer(100, &block), S_OK);
  first.reset(static_cast<unsigned char*>(block));
  ASSERT_EQ(mapi().allocateBuffer(100, &block), S_OK);
  second.reset(static_cast<unsigned char*>(block));
  std::fill_n(first.get(), 100, 1);
  std::fill_n(second.get(), 100, 2);
  EXPECT_EQ(first.get()[99], 1);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(first.get()) % 8, 0u);
}

TEST(MapiMemory, ManyChainedBlocksDieWithTheirTop) {
  void* top = nullptr;
  ASSERT_EQ(mapi().allocateBuffer(8, &top), S_OK);
  for (int i = 0; i < 1000; ++i) {
    void* more = nullptr;
    ASSERT_EQ(mapi().allocateMore(64, top, &more), S_OK);
    std::fill_n(static_cast<char*>(more), 64, 'x');
  }
  EXPECT_EQ(mapi().freeBuffer(top), 0u);
}

TEST(MapiMemory, FreeingNullIsFine) { EXPECT_EQ(mapi().freeBuffer(nullptr), 0u); }

TEST(MapiMemory, FreeingTwiceIsRefusedNotACrash) {
  void* block = nullptr;
  ASSERT_EQ(mapi().allocateBuffer(8, &block), S_OK);
  EXPECT_EQ(mapi().freeBuffer(block), 0u);
  EXPECT_NE(mapi().freeBuffer(block), 0u);
}

TEST(MapiMemory, NothingHangsBelowAForeignBlock) {
  char own[64] = {};
  void* more = own;
  EXPECT_EQ(mapi().allocateMore(8, own, &more), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(more, nullptr);
  EXPECT_EQ(mapi().allocateMore(8, nullptr, &more), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(mapi().allocateBuffer(8, nullptr), MAPI_E_INVALID_PARAMETER);
}

TEST(MapiMemory, ABlockThatNoMachineHasIsNotEnoughMemory) {
  void* block = nullptr;
  EXPECT_EQ(mapi().allocateBuffer(0xFFFFFFFF, &block), MAPI_E_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(block, nullptr);
}

TEST(FileTimes, ProductsFillBothHalves) {
  const FILETIME product = mapi().ftMulDwDw(0xFFFFFFFF, 0xFFFFFFFF);
  EXPECT_EQ(product.dwLowDateTime, 1u);
  EXPECT_EQ(product.dwHighDateTime, 0xFFFFFFFEu);
}

TEST(FileTimes, NegationIsTheTwosComplement) {
  const FILETIME negative = mapi().ftNegFt({1, 0});
  EXPECT_EQ(negative.dwLowDateTime, 0xFFFFFFFFu);
  EXPECT_EQ(negative.dwHighDateTime, 0xFFFFFFFFu);
  const FILETIME zero = mapi().ftNegFt({0, 0});
  EXPECT_EQ(zero.dwLowDateTime + zero.dwHighDateTime, 0u);
}

TEST(Initialization, LoggingOnNeedsIt) {
  ComPtr<IMAPISession> session;
  EXPECT_THAT(mapi().logonEx(0, nullptr, nullptr, MAPI_EXTENDED, session.GetAddressOf()),
              Gives(MAPI_E_NOT_INITIALIZED));
  ComPtr<IProfAdmin> admin;
  EXPECT_THAT(mapi().adminProfiles(0, admin.GetAddressOf()), Gives(MAPI_E_NOT_INITIALIZED));
}

struct UtilityTest : FolderTest {};

TEST_F(UtilityTest, HrGetOnePropTurnsAMissingPropertyIntoItsError) {
  Block<SPropValue> value;
  EXPECT_THAT(mapi().hrGetOneProp(reports.Get(), PR_COMMENT_W, receive(value)), Gives(MAPI_E_NOT_FOUND));
  EXPECT_EQ(value, nullptr);
  EXPECT_THAT(mapi().hrGetOneProp(nullptr, PR_COMMENT_W, receive(value)), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(UtilityTest, HrQueryAllRowsAppliesColumnsRestrictionAndOrder) {
  for (const wchar_t* subject : {L"b", L"a", L"c"}) post(*reports.Get(), subject);
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  SPropValue c = textValue(PR_SUBJECT_W, L"c");
  SRestriction notC{};
  notC.rt = RES_PROPERTY;
  notC.res.resProperty = {RELOP_NE, PR_SUBJECT_W, &c};
  SSortOrderSet order{1, 0, 0, {{PR_SUBJECT_W, TABLE_SORT_ASCEND}}};
  EXPECT_THAT(column(*table.Get(), PR_SUBJECT_W, &notC, &order), testing::ElementsAre(L"a", L"b"));
}

TEST_F(UtilityTest, HrQueryAllRowsRefusesMoreRowsThanAllowed) {
  for (const wchar_t* subject : {L"b", L"a", L"c"}) post(*reports.Get(), subject);
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  Rows rows;
  EXPECT_THAT(mapi().hrQueryAllRows(table.Get(), nullptr, nullptr, nullptr, 2, receive(rows)),
              Gives(MAPI_E_TABLE_TOO_BIG));
  EXPECT_THAT(mapi().hrQueryAllRows(table.Get(), nullptr, nullptr, nullptr, 3, receive(rows)), Gives(S_OK));
  EXPECT_EQ(rows->cRows, 3u);
}

TEST(Initialization, VersionAndFlagsAreChecked) {
  MAPIINIT_0 wish{MAPI_INIT_VERSION, 0};
  const auto initialize = [&](ULONG version, ULONG flags) {
    wish = {version, flags};
    const HRESULT result = mapi().initialize(&wish);
    if (SUCCEEDED(result)) mapi().uninitialize();
    return result;
  };
  constexpr ULONG noComInitialization = 8;
  EXPECT_THAT(initialize(MAPI_INIT_VERSION, MAPI_MULTITHREAD_NOTIFICATIONS), Gives(S_OK));
  EXPECT_THAT(initialize(MAPI_INIT_VERSION, MAPI_NT_SERVICE | noComInitialization), Gives(S_OK));
  EXPECT_THAT(initialize(MAPI_INIT_VERSION + 1, 0), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(initialize(MAPI_INIT_VERSION, 0x4000), Gives(MAPI_E_UNKNOWN_FLAGS));
  ComPtr<IProfAdmin> admin;
  EXPECT_THAT(mapi().adminProfiles(0, admin.GetAddressOf()), Gives(MAPI_E_NOT_INITIALIZED)) << "refused ones count not";
}

// On a thread of its own, which nobody has initialized anything on.
template <class Work>
void onFreshThread(Work work) {
  std::thread(work).join();
}

bool comIsInitialized() {
  APTTYPE type;
  APTTYPEQUALIFIER qualifier;
  return SUCCEEDED(CoGetApartmentType(&type, &qualifier));
}

TEST(Initialization, ComIsInitializedAndGivenBack) {
  onFreshThread([] {
    ASSERT_FALSE(comIsInitialized());
    ASSERT_THAT(mapi().initialize(nullptr), Gives(S_OK));
    EXPECT_TRUE(comIsInitialized());
    ASSERT_THAT(mapi().initialize(nullptr), Gives(S_OK));
    mapi().uninitialize();
    EXPECT_TRUE(comIsInitialized());
    mapi().uninitialize();
    EXPECT_FALSE(comIsInitialized());
    mapi().uninitialize();  // one too many
    EXPECT_FALSE(comIsInitialized());
  });
}

TEST(Initialization, WhoAsksForItKeepsComToItself) {
  onFreshThread([] {
    MAPIINIT_0 wish{MAPI_INIT_VERSION, 8};
    ASSERT_THAT(mapi().initialize(&wish), Gives(S_OK));
    EXPECT_FALSE(comIsInitialized());
    mapi().uninitialize();
  });
}

TEST(Initialization, AThreadOfAnotherModeIsNoFailure) {
  onFreshThread([] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_THAT(mapi().initialize(nullptr), Gives(S_OK));
    mapi().uninitialize();
    EXPECT_TRUE(comIsInitialized()) << "it is the thread's own";
    CoUninitialize();
  });
}

}  // namespace
