// Profile administration.
#include <fendrel/server_profile.h>

#include <fstream>
#include <iterator>

#include "store_fixture.h"

#ifndef PR_MAILBOX_OWNER_NAME_W
#define PR_MAILBOX_OWNER_NAME_W PROP_TAG(PT_UNICODE, 0x661B)
#endif

namespace {

using testing::ElementsAre;

struct ProfilesTest : StoreTest {
  ProfilesTest() { EXPECT_EQ(mapi().adminProfiles(0, admin.GetAddressOf()), S_OK); }

  std::vector<std::wstring> names() {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(admin->GetProfileTable(0, table.GetAddressOf()), S_OK);
    return column(*table.Get(), PR_DISPLAY_NAME_W);
  }

  std::wstring defaultProfile() {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(admin->GetProfileTable(0, table.GetAddressOf()), S_OK);
    SPropValue truth = boolValue(PR_DEFAULT_PROFILE, true);
    SRestriction isDefault{};
    isDefault.rt = RES_PROPERTY;
    isDefault.res.resProperty = {RELOP_EQ, PR_DEFAULT_PROFILE, &truth};
    const auto found = column(*table.Get(), PR_DISPLAY_NAME_W, &isDefault);
    return found.size() == 1 ? found.front() : L"(not one)";
  }

  ComPtr<IProfSect> section(const wchar_t* profile, const wchar_t* password, ULONG flags) {
    ComPtr<IMsgServiceAdmin> services;
    EXPECT_EQ(admin->AdminServices(wide(profile), wide(password), 0, MAPI_UNICODE, services.GetAddressOf()), S_OK);
    ComPtr<IProfSect> opened;
    MAPIUID instance = reinterpret_cast<const MAPIUID&>(MUID_PROFILE_INSTANCE);
    EXPECT_EQ(services->OpenProfileSection(&instance, nullptr, flags, opened.GetAddressOf()), S_OK);
    return opened;
  }

  ComPtr<IProfAdmin> admin;
};

TEST_F(ProfilesTest, CreatedProfilesAreListed) {
  EXPECT_THAT(admin->CreateProfile(wide(L"Bernd"), nullptr, 0, MAPI_UNICODE), Gives(S_OK));
  EXPECT_THAT(names(), ElementsAre(L"Anna", L"Bernd"));
}

TEST_F(ProfilesTest, NamesAreTakenIn8BitFormToo) {
  EXPECT_THAT(admin->CreateProfile(ansi("Bernd"), nullptr, 0, 0), Gives(S_OK));
  EXPECT_THAT(names(), ElementsAre(L"Anna", L"Bernd"));
}

TEST_F(ProfilesTest, ATakenNameIsRefusedAsPublished) {
  EXPECT_THAT(admin->CreateProfile(wide(L"Anna"), nullptr, 0, MAPI_UNICODE), Gives(MAPI_E_NO_ACCESS));
  EXPECT_THAT(names(), ElementsAre(L"Anna"));
}

TEST_F(ProfilesTest, AnEmptyOrOverlongNameIsRefused) {
  EXPECT_THAT(admin->CreateProfile(wide(L""), nullptr, 0, MAPI_UNICODE), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(admin->CreateProfile(nullptr, nullptr, 0, MAPI_UNICODE), Gives(MAPI_E_INVALID_PARAMETER));
  const std::wstring tooLong(65, L'x');
  EXPECT_THAT(admin->CreateProfile(wide(tooLong.c_str()), nullptr, 0, MAPI_UNICODE), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(ProfilesTest, ADeletedProfileIsGone) {
  createProfile(L"Bernd");
  EXPECT_THAT(admin->DeleteProfile(wide(L"Anna"), MAPI_UNICODE), Gives(S_OK));
  EXPECT_THAT(names(), ElementsAre(L"Bernd"));
  EXPECT_THAT(admin->DeleteProfile(wide(L"Anna"), MAPI_UNICODE), Gives(MAPI_E_NOT_FOUND));
}

TEST_F(ProfilesTest, TheFirstProfileIsTheDefaultUntilAnotherIsMade) {
  createProfile(L"Bernd");
  EXPECT_EQ(defaultProfile(), L"Anna");
  EXPECT_THAT(admin->SetDefaultProfile(wide(L"Bernd"), MAPI_UNICODE), Gives(S_OK));
  EXPECT_EQ(defaultProfile(), L"Bernd");
  EXPECT_THAT(admin->SetDefaultProfile(wide(L"Nobody"), MAPI_UNICODE), Gives(MAPI_E_NOT_FOUND));
}

TEST_F(ProfilesTest, TheUsersNameIsTheProfilesUntilItIsSet) {
  auto own = section(L"Anna", nullptr, MAPI_MODIFY);
  EXPECT_EQ(text(*own.Get(), PR_PROFILE_NAME_W), L"Anna");
  EXPECT_EQ(text(*own.Get(), PR_DISPLAY_NAME_W), L"Anna");
  EXPECT_EQ(text(*own.Get(), PR_MAILBOX_OWNER_NAME_W), L"Anna");

  SPropValue user = textValue(PR_MAILBOX_OWNER_NAME_W, L"Anna Fischer");
  EXPECT_THAT(own->SetProps(1, &user, nullptr), Gives(S_OK));

  EXPECT_EQ(text(*section(L"Anna", nullptr, 0).Get(), PR_MAILBOX_OWNER_NAME_W), L"Anna Fischer");
  ComPtr<IMAPITable> stores;
  ASSERT_EQ(logon()->GetMsgStoresTable(0, stores.GetAddressOf()), S_OK);
  EXPECT_THAT(column(*stores.Get(), PR_DISPLAY_NAME_W), ElementsAre(L"Mailbox - Anna Fischer", L"Public Folders"));
}

TEST_F(ProfilesTest, ASectionOpenedForReadingCannotBeWritten) {
  SPropValue user = textValue(PR_MAILBOX_OWNER_NAME_W, L"Somebody");
  EXPECT_THAT(section(L"Anna", nullptr, 0)->SetProps(1, &user, nullptr), Gives(MAPI_E_NO_ACCESS));
}

TEST_F(ProfilesTest, TheProfilesOwnNameIsNotSetThroughItsSection) {
  SPropValue other = textValue(PR_PROFILE_NAME_W, L"Other");
  Block<SPropProblemArray> problems;
  EXPECT_THAT(section(L"Anna", nullptr, MAPI_MODIFY)->SetProps(1, &other, receive(problems)), Gives(S_OK));
  ASSERT_NE(problems, nullptr);
  EXPECT_THAT(problems->aProblem[0].scode, Gives(MAPI_E_NO_ACCESS));
  EXPECT_THAT(names(), ElementsAre(L"Anna"));
}

TEST_F(ProfilesTest, AdministeringAProfileNeedsItsPassword) {
  createProfile(L"Bernd", L"secret");
  ComPtr<IMsgServiceAdmin> services;
  EXPECT_THAT(admin->AdminServices(wide(L"Bernd"), wide(L"wrong"), 0, MAPI_UNICODE, services.GetAddressOf()),
              Gives(MAPI_E_LOGON_FAILED));
  EXPECT_THAT(admin->AdminServices(wide(L"Bernd"), wide(L"secret"), 0, MAPI_UNICODE, services.GetAddressOf()),
              Gives(S_OK));
  EXPECT_THAT(admin->AdminServices(wide(L"Nobody"), nullptr, 0, MAPI_UNICODE, services.GetAddressOf()),
              Gives(MAPI_E_NOT_FOUND));
}

TEST_F(ProfilesTest, APasswordChangesWithTheOldOneAlone) {
  createProfile(L"Bernd", L"old");
  EXPECT_THAT(admin->ChangeProfilePassword(wide(L"Bernd"), wide(L"guess"), wide(L"new"), MAPI_UNICODE),
              Gives(MAPI_E_LOGON_FAILED));
  EXPECT_THAT(admin->ChangeProfilePassword(wide(L"Bernd"), wide(L"old"), wide(L"new"), MAPI_UNICODE), Gives(S_OK));
  ComPtr<IMAPISession> session;
  EXPECT_THAT(mapi().logonEx(0, wide(L"Bernd"), wide(L"old"), MAPI_UNICODE, session.GetAddressOf()),
              Gives(MAPI_E_LOGON_FAILED));
  EXPECT_THAT(mapi().logonEx(0, wide(L"Bernd"), wide(L"new"), MAPI_UNICODE, session.GetAddressOf()), Gives(S_OK));
}

TEST_F(ProfilesTest, ARenamedProfileKeepsItsMailbox) {
  post(*openSubtree(*openStore(*logon().Get(), L"Mailbox").Get()).Get(), L"kept");
  EXPECT_THAT(admin->RenameProfile(wide(L"Anna"), nullptr, wide(L"Berta"), 0, MAPI_UNICODE), Gives(S_OK));
  EXPECT_THAT(names(), ElementsAre(L"Berta"));
  EXPECT_THAT(subjects(*openSubtree(*openStore(*logon(L"Berta").Get(), L"Mailbox").Get()).Get()), ElementsAre(L"kept"));
}

TEST_F(ProfilesTest, ThePasswordItselfIsNotInTheFile) {
  createProfile(L"Bernd", L"Hummelhonig-4711");
  admin.Reset();
  const std::string wide("H\0u\0m\0m\0e\0l\0h\0o\0n\0i\0g\0", 22);
  std::string content;
  for (const wchar_t* file : {L"store.db", L"store.db-wal"}) {
    FILE* opened = _wfopen(folder.file(file).c_str(), L"rb");
    if (!opened) continue;
    char piece[4096];
    for (std::size_t count; (count = std::fread(piece, 1, sizeof piece, opened)) > 0;) content.append(piece, count);
    std::fclose(opened);
  }
  ASSERT_NE(content.find("Bernd"), std::string::npos) << "the profile itself is there";
  EXPECT_EQ(content.find("Hummelhonig"), std::string::npos);
  EXPECT_EQ(content.find(wide), std::string::npos);
}

TEST_F(ProfilesTest, ACopyHasTheSameUserAndPasswordAndAMailboxOfItsOwn) {
  createProfile(L"Bernd", L"secret");
  EXPECT_THAT(admin->CopyProfile(wide(L"Bernd"), wide(L"guess"), wide(L"Copy"), 0, MAPI_UNICODE),
              Gives(MAPI_E_LOGON_FAILED));
  ASSERT_THAT(admin->CopyProfile(wide(L"Bernd"), wide(L"secret"), wide(L"Copy"), 0, MAPI_UNICODE), Gives(S_OK));
  EXPECT_THAT(names(), ElementsAre(L"Anna", L"Bernd", L"Copy"));
  EXPECT_THAT(admin->CopyProfile(wide(L"Bernd"), wide(L"secret"), wide(L"Copy"), 0, MAPI_UNICODE),
              Gives(MAPI_E_NO_ACCESS));
  EXPECT_THAT(admin->CopyProfile(wide(L"Nobody"), nullptr, wide(L"Other"), 0, MAPI_UNICODE), Gives(MAPI_E_NOT_FOUND));
  const auto mailboxOf = [&](const wchar_t* profile) {
    ComPtr<IMAPISession> session;
    EXPECT_THAT(
        mapi().logonEx(0, wide(profile), wide(L"secret"), MAPI_UNICODE | MAPI_NEW_SESSION, session.GetAddressOf()),
        Gives(S_OK));
    return binary(*openStore(*session.Get(), L"Mailbox - Bernd").Get(), PR_RECORD_KEY);
  };
  EXPECT_NE(mailboxOf(L"Copy"), mailboxOf(L"Bernd"));
  EXPECT_EQ(defaultProfile(), L"Anna");
}

struct ServicesTest : ProfilesTest {
  ComPtr<IMsgServiceAdmin> servicesOf(const wchar_t* profile, IProfAdmin& through) {
    ComPtr<IMsgServiceAdmin> services;
    EXPECT_EQ(through.AdminServices(wide(profile), nullptr, 0, MAPI_UNICODE, services.GetAddressOf()), S_OK);
    return services;
  }
};

TEST_F(ServicesTest, AProfileHasOneServiceWithOneProvider) {
  auto services = servicesOf(L"Anna", *admin.Get());
  ComPtr<IMAPITable> table, providers;
  ASSERT_THAT(services->GetMsgServiceTable(MAPI_UNICODE, table.GetAddressOf()), Gives(S_OK));
  Tags columns{PR_SERVICE_UID, PR_SERVICE_NAME_W, PR_DISPLAY_NAME_W};
  Rows rows;
  ASSERT_EQ(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 1u);
  const Bytes uid = bytesOf(rows->aRow[0].lpProps[0]);
  EXPECT_EQ(uid.size(), 16u);
  EXPECT_STREQ(rows->aRow[0].lpProps[1].Value.lpszW, L"FENDREL");
  ASSERT_THAT(services->GetProviderTable(MAPI_UNICODE, providers.GetAddressOf()), Gives(S_OK));
  Tags providerColumns{PR_SERVICE_UID, PR_PROVIDER_UID, PR_RESOURCE_TYPE};
  ASSERT_EQ(mapi().hrQueryAllRows(providers.Get(), providerColumns, nullptr, nullptr, 0, receive(rows)), S_OK);
  ASSERT_EQ(rows->cRows, 1u);
  EXPECT_EQ(bytesOf(rows->aRow[0].lpProps[0]), uid);
  EXPECT_EQ(bytesOf(rows->aRow[0].lpProps[1]), binary(*openStore(*logon().Get(), L"Mailbox").Get(), PR_MDB_PROVIDER));
  EXPECT_EQ(rows->aRow[0].lpProps[2].Value.l, static_cast<LONG>(MAPI_STORE_PROVIDER));
}

TEST_F(ServicesTest, ARefusedServiceLeavesNoProfileThatWasMadeForIt) {
  ASSERT_EQ(admin->CreateProfile(wide(L"Exchange"), wide(L"secret"), 0, MAPI_UNICODE), S_OK);
  ComPtr<IMsgServiceAdmin> services;
  ASSERT_EQ(admin->AdminServices(wide(L"Exchange"), wide(L"secret"), 0, MAPI_UNICODE, services.GetAddressOf()), S_OK);
  EXPECT_THAT(services->CreateMsgService(ansi("MSEMS"), ansi("Exchange"), 0, 0), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(names(), ElementsAre(L"Anna"));
  ComPtr<IMAPITable> table;
  EXPECT_THAT(services->GetMsgServiceTable(0, table.GetAddressOf()), Gives(MAPI_E_NOT_FOUND));
}

TEST_F(ServicesTest, ARefusedServiceLeavesProfilesThatWereThere) {
  EXPECT_THAT(servicesOf(L"Anna", *admin.Get())->CreateMsgService(ansi("MSEMS"), nullptr, 0, 0),
              Gives(MAPI_E_NO_SUPPORT));
  ASSERT_EQ(admin->CreateProfile(wide(L"Bernd"), nullptr, 0, MAPI_UNICODE), S_OK);
  ComPtr<IProfAdmin> another;
  ASSERT_EQ(mapi().adminProfiles(0, another.GetAddressOf()), S_OK);
  EXPECT_THAT(servicesOf(L"Bernd", *another.Get())->CreateMsgService(ansi("MSEMS"), nullptr, 0, 0),
              Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(names(), ElementsAre(L"Anna", L"Bernd"));
}

TEST_F(ServicesTest, TheServiceThatEveryProfileHasIsAccepted) {
  ASSERT_EQ(admin->CreateProfile(wide(L"Bernd"), nullptr, 0, MAPI_UNICODE), S_OK);
  EXPECT_THAT(servicesOf(L"Bernd", *admin.Get())->CreateMsgService(ansi("Fendrel"), nullptr, 0, 0), Gives(S_OK));
  EXPECT_THAT(names(), ElementsAre(L"Anna", L"Bernd"));
}

struct ServerProfileTest : ServicesTest {
  ServerProfileTest() { EXPECT_EQ(admin->CreateProfile(wide(L"team"), nullptr, 0, MAPI_UNICODE), S_OK); }

  HRESULT configure(std::vector<SPropValue> values) {
    services = servicesOf(L"team", *admin.Get());
    ComPtr<IMAPITable> table;
    EXPECT_EQ(services->GetMsgServiceTable(MAPI_UNICODE, table.GetAddressOf()), S_OK);
    Block<SRowSet> rows;
    Tags column{PR_SERVICE_UID};
    EXPECT_EQ(mapi().hrQueryAllRows(table.Get(), column, nullptr, nullptr, 0, receive(rows)), S_OK);
    MAPIUID uid;
    std::memcpy(&uid, rows->aRow[0].lpProps[0].Value.bin.lpb, sizeof uid);
    return services->ConfigureMsgService(&uid, 0, 0, static_cast<ULONG>(values.size()), values.data());
  }

  static SPropValue url(const wchar_t* text) { return textValue(fendrel::serverUrlTag, text); }
  static SPropValue secret(const wchar_t* text) { return textValue(fendrel::serverSecretTag, text); }

  ComPtr<IMsgServiceAdmin> services;

  // All bytes of the database and its log.
  std::string databaseBytes() {
    std::string all;
    for (const wchar_t* ending : {L"", L"-wal"}) {
      std::ifstream file(std::filesystem::path(folder.file(L"store.db") + ending), std::ios::binary);
      all.append(std::istreambuf_iterator<char>(file), {});
    }
    return all;
  }
};

TEST_F(ServerProfileTest, AConfiguredProfileTellsItsServerAndNeverItsSecret) {
  ASSERT_THAT(configure({url(L"https://mail.example"), textValue(fendrel::serverUserTag, L"reports"),
                         textValue(fendrel::publicAccountTag, L"public"), secret(L"geheim-7Q")}),
              Gives(S_OK));
  const auto opened = section(L"team", nullptr, 0);
  EXPECT_EQ(text(*opened.Get(), fendrel::serverUrlTag), L"https://mail.example");
  EXPECT_EQ(text(*opened.Get(), fendrel::serverUserTag), L"reports");
  EXPECT_EQ(text(*opened.Get(), fendrel::publicAccountTag), L"public");
  EXPECT_EQ(text(*opened.Get(), fendrel::serverSecretTag), std::nullopt);
  EXPECT_EQ(text(*section(L"Anna", nullptr, 0).Get(), fendrel::serverUrlTag), std::nullopt);
}

TEST_F(ServerProfileTest, TheSecretStandsNowhereInTheFileInClear) {
  ASSERT_THAT(configure({url(L"https://mail.example"), secret(L"geheim-7Q")}), Gives(S_OK));
  const std::string bytes = databaseBytes();
  EXPECT_NE(bytes.find("https://mail.example"), std::string::npos)
      << "the bytes that are looked through hold the profile";
  EXPECT_EQ(bytes.find("geheim-7Q"), std::string::npos);
  const std::wstring wideSecret = L"geheim-7Q";
  EXPECT_EQ(bytes.find(std::string(reinterpret_cast<const char*>(wideSecret.data()), wideSecret.size() * 2)),
            std::string::npos);
}

TEST_F(ServerProfileTest, WhatIsNotGivenStaysAsItIs) {
  ASSERT_THAT(configure({url(L"https://mail.example"), textValue(fendrel::serverUserTag, L"reports")}), Gives(S_OK));
  ASSERT_THAT(configure({textValue(fendrel::tlsCaFileTag, L"C:\\ca.pem")}), Gives(S_OK));
  const auto opened = section(L"team", nullptr, 0);
  EXPECT_EQ(text(*opened.Get(), fendrel::serverUrlTag), L"https://mail.example");
  EXPECT_EQ(text(*opened.Get(), fendrel::serverUserTag), L"reports");
  EXPECT_EQ(text(*opened.Get(), fendrel::tlsCaFileTag), L"C:\\ca.pem");
}

TEST_F(ServerProfileTest, AnAddressThatWouldTellThePasswordIsRefusedWithWords) {
  ASSERT_THAT(configure({url(L"http://mail.example")}), Gives(MAPI_E_INVALID_PARAMETER));
  Block<MAPIERROR> error;
  ASSERT_EQ(services->GetLastError(MAPI_E_INVALID_PARAMETER, MAPI_UNICODE, receive(error)), S_OK);
  ASSERT_NE(error, nullptr);
  EXPECT_THAT(reinterpret_cast<const wchar_t*>(error->lpszError), testing::HasSubstr(L"mail.example"));
}

TEST_F(ServerProfileTest, ACopyIsOfTheSameServer) {
  ASSERT_THAT(configure({url(L"https://mail.example")}), Gives(S_OK));
  ASSERT_THAT(admin->CopyProfile(wide(L"team"), nullptr, wide(L"other"), 0, MAPI_UNICODE), Gives(S_OK));
  EXPECT_EQ(text(*section(L"other", nullptr, 0).Get(), fendrel::serverUrlTag), L"https://mail.example");
}

TEST_F(ServerProfileTest, AServerWithoutAnAddressAndAnUnknownPropertyAreRefused) {
  EXPECT_THAT(configure({textValue(fendrel::serverUserTag, L"reports")}), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(configure({url(L"https://mail.example"), textValue(PR_SUBJECT_W, L"x")}), Gives(MAPI_E_NO_SUPPORT));
  EXPECT_THAT(configure({longValue(PROP_TAG(PT_LONG, PROP_ID(fendrel::serverUrlTag)), 5)}), Gives(MAPI_E_INVALID_TYPE));
  EXPECT_EQ(text(*section(L"team", nullptr, 0).Get(), fendrel::serverUrlTag), std::nullopt);
}

}  // namespace
