// The binding of MAPI32.DLL at run time.
#include <string>

#include "bound_mapi.h"
#include "mapi_binding.h"

using namespace fendrel;
using testing::Return;

namespace {

void expectNothingIsBound() {
  EXPECT_EQ(mapi().module, nullptr);
  EXPECT_EQ(mapi().bound, 0u);
  EXPECT_EQ(mapi().mapiInitialize, nullptr);
  EXPECT_EQ(mapi().mapiUninitialize, nullptr);
  EXPECT_EQ(mapi().mapiLogonEx, nullptr);
  EXPECT_EQ(mapi().mapiAllocateBuffer, nullptr);
  EXPECT_EQ(mapi().mapiAllocateMore, nullptr);
  EXPECT_EQ(mapi().mapiFreeBuffer, nullptr);
  EXPECT_EQ(mapi().mapiOpenFormMgr, nullptr);
  EXPECT_EQ(mapi().mapiAdminProfiles, nullptr);
  EXPECT_EQ(mapi().freeProws, nullptr);
  EXPECT_EQ(mapi().hrGetOneProp, nullptr);
  EXPECT_EQ(mapi().hrQueryAllRows, nullptr);
  EXPECT_EQ(mapi().ftMulDwDw, nullptr);
  EXPECT_EQ(mapi().ftNegFt, nullptr);
}

TEST(MapiBinding, IsEmptyBeforeAnythingIsBound) {
  expectNothingIsBound();
  EXPECT_FALSE(IsMapiBound());
}

TEST(MapiBinding, HoldsEveryEntryPointOfTheLoadedLibrary) {
  const FakeMapi fake;
  ASSERT_TRUE(BindMapi());
  EXPECT_TRUE(IsMapiBound());
  EXPECT_EQ(mapi().bound, 1u);
  EXPECT_EQ(mapi().module, fake.library());
  const auto proc = [&](const char* name) { return reinterpret_cast<void*>(GetProcAddress(fake.library(), name)); };
  EXPECT_EQ(reinterpret_cast<void*>(mapi().mapiInitialize), proc("MAPIInitialize"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().mapiUninitialize), proc("MAPIUninitialize"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().mapiLogonEx), proc("MAPILogonEx"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().mapiAllocateBuffer), proc("MAPIAllocateBuffer"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().mapiAllocateMore), proc("MAPIAllocateMore"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().mapiFreeBuffer), proc("MAPIFreeBuffer"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().mapiOpenFormMgr), proc("MAPIOpenFormMgr"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().mapiAdminProfiles), proc("MAPIAdminProfiles"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().freeProws), proc("FreeProws"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().hrGetOneProp), proc("HrGetOneProp"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().hrQueryAllRows), proc("HrQueryAllRows"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().ftMulDwDw), proc("FtMulDwDw"));
  EXPECT_EQ(reinterpret_cast<void*>(mapi().ftNegFt), proc("FtNegFt"));
  UnbindMapi();
}

TEST(MapiBinding, CallsNothingWhileItBinds) {
  const BoundMapi strict;  // any call of its functions fails
}

TEST(MapiBinding, UnbindingClearsAndReleasesTheLibrary) {
  {
    const FakeMapi fake;
    ASSERT_TRUE(BindMapi());
    UnbindMapi();
    expectNothingIsBound();
  }
  EXPECT_EQ(GetModuleHandleW(L"MAPI32.DLL"), nullptr) << "the library is still held";
}

TEST(MapiBinding, UnbindingNothingIsHarmless) {
  UnbindMapi();
  UnbindMapi();
  expectNothingIsBound();
}

TEST(MapiBinding, ClearingTheFunctionsKeepsTheLibrary) {
  const FakeMapi fake;
  ASSERT_TRUE(LoadMapiLibrary());
  ASSERT_TRUE(BindMapiFunctions());
  ClearMapiFunctions();
  EXPECT_EQ(mapi().module, fake.library());
  EXPECT_EQ(mapi().mapiInitialize, nullptr);
  EXPECT_EQ(mapi().ftNegFt, nullptr);
  UnloadMapiLibrary();
  expectNothingIsBound();
}

TEST(MapiBinding, FunctionsAreNotBoundWithoutALibrary) {
  EXPECT_FALSE(BindMapiFunctions());
  expectNothingIsBound();
}

TEST(MapiBinding, LooksUpNamesInTheHeldLibrary) {
  const FakeMapi fake;
  ASSERT_TRUE(LoadMapiLibrary());
  FARPROC proc = nullptr;
  EXPECT_TRUE(GetMapiProc("FtNegFt", proc));
  EXPECT_EQ(proc, GetProcAddress(fake.library(), "FtNegFt"));
  EXPECT_FALSE(GetMapiProc("NoSuchName", proc));
  EXPECT_EQ(proc, nullptr);
  UnloadMapiLibrary();
}

TEST(MapiBinding, StopsAtTheFirstMissingNameAndKeepsTheOnesBefore) {
  const FakeMapi fake(L"without_MAPIFreeBuffer");
  ASSERT_TRUE(LoadMapiLibrary());
  EXPECT_FALSE(BindMapiFunctions());
  EXPECT_NE(mapi().mapiAllocateMore, nullptr);
  EXPECT_EQ(mapi().mapiFreeBuffer, nullptr);
  EXPECT_EQ(mapi().hrGetOneProp, nullptr);
  EXPECT_FALSE(IsMapiBound());
  UnbindMapi();
}

class MapiBindingWithout : public testing::TestWithParam<const char*> {};

TEST_P(MapiBindingWithout, OneNameLeavesNothingBoundAndNothingLoaded) {
  {
    const std::string name = GetParam();
    const FakeMapi fake(L"without_" + std::wstring(name.begin(), name.end()));
    ASSERT_EQ(GetProcAddress(fake.library(), name.c_str()), nullptr);
    EXPECT_FALSE(BindMapi());
    expectNothingIsBound();
  }
  EXPECT_EQ(GetModuleHandleW(L"MAPI32.DLL"), nullptr) << "the library is still held";
}

INSTANTIATE_TEST_SUITE_P(, MapiBindingWithout,
                         testing::Values("MAPIInitialize", "MAPIUninitialize", "MAPILogonEx", "MAPIAllocateBuffer",
                                         "MAPIAllocateMore", "MAPIFreeBuffer", "MAPIOpenFormMgr", "MAPIAdminProfiles",
                                         "FreeProws", "HrGetOneProp", "HrQueryAllRows", "FtMulDwDw", "FtNegFt"),
                         [](const auto& row) { return std::string(row.param); });

TEST(MapiPassThrough, LogonForwardsAllArgumentsAndTheResult) {
  BoundMapi mapi32;
  wchar_t profile[] = L"Sales", password[] = L"secret";
  IMAPISession* session = nullptr;
  EXPECT_CALL(mapi32.functions, logonEx(0x1234u, profile, password, 0x80008022u, &session))
      .WillOnce(Return(MAPI_W_ERRORS_RETURNED));
  EXPECT_EQ(MapiLogon(0x1234, profile, password, 0x80008022, &session), MAPI_W_ERRORS_RETURNED);
}

TEST(MapiPassThrough, StartTakesNoRecordAndAnswersZero) {
  BoundMapi mapi32;
  EXPECT_CALL(mapi32.functions, initialize(nullptr)).WillOnce(Return(S_OK));
  EXPECT_EQ(MapiStart(), 0);
}

TEST(MapiPassThrough, StartWithAWarningAnswersZero) {
  BoundMapi mapi32;
  EXPECT_CALL(mapi32.functions, initialize(nullptr)).WillOnce(Return(MAPI_W_NO_SERVICE));
  EXPECT_EQ(MapiStart(), 0);
}

TEST(MapiPassThrough, FailedStartAnswersMinusOne) {
  BoundMapi mapi32;
  EXPECT_CALL(mapi32.functions, initialize(nullptr)).WillOnce(Return(MAPI_E_NOT_INITIALIZED));
  EXPECT_EQ(MapiStart(), -1);
}

TEST(MapiPassThrough, StopAnswersZero) {
  BoundMapi mapi32;
  EXPECT_CALL(mapi32.functions, uninitialize());
  EXPECT_EQ(MapiStop(), 0);
}

}  // namespace
