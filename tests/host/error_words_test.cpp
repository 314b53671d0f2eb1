#include "error_words.h"

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

TEST(ErrorWords, ExitCodeTellsRefusalFromFailureAndCancelling) {
  EXPECT_EQ(folderExitCode(MAPI_E_NO_ACCESS), ExitCode::folderRefused);
  EXPECT_EQ(folderExitCode(MAPI_E_NOT_FOUND), ExitCode::folderRefused);
  EXPECT_EQ(folderExitCode(MAPI_E_USER_CANCEL), ExitCode::cancelled);
  EXPECT_EQ(folderExitCode(MAPI_E_NOT_ENOUGH_DISK), ExitCode::failed);
}

}  // namespace
}  // namespace fendrel::host
