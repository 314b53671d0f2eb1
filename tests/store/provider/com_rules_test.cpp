// QueryInterface by the rules of COM, for every kind of object that the store hands out.
#include <functional>
#include <map>

#include "store_fixture.h"

namespace {

const std::map<std::string, const IID*>& knownInterfaces() {
  static const std::map<std::string, const IID*> all = {{"IUnknown", &IID_IUnknown},
                                                        {"IMAPIProp", &IID_IMAPIProp},
                                                        {"IMAPIContainer", &IID_IMAPIContainer},
                                                        {"IMAPIFolder", &IID_IMAPIFolder},
                                                        {"IMsgStore", &IID_IMsgStore},
                                                        {"IMessage", &IID_IMessage},
                                                        {"IAttachment", &IID_IAttachment},
                                                        {"IMailUser", &IID_IMailUser},
                                                        {"IProfSect", &IID_IProfSect},
                                                        {"IMAPITable", &IID_IMAPITable},
                                                        {"IMAPISession", &IID_IMAPISession},
                                                        {"IProfAdmin", &IID_IProfAdmin},
                                                        {"IMsgServiceAdmin", &IID_IMsgServiceAdmin},
                                                        {"IStream", &IID_IStream},
                                                        {"ISequentialStream", &IID_ISequentialStream},
                                                        {"IABContainer", &IID_IABContainer}};
  return all;
}

struct ComRulesTest : FolderTest {
  // Which interfaces the object has; checks the rules on the way.
  std::vector<std::string> interfacesOf(IUnknown* object) {
    std::vector<std::string> names;
    ComPtr<IUnknown> identity;
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(identity.GetAddressOf())), S_OK);
    for (const auto& [name, iid] : knownInterfaces()) {
      void* raw = &raw;
      const HRESULT result = object->QueryInterface(*iid, &raw);
      if (FAILED(result)) {
        EXPECT_EQ(result, E_NOINTERFACE) << name;
        EXPECT_EQ(raw, nullptr) << name << ": null where there is no such interface";
        continue;
      }
      names.push_back(name);
      ComPtr<IUnknown> found;
      *found.GetAddressOf() = static_cast<IUnknown*>(raw);
      ComPtr<IUnknown> again;
      EXPECT_EQ(found->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(again.GetAddressOf())), S_OK) << name;
      EXPECT_EQ(again.Get(), identity.Get()) << name << ": one identity";
      ComPtr<IUnknown> self;
      EXPECT_EQ(found->QueryInterface(*iid, reinterpret_cast<void**>(self.GetAddressOf())), S_OK)
          << name << ": reflexive";
    }
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), MAPI_E_INVALID_PARAMETER);
    return names;
  }
};

using testing::UnorderedElementsAre;

TEST_F(ComRulesTest, Session) {
  EXPECT_THAT(interfacesOf(session.Get()), UnorderedElementsAre("IUnknown", "IMAPISession"));
}

TEST_F(ComRulesTest, Store) {
  EXPECT_THAT(interfacesOf(store.Get()), UnorderedElementsAre("IUnknown", "IMAPIProp", "IMsgStore"));
}

TEST_F(ComRulesTest, Folder) {
  EXPECT_THAT(interfacesOf(reports.Get()),
              UnorderedElementsAre("IUnknown", "IMAPIProp", "IMAPIContainer", "IMAPIFolder"));
}

TEST_F(ComRulesTest, MessageAttachmentStream) {
  ComPtr<IMessage> message;
  ASSERT_EQ(reports->CreateMessage(&IID_IMessage, 0, message.GetAddressOf()), S_OK);
  EXPECT_THAT(interfacesOf(message.Get()), UnorderedElementsAre("IUnknown", "IMAPIProp", "IMessage"));
  ComPtr<IAttach> attachment;
  ULONG index = 0;
  ASSERT_EQ(message->CreateAttach(&IID_IMAPIProp, 0, &index, attachment.GetAddressOf()), S_OK);
  EXPECT_THAT(interfacesOf(attachment.Get()), UnorderedElementsAre("IUnknown", "IMAPIProp", "IAttachment"));
  auto stream = openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY);
  EXPECT_THAT(interfacesOf(stream.Get()), UnorderedElementsAre("IUnknown", "ISequentialStream", "IStream"));
}

TEST_F(ComRulesTest, Table) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(reports->GetContentsTable(0, table.GetAddressOf()), S_OK);
  EXPECT_THAT(interfacesOf(table.Get()), UnorderedElementsAre("IUnknown", "IMAPITable"));
}

TEST_F(ComRulesTest, User) {
  ULONG size = 0;
  Block<ENTRYID> id;
  ASSERT_EQ(session->QueryIdentity(&size, receive(id)), S_OK);
  ComPtr<IMAPIProp> user;
  ULONG type = 0;
  ASSERT_EQ(session->OpenEntry(size, id.get(), &IID_IMailUser, 0, &type, unknownOut(user)), S_OK);
  EXPECT_THAT(interfacesOf(user.Get()), UnorderedElementsAre("IUnknown", "IMAPIProp", "IMailUser"));
}

TEST_F(ComRulesTest, ProfileAdministration) {
  ComPtr<IProfAdmin> admin;
  ASSERT_EQ(mapi().adminProfiles(0, admin.GetAddressOf()), S_OK);
  EXPECT_THAT(interfacesOf(admin.Get()), UnorderedElementsAre("IUnknown", "IProfAdmin"));
  ComPtr<IMsgServiceAdmin> services;
  ASSERT_EQ(admin->AdminServices(const_cast<LPTSTR>(L"Anna"), nullptr, 0, MAPI_UNICODE, services.GetAddressOf()), S_OK);
  EXPECT_THAT(interfacesOf(services.Get()), UnorderedElementsAre("IUnknown", "IMsgServiceAdmin"));
  ComPtr<IProfSect> section;
  ASSERT_EQ(services->OpenProfileSection(nullptr, nullptr, 0, section.GetAddressOf()), S_OK);
  EXPECT_THAT(interfacesOf(section.Get()), UnorderedElementsAre("IUnknown", "IMAPIProp", "IProfSect"));
}

// SQLite keeps its file open while any object of the session exists.
TEST_F(ComRulesTest, TheFileIsClosedWhenEverythingIsReleased) {
  const std::wstring file = folder.file(L"store.db");
  post(*reports.Get(), L"one");
  {
    ComPtr<IMAPITable> stores, status, hierarchy, contents, attachments;
    ASSERT_EQ(session->GetMsgStoresTable(0, stores.GetAddressOf()), S_OK);
    ASSERT_EQ(session->GetStatusTable(0, status.GetAddressOf()), S_OK);
    ASSERT_EQ(subtree->GetHierarchyTable(0, hierarchy.GetAddressOf()), S_OK);
    ASSERT_EQ(reports->GetContentsTable(0, contents.GetAddressOf()), S_OK);
    EXPECT_THAT(column(*contents.Get(), PR_SUBJECT_W), testing::ElementsAre(L"one"));
    auto message = openFirst(*reports.Get(), MAPI_MODIFY);
    ASSERT_EQ(message->GetAttachmentTable(0, attachments.GetAddressOf()), S_OK);
    ComPtr<IAttach> attachment;
    ULONG index = 0;
    ASSERT_EQ(message->CreateAttach(nullptr, 0, &index, attachment.GetAddressOf()), S_OK);
    auto stream = openStream(*attachment.Get(), PR_ATTACH_DATA_BIN, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY);
    ComPtr<IStream> clone;
    ASSERT_EQ(stream->Clone(clone.GetAddressOf()), S_OK);
    auto comment = openStream(*reports.Get(), PR_COMMENT_W, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY);
    ComPtr<IMsgServiceAdmin> services;
    ASSERT_EQ(session->AdminServices(0, services.GetAddressOf()), S_OK);
    ComPtr<IProfSect> section;
    ASSERT_EQ(services->OpenProfileSection(nullptr, nullptr, 0, section.GetAddressOf()), S_OK);
  }
  EXPECT_EQ(DeleteFileW(file.c_str()), 0) << "the session holds the file";
  reports.Reset();
  subtree.Reset();
  store.Reset();
  ASSERT_EQ(session->Logoff(0, 0, 0), S_OK);
  EXPECT_EQ(session->Release(), 0u);
  session.Detach();
  EXPECT_NE(DeleteFileW(file.c_str()), 0) << "error " << GetLastError();
}

TEST_F(ComRulesTest, ReferencesCountUpAndDown) {
  EXPECT_EQ(reports->AddRef(), 2u);
  EXPECT_EQ(reports->Release(), 1u);
}

}  // namespace
