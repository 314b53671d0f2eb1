// MAPILogonEx, with its dialog.
#include <vector>

#include "dialog_user.h"
#include "store_fixture.h"

namespace {

struct LogonTest : StoreTest {
  HRESULT tryLogon(const wchar_t* profile, const wchar_t* password, ULONG flags = 0) {
    return mapi().logonEx(0, wide(profile), wide(password), flags | MAPI_UNICODE | MAPI_NEW_SESSION,
                          session.ReleaseAndGetAddressOf());
  }
  ComPtr<IMAPISession> session;
};

TEST_F(LogonTest, AProfileWithoutPasswordOpensWithNoneOrAny) {
  EXPECT_THAT(tryLogon(L"Anna", nullptr), Gives(S_OK));
  EXPECT_THAT(tryLogon(L"Anna", L""), Gives(S_OK));
  EXPECT_THAT(tryLogon(L"Anna", L"superfluous"), Gives(S_OK));
}

TEST_F(LogonTest, ThePasswordMustBeRight) {
  createProfile(L"Bernd", L"Pa\u00DFwort");
  EXPECT_THAT(tryLogon(L"Bernd", L"Pa\u00DFwort"), Gives(S_OK));
  EXPECT_THAT(tryLogon(L"Bernd", L"Passwort"), Gives(MAPI_E_LOGON_FAILED));
  EXPECT_THAT(tryLogon(L"Bernd", L""), Gives(MAPI_E_LOGON_FAILED));
  EXPECT_THAT(tryLogon(L"Bernd", nullptr), Gives(MAPI_E_LOGON_FAILED));
  EXPECT_EQ(session, nullptr);
}

TEST_F(LogonTest, WrongPasswordsAreAnsweredLaterAndLater) {
  createProfile(L"Bernd", L"secret");
  const auto wrongTry = [&] {
    const auto start = GetTickCount64();
    EXPECT_THAT(tryLogon(L"Bernd", L"guess"), Gives(MAPI_E_LOGON_FAILED));
    return GetTickCount64() - start;
  };
  EXPECT_GE(wrongTry(), 980u);  // the clock ticks in steps
  EXPECT_GE(wrongTry(), 1980u);
  EXPECT_THAT(tryLogon(L"Bernd", L"secret"), Gives(S_OK));
}

TEST_F(LogonTest, WrongTriesOfOthersDelayTheRightPasswordByAFewSecondsAtMost) {
  createProfile(L"Bernd", L"secret");
  const auto before = GetTickCount64();
  EXPECT_THAT(tryLogon(L"Bernd", L"secret"), Gives(S_OK));
  const auto alone = GetTickCount64() - before;
  constexpr unsigned others = 4;
  std::atomic<bool> stop{false};
  std::atomic<unsigned> tried{0};
  std::vector<std::jthread> guessing;
  for (unsigned i = 0; i < others; ++i) {
    guessing.emplace_back([&] {
      while (!stop) {
        ComPtr<IMAPISession> own;
        mapi().logonEx(0, wide(L"Bernd"), wide(L"guess"), MAPI_UNICODE | MAPI_NEW_SESSION, own.GetAddressOf());
        ++tried;
      }
    });
  }
  while (tried < others) Sleep(10);
  const auto start = GetTickCount64();
  EXPECT_THAT(tryLogon(L"Bernd", L"secret"), Gives(S_OK));
  const auto waited = GetTickCount64() - start;
  stop = true;
  EXPECT_LT(waited, 4000u + 4 * (others + 1) * alone) << "alone it took " << alone;
}

TEST_F(LogonTest, NameAndPasswordAreTakenIn8BitFormToo) {
  createProfile(L"Bernd", L"secret");
  EXPECT_THAT(mapi().logonEx(0, ansi("Bernd"), ansi("secret"), MAPI_EXTENDED, session.GetAddressOf()), Gives(S_OK));
}

TEST_F(LogonTest, AnUnknownProfileIsALogonFailure) {
  EXPECT_THAT(tryLogon(L"Nobody", nullptr), Gives(MAPI_E_LOGON_FAILED));
}

TEST_F(LogonTest, NoNameAndNoDialogIsALogonFailure) {
  EXPECT_THAT(tryLogon(nullptr, nullptr), Gives(MAPI_E_LOGON_FAILED));
  EXPECT_THAT(tryLogon(L"", nullptr), Gives(MAPI_E_LOGON_FAILED));
}

TEST_F(LogonTest, TheDefaultProfileNeedsNoName) {
  createProfile(L"Bernd");
  ASSERT_THAT(tryLogon(nullptr, nullptr, MAPI_USE_DEFAULT), Gives(S_OK));
  EXPECT_NE(openStore(*session.Get(), L"Mailbox - Anna"), nullptr);
}

TEST_F(LogonTest, TheStoreFileIsAskedForAnewAtEachLogon) {
  const std::wstring other = folder.file(L"other.db");
  SetEnvironmentVariableW(L"FENDREL_STORE", other.c_str());
  EXPECT_THAT(tryLogon(L"Anna", nullptr), Gives(MAPI_E_LOGON_FAILED));
  createProfile(L"Anna");
  EXPECT_THAT(tryLogon(L"Anna", nullptr), Gives(S_OK));
  EXPECT_NE(GetFileAttributesW(other.c_str()), INVALID_FILE_ATTRIBUTES);
}

// The user's own places, where a store may be in use: what is there is put aside for the test. (The tests of this suite
// run one at a time.)
class StorePlaces {
 public:
  StorePlaces() : local(placeOf(L"LOCALAPPDATA")), roaming(placeOf(L"APPDATA")) {
    SetEnvironmentVariableW(L"FENDREL_STORE", nullptr);
    for (const auto& place : {local, roaming}) {
      if (std::filesystem::exists(place)) std::filesystem::rename(place, aside(place));
    }
  }
  ~StorePlaces() {
    std::error_code error;
    for (const auto& place : {local, roaming}) {
      std::filesystem::remove_all(place, error);
      if (std::filesystem::exists(aside(place))) std::filesystem::rename(aside(place), place, error);
    }
  }
  StorePlaces(const StorePlaces&) = delete;
  StorePlaces& operator=(const StorePlaces&) = delete;

  static void use() {
    ComPtr<IProfAdmin> admin;
    ASSERT_THAT(mapi().adminProfiles(0, admin.GetAddressOf()), Gives(S_OK));
  }

  const std::filesystem::path local, roaming;

 private:
  static std::filesystem::path placeOf(const wchar_t* variable) {
    wchar_t data[MAX_PATH] = {};
    EXPECT_NE(GetEnvironmentVariableW(variable, data, MAX_PATH), 0u);
    return std::filesystem::path(data) / L"Fendrel";
  }
  static std::filesystem::path aside(std::filesystem::path place) { return place += L" put aside by a test"; }
};

TEST_F(LogonTest, WithoutTheVariableTheFileIsInTheLocalApplicationData) {
  const StorePlaces places;
  StorePlaces::use();
  EXPECT_TRUE(std::filesystem::exists(places.local / L"store.db"));
  EXPECT_FALSE(std::filesystem::exists(places.roaming / L"store.db"));
}

TEST_F(LogonTest, StoreThatAnEarlierProgramMadeIsUsedOn) {
  const StorePlaces places;
  StorePlaces::use();
  std::filesystem::create_directories(places.roaming);
  std::filesystem::rename(places.local / L"store.db", places.roaming / L"store.db");
  StorePlaces::use();
  EXPECT_FALSE(std::filesystem::exists(places.local / L"store.db"));
}

TEST_F(LogonTest, AFileThatIsNoStoreIsCorrupt) {
  const std::wstring path = folder.file(L"text.db");
  FILE* file = _wfopen(path.c_str(), L"wb");
  ASSERT_NE(file, nullptr);
  for (int line = 0; line < 2000; ++line) std::fputs("This is a text and no message store.\r\n", file);
  std::fclose(file);
  SetEnvironmentVariableW(L"FENDREL_STORE", path.c_str());
  EXPECT_THAT(tryLogon(L"Anna", nullptr), Gives(MAPI_E_CORRUPT_DATA));
}

class LogonDialogTest : public LogonTest {};

TEST_F(LogonDialogTest, TheDialogOffersTheDefaultProfileFirst) {
  createProfile(L"Bernd");
  DialogUser user([](HWND window) { press(window, IDOK); });
  ASSERT_THAT(tryLogon(nullptr, nullptr, MAPI_LOGON_UI), Gives(S_OK));
  EXPECT_NE(openStore(*session.Get(), L"Mailbox - Anna"), nullptr);
}

TEST_F(LogonDialogTest, TheDialogLogsOnToTheChosenProfile) {
  createProfile(L"Bernd");
  DialogUser user([](HWND window) {
    choose(window, L"Bernd");
    press(window, IDOK);
  });
  ASSERT_THAT(tryLogon(nullptr, nullptr, MAPI_LOGON_UI), Gives(S_OK));
  EXPECT_NE(openStore(*session.Get(), L"Mailbox - Bernd"), nullptr);
}

TEST_F(LogonDialogTest, CancellingTheDialogIsAUserCancel) {
  DialogUser user([](HWND window) { press(window, IDCANCEL); });
  EXPECT_THAT(tryLogon(nullptr, nullptr, MAPI_LOGON_UI), Gives(MAPI_E_USER_CANCEL));
  EXPECT_EQ(session, nullptr);
}

TEST_F(LogonDialogTest, TheDialogStaysAndSaysSoWhenThePasswordIsWrong) {
  createProfile(L"Bernd", L"secret");
  std::wstring said;
  bool asked = false, askedForAnna = true;
  {
    DialogUser user([&](HWND window) {
      askedForAnna = IsWindowEnabled(GetDlgItem(window, passwordField)) != FALSE;
      choose(window, L"Bernd");
      asked = IsWindowEnabled(GetDlgItem(window, passwordField)) != FALSE;
      SetDlgItemTextW(window, passwordField, L"guess");
      press(window, IDOK);
      said = itemText(window, statusLine);
      SetDlgItemTextW(window, passwordField, L"secret");
      press(window, IDOK);
    });
    EXPECT_THAT(tryLogon(nullptr, nullptr, MAPI_LOGON_UI), Gives(S_OK));
  }
  EXPECT_FALSE(askedForAnna);
  EXPECT_TRUE(asked);
  EXPECT_THAT(said, testing::HasSubstr(L"password is wrong"));
}

TEST_F(LogonDialogTest, ANamedProfileNeedsNoDialog) {
  EXPECT_THAT(tryLogon(L"Anna", nullptr, MAPI_LOGON_UI), Gives(S_OK));
}

}  // namespace
