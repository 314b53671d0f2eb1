// fendrel mapi, and a program that only loads "MAPI32.DLL" after it.
#include <gmock/gmock.h>
#include <windows.h>

#include <array>
#include <optional>

#include "build_paths.h"
#include "fendrel_run.h"
#include "mail_client.h"

namespace fendrel::test {
namespace {

using host::ClientScope;
using testing::HasSubstr;

constexpr wchar_t clientsKey[] = L"Software\\Clients\\Mail";

// The registration of mail programs as a test finds it, put back at its end.
class MapiCommand : public FendrelTest {
 protected:
  MapiCommand() {
    for (HKEY root : roots) {
      saved.push_back(defaultClient(root));
      setDefaultClient(root, L"");
      RegDeleteTreeW(root, (std::wstring(clientsKey) + L"\\Fendrel").c_str());
    }
  }
  ~MapiCommand() override {
    for (std::size_t i = 0; i < roots.size(); ++i) {
      RegDeleteTreeW(roots[i], (std::wstring(clientsKey) + L"\\Fendrel").c_str());
      setDefaultClient(roots[i], saved[i]);
    }
  }

  static std::wstring defaultClient(HKEY root) {
    wchar_t text[256];
    DWORD size = sizeof text;
    return RegGetValueW(root, clientsKey, nullptr, RRF_RT_REG_SZ, nullptr, text, &size) == ERROR_SUCCESS ? text : L"";
  }

  // An empty name: none is set.
  static void setDefaultClient(HKEY root, const std::wstring& name) {
    if (name.empty())
      RegDeleteKeyValueW(root, clientsKey, nullptr);
    else
      RegSetKeyValueW(root, clientsKey, nullptr, REG_SZ, name.c_str(), static_cast<DWORD>((name.size() + 1) * 2));
  }

  static bool isEntryThere(HKEY root) { return entryOf(root).has_value(); }

  static std::optional<std::wstring> entryOf(HKEY root) {
    wchar_t text[1024];
    DWORD size = sizeof text;
    const LSTATUS status = RegGetValueW(root, (std::wstring(clientsKey) + L"\\Fendrel").c_str(), L"DLLPathEx",
                                        RRF_RT_REG_SZ, nullptr, text, &size);
    return status == ERROR_SUCCESS ? std::optional<std::wstring>(text) : std::nullopt;
  }

  // The program that only knows "MAPI32.DLL", on this test's store.
  Outcome bareHost() const { return runProgram(buildFile(L"tests/stub_mapi/bare_mapi_host.exe"), {"jane"}); }

  const std::array<HKEY, 2> roots{HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE};
  std::vector<std::wstring> saved;
};

TEST_F(MapiCommand, ProgramThatOnlyLoadsMapi32GetsTheLocalStore) {
  addJane();
  EXPECT_EQ(bareHost().exitCode, 3) << "nobody is the mail program";
  for (const char* whom : {"user", "machine"}) {
    const Outcome registered = fendrel({"mapi", "register", "--for", whom});
    ASSERT_EQ(registered.exitCode, 0) << registered.err;
    const Outcome run = bareHost();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "Mailbox - Jane Doe\r\nPublic Folders\r\n");
    EXPECT_TRUE(fendrel({"mapi", "status", "--json"}).json()["active"]);
    ASSERT_EQ(fendrel({"mapi", "unregister"}).exitCode, 0);
    EXPECT_EQ(bareHost().exitCode, 3);
    EXPECT_FALSE(fendrel({"mapi", "status", "--json"}).json()["active"]);
  }
}

TEST_F(MapiCommand, DoctorNamesTheRegisteredLibrary) {
  addJane();
  for (const char* whom : {"user", "machine"}) {
    const auto library = fendrel({"mapi", "register", "--for", whom, "--json"}).json()["library"];
    const Outcome run = fendrel({"doctor", "--mapi", "system"});
    EXPECT_THAT(run.out, HasSubstr("of the default mail program 'Fendrel'")) << whom;
    EXPECT_THAT(run.out, HasSubstr(library.get<std::string>())) << whom;
    ASSERT_EQ(fendrel({"mapi", "unregister"}).exitCode, 0);
  }
}

TEST_F(MapiCommand, RegisteredLibraryIsTheOneBesideTheProgram) {
  const auto document = fendrel({"mapi", "register", "--json"}).json();
  EXPECT_EQ(document["registered"], "machine") << "where that is allowed";
  EXPECT_EQ(defaultClient(HKEY_LOCAL_MACHINE), L"Fendrel");
  const auto library = entryOf(HKEY_LOCAL_MACHINE);
  ASSERT_TRUE(library.has_value());
  EXPECT_EQ(utf8(*library), document["library"]);
  EXPECT_NE(GetFileAttributesW(library->c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_FALSE(isEntryThere(HKEY_CURRENT_USER));
}

TEST_F(MapiCommand, OtherMailProgramKeepsItsPlaceUnlessForced) {
  setDefaultClient(HKEY_LOCAL_MACHINE, L"Other Mail");
  for (const char* whom : {"user", "machine"}) {
    const Outcome refused = fendrel({"mapi", "register", "--for", whom});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, HasSubstr("'Other Mail' is the mail program"));
    EXPECT_THAT(refused.err, HasSubstr("--force"));
  }
  EXPECT_EQ(defaultClient(HKEY_LOCAL_MACHINE), L"Other Mail");
  EXPECT_FALSE(isEntryThere(HKEY_LOCAL_MACHINE) || isEntryThere(HKEY_CURRENT_USER));
  ASSERT_EQ(fendrel({"mapi", "register", "--for", "machine", "--force"}).exitCode, 0);
  EXPECT_EQ(defaultClient(HKEY_LOCAL_MACHINE), L"Fendrel");
}

TEST_F(MapiCommand, UnregisteringPutsBackWhatStoodThere) {
  setDefaultClient(HKEY_LOCAL_MACHINE, L"Other Mail");
  for (int time = 0; time < 2; ++time)  // registered twice, it must not save itself as the previous default
    ASSERT_EQ(fendrel({"mapi", "register", "--for", "machine", "--force"}).exitCode, 0);
  ASSERT_EQ(fendrel({"mapi", "register", "--for", "user"}).exitCode, 0);
  const Outcome taken = fendrel({"mapi", "unregister"});
  EXPECT_EQ(taken.exitCode, 0) << taken.err;
  EXPECT_THAT(taken.out, HasSubstr("the mail program is 'Other Mail'"));
  EXPECT_EQ(defaultClient(HKEY_LOCAL_MACHINE), L"Other Mail");
  EXPECT_EQ(defaultClient(HKEY_CURRENT_USER), L"");
  EXPECT_FALSE(isEntryThere(HKEY_LOCAL_MACHINE) || isEntryThere(HKEY_CURRENT_USER));
  EXPECT_EQ(fendrel({"mapi", "unregister"}).out, "Nothing was registered.\n");
}

TEST_F(MapiCommand, MailProgramThatCameMeanwhileStays) {
  ASSERT_EQ(fendrel({"mapi", "register", "--for", "machine"}).exitCode, 0);
  setDefaultClient(HKEY_LOCAL_MACHINE, L"Newer Mail");
  EXPECT_FALSE(fendrel({"mapi", "status", "--json"}).json()["active"]);
  ASSERT_EQ(fendrel({"mapi", "unregister"}).exitCode, 0);
  EXPECT_EQ(defaultClient(HKEY_LOCAL_MACHINE), L"Newer Mail");
  EXPECT_FALSE(isEntryThere(HKEY_LOCAL_MACHINE));
}

TEST_F(MapiCommand, UsersOwnMailProgramGoesBeforeTheMachines) {
  setDefaultClient(HKEY_CURRENT_USER, L"My Mail");
  EXPECT_EQ(fendrel({"mapi", "register", "--for", "machine"}).exitCode, 1);
  const Outcome forced = fendrel({"mapi", "register", "--for", "machine", "--force"});
  EXPECT_EQ(forced.exitCode, 0) << forced.err;
  EXPECT_THAT(forced.out, HasSubstr("another mail program"));
  const auto status = fendrel({"mapi", "status", "--json"}).json();
  EXPECT_FALSE(status["active"]);
  EXPECT_EQ(status["user"]["default"], "My Mail");
  EXPECT_EQ(status["machine"]["default"], "Fendrel");
}

TEST_F(MapiCommand, StatusTellsOfALibraryThatIsGone) {
  ASSERT_TRUE(host::registerClient(ClientScope::user, L"C:\\gone\\MAPI32.DLL"));
  EXPECT_THAT(fendrel({"mapi", "status"}).out, HasSubstr("'C:\\gone\\MAPI32.DLL', which is not there"));
  EXPECT_FALSE(fendrel({"mapi", "status", "--json"}).json()["user"]["libraryIsThere"]);
}

}  // namespace
}  // namespace fendrel::test
