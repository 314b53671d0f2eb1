#include "error_words.h"

#include <fendrel/fendrel.h>
#include <gtest/gtest.h>
#include <mapicode.h>
#include <mapidefs.h>

#include "failure.h"

namespace fendrel::host {
namespace {

TEST(ErrorWords, MessageNamesThingCauseCodeAndWayOut) {
  const Failure failure = failureOf(ExitCode::folderRefused, "Folder 'Invoices' refused the message", MAPI_E_NO_ACCESS,
                                    "Ask its owner or choose another folder.");
  EXPECT_STREQ(failure.what(),
               "Folder 'Invoices' refused the message: no right to do this (MAPI_E_NO_ACCESS, 0x80070005). "
               "Ask its owner or choose another folder.");
  EXPECT_EQ(failure.exitCode(), ExitCode::folderRefused);
  EXPECT_EQ(failure.code(), MAPI_E_NO_ACCESS);
}

TEST(ErrorWords, UnknownCodeIsShownAsANumber) {
  EXPECT_EQ(describeError(static_cast<HRESULT>(0x80049999)), "error 0x80049999");
  EXPECT_EQ(errorName(static_cast<HRESULT>(0x80049999)), "0x80049999");
}

TEST(ErrorWords, SystemCodeHasTheSystemsWords) {
  EXPECT_NE(describeError(HRESULT_FROM_WIN32(ERROR_INVALID_NAME)).find("(0x8007007B)"), std::string::npos);
}

struct PluginCase {
  std::uint32_t code;
  const wchar_t* text;
  HRESULT meaning;
};
void PrintTo(const PluginCase& each, std::ostream* out) { *out << "code " << each.code; }

class PluginAnswer : public testing::TestWithParam<PluginCase> {};

TEST_P(PluginAnswer, IsUnderstood) {
  const PluginTexts translated{L"Kein Zugriff.", L"Nicht gefunden.", L"Nicht unterst\u00FCtzt."};
  EXPECT_EQ(pluginFailure(GetParam().code, GetParam().text, translated), GetParam().meaning);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, PluginAnswer,
    testing::Values(PluginCase{FENDREL_SUCCESS, L"", S_OK}, PluginCase{FENDREL_OUT_OF_MEMORY, L"", MAPI_E_NOT_ENOUGH_MEMORY},
                    PluginCase{FENDREL_NOT_ENOUGH_DISK, L"", MAPI_E_NOT_ENOUGH_DISK},
                    PluginCase{FENDREL_INVALID_ARGUMENT, L"", MAPI_E_INVALID_PARAMETER},
                    PluginCase{FENDREL_CANCELLED, L"", MAPI_E_USER_CANCEL},
                    PluginCase{FENDREL_FAILED, L"MAPI object not found.", MAPI_E_NOT_FOUND},
                    PluginCase{FENDREL_FAILED, L"Nicht gefunden.", MAPI_E_NOT_FOUND},
                    PluginCase{FENDREL_FAILED, L"Kein Zugriff.", MAPI_E_NO_ACCESS},
                    PluginCase{FENDREL_FAILED, L"MAPI_E_CALL_FAILED", MAPI_E_CALL_FAILED},
                    PluginCase{FENDREL_FAILED, L"MAPI_E_CORRUPT_DATA", MAPI_E_CORRUPT_DATA},
                    PluginCase{FENDREL_FAILED, L"MAPI_E_INVALID_PARAMETER", MAPI_E_INVALID_PARAMETER},
                    PluginCase{FENDREL_FAILED, L"MAPI Error: Fail on provider.", MAPI_E_FAILONEPROVIDER},
                    PluginCase{FENDREL_FAILED, L"Error code 0x80040401 returned.", MAPI_E_TIMEOUT},
                    PluginCase{FENDREL_FAILED, L"Something else.", S_OK}, PluginCase{FENDREL_FAILED, L"", S_OK}));

TEST(ErrorWords, ExitCodeTellsRefusalFromFailureAndCancelling) {
  EXPECT_EQ(folderExitCode(MAPI_E_NO_ACCESS), ExitCode::folderRefused);
  EXPECT_EQ(folderExitCode(MAPI_E_NOT_FOUND), ExitCode::folderRefused);
  EXPECT_EQ(folderExitCode(MAPI_E_USER_CANCEL), ExitCode::cancelled);
  EXPECT_EQ(folderExitCode(MAPI_E_NOT_ENOUGH_DISK), ExitCode::failed);
}

}  // namespace
}  // namespace fendrel::host
