// GetIDsFromNames and GetNamesFromIDs.
#include <thread>

#include "store_fixture.h"

namespace {

using testing::ElementsAre;
using testing::Ne;

constexpr GUID namedSet{0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr GUID otherSet{0x99AABBCC, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr GUID mapiSet{0x00020328, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// One name and its set.
struct Name {
  Name(const GUID& set, LONG number) : guid(set) {
    id = {&guid, MNID_ID, {}};
    id.Kind.lID = number;
  }
  Name(const GUID& set, const wchar_t* text) : guid(set) {
    id = {&guid, MNID_STRING, {}};
    id.Kind.lpwstrName = const_cast<LPWSTR>(text);
  }
  Name(const Name& other) : guid(other.guid), id(other.id) { id.lpguid = &guid; }
  Name& operator=(const Name&) = delete;
  GUID guid;
  MAPINAMEID id;
};

struct NamedPropertiesTest : FolderTest {
  // The identifiers, 0 for an error; the call's result in `result`.
  std::vector<ULONG> idsOf(IMAPIProp& object, std::vector<Name> names, ULONG flags = 0) {
    std::vector<LPMAPINAMEID> list;
    for (Name& name : names) list.push_back(&name.id);
    Block<SPropTagArray> tags;
    result = object.GetIDsFromNames(static_cast<ULONG>(list.size()), list.data(), flags, receive(tags));
    std::vector<ULONG> ids;
    for (ULONG i = 0; tags && i < tags->cValues; ++i) {
      const ULONG tag = tags->aulPropTag[i];
      EXPECT_EQ(PROP_TYPE(tag), PROP_ID(tag) ? PT_UNSPECIFIED : PT_ERROR);
      ids.push_back(PROP_ID(tag));
    }
    return ids;
  }

  // "set:number" or "set:text", "" where there is none.
  std::vector<std::wstring> namesOf(IMAPIProp& object, std::vector<ULONG> ids, ULONG flags = 0) {
    std::vector<ULONG> words{static_cast<ULONG>(ids.size())};
    for (const ULONG id : ids) words.push_back(PROP_TAG(PT_UNSPECIFIED, id));
    auto* tags = reinterpret_cast<LPSPropTagArray>(words.data());
    ULONG count = 0;
    Block<LPMAPINAMEID> names;
    result = object.GetNamesFromIDs(&tags, nullptr, flags, &count, receive(names));
    return shown(count, names.get());
  }

  static std::vector<std::wstring> shown(ULONG count, LPMAPINAMEID* names) {
    std::vector<std::wstring> all;
    for (ULONG i = 0; i < count; ++i) {
      if (!names[i])
        all.push_back(L"");
      else if (names[i]->ulKind == MNID_ID)
        all.push_back(setOf(*names[i]) + std::to_wstring(names[i]->Kind.lID));
      else
        all.push_back(setOf(*names[i]) + names[i]->Kind.lpwstrName);
    }
    return all;
  }

  static std::wstring setOf(const MAPINAMEID& name) {
    return *name.lpguid == namedSet ? L"reports:" : *name.lpguid == otherSet ? L"other:" : L"mapi:";
  }

  ComPtr<IMessage> create() {
    ComPtr<IMessage> message;
    EXPECT_EQ(reports->CreateMessage(nullptr, 0, message.GetAddressOf()), S_OK);
    return message;
  }

  HRESULT result = S_OK;
};

TEST_F(NamedPropertiesTest, ANameHasNoIdentifierBeforeOneIsAskedFor) {
  auto message = create();
  EXPECT_THAT(idsOf(*message.Get(), {{namedSet, L"Period"}}), ElementsAre(0u));
  EXPECT_THAT(result, Gives(MAPI_W_ERRORS_RETURNED));
  const auto made = idsOf(*message.Get(), {{namedSet, L"Period"}}, MAPI_CREATE);
  EXPECT_THAT(result, Gives(S_OK));
  ASSERT_THAT(made, ElementsAre(Ne(0u)));
  EXPECT_GE(made[0], 0x8000u);
  EXPECT_LE(made[0], 0xFFFEu);
  EXPECT_EQ(idsOf(*message.Get(), {{namedSet, L"Period"}}), made);
  EXPECT_EQ(idsOf(*message.Get(), {{namedSet, L"Period"}}, MAPI_CREATE), made);
}

TEST_F(NamedPropertiesTest, SetKindAndNameTellNamesApart) {
  auto message = create();
  const std::vector<Name> names = {{namedSet, L"Period"}, {otherSet, L"Period"}, {namedSet, L"period"},
                                   {namedSet, 7},         {namedSet, L"7"},      {namedSet, -7}};
  auto ids = idsOf(*message.Get(), names, MAPI_CREATE);
  ASSERT_EQ(ids.size(), names.size());
  EXPECT_THAT(namesOf(*message.Get(), ids), ElementsAre(L"reports:Period", L"other:Period", L"reports:period",
                                                        L"reports:7", L"reports:7", L"reports:-7"));
  std::ranges::sort(ids);
  EXPECT_EQ(std::ranges::adjacent_find(ids), ids.end());
}

TEST_F(NamedPropertiesTest, NamesAreTheSameInEveryObjectSessionAndOpening) {
  const auto ids = idsOf(*reports.Get(), {{namedSet, L"Gr\u00F6\u00DFe \u65E5\u672C"}, {namedSet, 1}}, MAPI_CREATE);
  auto other = logon();
  auto theirs = openStore(*other.Get(), L"Public");
  auto folderOfTheirs = openSubtree(*theirs.Get());
  auto message = create();
  auto mailbox = openStore(*other.Get(), L"Mailbox");
  for (IMAPIProp* object :
       std::initializer_list<IMAPIProp*>{theirs.Get(), folderOfTheirs.Get(), message.Get(), mailbox.Get()}) {
    EXPECT_EQ(idsOf(*object, {{namedSet, L"Gr\u00F6\u00DFe \u65E5\u672C"}, {namedSet, 1}}), ids);
    EXPECT_THAT(namesOf(*object, ids), ElementsAre(L"reports:Gr\u00F6\u00DFe \u65E5\u672C", L"reports:1"));
  }
  EXPECT_EQ(binary(*theirs.Get(), PR_MAPPING_SIGNATURE), binary(*message.Get(), PR_MAPPING_SIGNATURE));
}

TEST_F(NamedPropertiesTest, AValueUnderANameIsFoundByIt) {
  const ULONG id = idsOf(*reports.Get(), {{namedSet, L"Period"}}, MAPI_CREATE).front();
  auto message = create();
  SPropValue value = textValue(PROP_TAG(PT_UNICODE, id), L"May");
  ASSERT_EQ(message->SetProps(1, &value, nullptr), S_OK);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  auto theirs = openAgain(*reports.Get(), *openStore(*logon().Get(), L"Public").Get());
  auto again = openFirst(*theirs.Get());
  const ULONG found = idsOf(*again.Get(), {{namedSet, L"Period"}}).front();
  EXPECT_EQ(text(*again.Get(), PROP_TAG(PT_UNICODE, found)), L"May");
  ComPtr<IMAPITable> table;
  ASSERT_EQ(theirs->GetContentsTable(0, table.GetAddressOf()), S_OK);
  EXPECT_THAT(column(*table.Get(), PROP_TAG(PT_UNICODE, found)), ElementsAre(L"May"));
}

TEST_F(NamedPropertiesTest, IdentifiersThatNobodyNamedHaveNone) {
  const ULONG id = idsOf(*reports.Get(), {{namedSet, L"Period"}}, MAPI_CREATE).front();
  EXPECT_THAT(namesOf(*reports.Get(), {id + 1, id, 0xFFFE}), ElementsAre(L"", L"reports:Period", L""));
  EXPECT_THAT(result, Gives(MAPI_W_ERRORS_RETURNED));
}

TEST_F(NamedPropertiesTest, IdentifiersBelow8000AreTheirOwnNames) {
  EXPECT_THAT(namesOf(*reports.Get(), {PROP_ID(PR_SUBJECT_W)}), ElementsAre(L"mapi:55"));
  EXPECT_THAT(result, Gives(S_OK));
  EXPECT_THAT(idsOf(*reports.Get(), {{mapiSet, 55}}), ElementsAre(PROP_ID(PR_SUBJECT_W)));
  EXPECT_THAT(idsOf(*reports.Get(), {{mapiSet, 0x8001}, {mapiSet, L"Subject"}}, MAPI_CREATE), ElementsAre(0u, 0u));
  EXPECT_THAT(result, Gives(MAPI_W_ERRORS_RETURNED));
}

TEST_F(NamedPropertiesTest, AllNamesAreListedOrThoseOfOneSetOrKind) {
  const auto ids = idsOf(*reports.Get(), {{namedSet, L"a"}, {otherSet, L"b"}, {namedSet, 3}}, MAPI_CREATE);
  const auto list = [&](const GUID* set, ULONG flags) {
    Block<SPropTagArray> tags;
    Block<LPMAPINAMEID> names;
    ULONG count = 0;
    result = reports->GetNamesFromIDs(receive(tags), const_cast<LPGUID>(set), flags, &count, receive(names));
    EXPECT_TRUE(tags);
    EXPECT_EQ(tags ? tags->cValues : 99, count);
    return shown(count, names.get());
  };
  EXPECT_THAT(list(nullptr, 0), ElementsAre(L"reports:a", L"other:b", L"reports:3"));
  EXPECT_THAT(list(&namedSet, 0), ElementsAre(L"reports:a", L"reports:3"));
  EXPECT_THAT(list(nullptr, MAPI_NO_STRINGS), ElementsAre(L"reports:3"));
  EXPECT_THAT(list(&namedSet, MAPI_NO_IDS), ElementsAre(L"reports:a"));
  Block<SPropTagArray> all;
  ASSERT_THAT(reports->GetIDsFromNames(0, nullptr, 0, receive(all)), Gives(S_OK));
  EXPECT_EQ(all->cValues, 3u);
}

TEST_F(NamedPropertiesTest, BadNamesAreInvalidParameters) {
  Block<SPropTagArray> tags;
  Name good{namedSet, 1};
  LPMAPINAMEID list[] = {&good.id, nullptr};
  EXPECT_THAT(reports->GetIDsFromNames(2, list, MAPI_CREATE, receive(tags)), Gives(MAPI_E_INVALID_PARAMETER));
  good.id.ulKind = 5;
  EXPECT_THAT(reports->GetIDsFromNames(1, list, MAPI_CREATE, receive(tags)), Gives(MAPI_E_INVALID_PARAMETER));
  good.id.lpguid = nullptr;
  EXPECT_THAT(reports->GetIDsFromNames(1, list, MAPI_CREATE, receive(tags)), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(reports->GetIDsFromNames(1, nullptr, 0, receive(tags)), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(reports->GetIDsFromNames(1, list, 0, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
  EXPECT_THAT(reports->GetNamesFromIDs(nullptr, nullptr, 0, nullptr, nullptr), Gives(MAPI_E_INVALID_PARAMETER));
}

TEST_F(NamedPropertiesTest, TwoThatAskAtOnceGetTheSameIdentifiers) {
  std::vector<ULONG> mine, theirs;
  const std::vector<Name> names = {{namedSet, 1}, {namedSet, 2}, {namedSet, 3}, {namedSet, 4}};
  const auto ask = [&](std::vector<ULONG>& ids) {
    auto own = openStore(*logon().Get(), L"Public");
    std::vector<Name> copies(names);
    std::vector<LPMAPINAMEID> list;
    for (Name& name : copies) list.push_back(&name.id);
    Block<SPropTagArray> tags;
    EXPECT_THAT(own->GetIDsFromNames(4, list.data(), MAPI_CREATE, receive(tags)), Gives(S_OK));
    ids.assign(tags->aulPropTag, tags->aulPropTag + tags->cValues);
  };
  std::thread other([&] { ask(theirs); });
  ask(mine);
  other.join();
  EXPECT_EQ(mine, theirs);
}

}  // namespace
