// The strings that a failed logon loads. Its job is destroyed before the host could read the error text.
#include "abi_test.h"
#include "import_hook.h"

namespace fendrel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<UINT> g_asked;

int WINAPI noteString(HINSTANCE module, UINT id, wchar_t* buffer, int size) {
  g_asked.push_back(id);
  return LoadStringW(module, id, buffer, size);
}

class LogonWords : public JobTest {
 protected:
  // The strings that a set-up loads when this call fails.
  std::vector<UINT> askedWhenFails(const char* call, HRESULT failure) {
    rebuildWorld();
    unmatchedInitialisations = 0;
    mapi.fail(call, 1, failure);
    const ImportHook hook("USER32.dll", "LoadStringW", &noteString, plugin().module());
    g_asked.clear();
    FileList files{L"report.txt"};
    DestinationOptions options = unpackedOptions(L"Default", L"", L"Public Folders");
    EXPECT_NE(tryToOpen(&options, files), FENDREL_SUCCESS);
    return g_asked;
  }
};

TEST_F(LogonWords, AreString11WhenTheProfileCannotBeLoggedOnTo) {
  EXPECT_THAT(askedWhenFails("MAPILogonEx", MAPI_E_LOGON_FAILED), ElementsAre(11));
  EXPECT_THAT(askedWhenFails("MAPILogonEx", MAPI_E_CALL_FAILED), ElementsAre(11));
}

TEST_F(LogonWords, AreString12WhenTheProfilesNameCannotBeRead) {
  EXPECT_THAT(askedWhenFails("IMAPISession::GetStatusTable", MAPI_E_CALL_FAILED), ElementsAre(12));
  EXPECT_THAT(askedWhenFails("IMAPITable::QueryRows", MAPI_E_NO_ACCESS), ElementsAre(13, 12));
}

TEST_F(LogonWords, AreNoneWhereTheCodeSaysEnough) {
  EXPECT_THAT(askedWhenFails("MAPILogonEx", MAPI_E_USER_CANCEL), IsEmpty());
  EXPECT_THAT(askedWhenFails("IMAPISession::GetStatusTable", MAPI_E_NOT_ENOUGH_MEMORY), IsEmpty());
}

}  // namespace
}  // namespace fendrel::test
