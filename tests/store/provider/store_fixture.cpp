#include "store_fixture.h"

#include <stdexcept>

namespace {

void require(HRESULT result, const char* step) {
  if (FAILED(result)) throw std::runtime_error(std::string(step) + ": " + resultName(result));
}

}  // namespace

std::string resultName(HRESULT result) {
  static const std::pair<HRESULT, const char*> names[] = {
      {S_OK, "S_OK"},
      {S_FALSE, "S_FALSE"},
      {MAPI_E_CALL_FAILED, "MAPI_E_CALL_FAILED"},
      {MAPI_E_NOT_ENOUGH_MEMORY, "MAPI_E_NOT_ENOUGH_MEMORY"},
      {MAPI_E_INVALID_PARAMETER, "MAPI_E_INVALID_PARAMETER"},
      {MAPI_E_INTERFACE_NOT_SUPPORTED, "MAPI_E_INTERFACE_NOT_SUPPORTED"},
      {MAPI_E_NO_ACCESS, "MAPI_E_NO_ACCESS"},
      {MAPI_E_NO_SUPPORT, "MAPI_E_NO_SUPPORT"},
      {MAPI_E_INVALID_ENTRYID, "MAPI_E_INVALID_ENTRYID"},
      {MAPI_E_NOT_FOUND, "MAPI_E_NOT_FOUND"},
      {MAPI_E_LOGON_FAILED, "MAPI_E_LOGON_FAILED"},
      {MAPI_E_USER_CANCEL, "MAPI_E_USER_CANCEL"},
      {MAPI_E_COMPUTED, "MAPI_E_COMPUTED"},
      {MAPI_E_COLLISION, "MAPI_E_COLLISION"},
      {MAPI_E_HAS_FOLDERS, "MAPI_E_HAS_FOLDERS"},
      {MAPI_E_HAS_MESSAGES, "MAPI_E_HAS_MESSAGES"},
      {MAPI_E_OBJECT_CHANGED, "MAPI_E_OBJECT_CHANGED"},
      {MAPI_E_OBJECT_DELETED, "MAPI_E_OBJECT_DELETED"},
      {MAPI_E_TOO_COMPLEX, "MAPI_E_TOO_COMPLEX"},
      {MAPI_E_INVALID_BOOKMARK, "MAPI_E_INVALID_BOOKMARK"},
      {MAPI_E_TABLE_TOO_BIG, "MAPI_E_TABLE_TOO_BIG"},
      {MAPI_E_NOT_INITIALIZED, "MAPI_E_NOT_INITIALIZED"},
      {MAPI_E_END_OF_SESSION, "MAPI_E_END_OF_SESSION"},
      {MAPI_E_INVALID_TYPE, "MAPI_E_INVALID_TYPE"},
      {MAPI_E_TYPE_NO_SUPPORT, "MAPI_E_TYPE_NO_SUPPORT"},
      {MAPI_W_ERRORS_RETURNED, "MAPI_W_ERRORS_RETURNED"},
      {STG_E_ACCESSDENIED, "STG_E_ACCESSDENIED"},
      {MAPI_W_PARTIAL_COMPLETION, "MAPI_W_PARTIAL_COMPLETION"},
      {MAPI_E_UNKNOWN_ENTRYID, "MAPI_E_UNKNOWN_ENTRYID"},
      {MAPI_E_UNKNOWN_FLAGS, "MAPI_E_UNKNOWN_FLAGS"},
      {MAPI_E_FOLDER_CYCLE, "MAPI_E_FOLDER_CYCLE"},
      {MAPI_E_CORRUPT_DATA, "MAPI_E_CORRUPT_DATA"},
      {MAPI_E_VERSION, "MAPI_E_VERSION"}};
  for (const auto& [code, name] : names) {
    if (code == result) return name;
  }
  char text[16];
  std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(result));
  return text;
}

Bytes bytesOf(const SPropValue& value) {
  if (PROP_TYPE(value.ulPropTag) != PT_BINARY) return {};
  return {value.Value.bin.lpb, value.Value.bin.lpb + value.Value.bin.cb};
}

Bytes patternBytes(std::size_t count, unsigned seed) {
  Bytes bytes(count);
  unsigned state = seed * 2654435761u + 1;
  for (auto& one : bytes) {
    state = state * 1664525u + 1013904223u;
    one = static_cast<unsigned char>(state >> 24);
  }
  return bytes;
}

SPropValue textValue(ULONG tag, const wchar_t* text) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.lpszW = const_cast<LPWSTR>(text);
  return value;
}

SPropValue ansiValue(ULONG tag, const char* text) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.lpszA = const_cast<LPSTR>(text);
  return value;
}

SPropValue longValue(ULONG tag, LONG number) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.l = number;
  return value;
}

SPropValue boolValue(ULONG tag, bool truth) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.b = truth;
  return value;
}

SPropValue binaryValue(ULONG tag, Bytes& bytes) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.bin.cb = static_cast<ULONG>(bytes.size());
  value.Value.bin.lpb = bytes.data();
  return value;
}

Tags::Tags(std::initializer_list<ULONG> tags) : words_{static_cast<ULONG>(tags.size())} {
  words_.insert(words_.end(), tags.begin(), tags.end());
}

StoreTest::StoreTest() {
  SetEnvironmentVariableW(L"FENDREL_STORE", folder.file(L"store.db").c_str());
  require(mapi().initialize(nullptr), "MAPIInitialize");
  createProfile(L"Anna");
}

StoreTest::~StoreTest() {
  mapi().uninitialize();
  SetEnvironmentVariableW(L"FENDREL_STORE", nullptr);
}

void StoreTest::createProfile(const wchar_t* name, const wchar_t* password) {
  ComPtr<IProfAdmin> admin;
  require(mapi().adminProfiles(0, admin.GetAddressOf()), "MAPIAdminProfiles");
  require(admin->CreateProfile(const_cast<LPTSTR>(name), const_cast<LPTSTR>(password), 0, MAPI_UNICODE),
          "CreateProfile");
}

ComPtr<IMAPISession> StoreTest::logon(const wchar_t* profile) {
  ComPtr<IMAPISession> opened;
  require(mapi().logonEx(0, const_cast<LPTSTR>(profile), nullptr, MAPI_UNICODE | MAPI_EXTENDED | MAPI_NEW_SESSION,
                         opened.GetAddressOf()),
          "MAPILogonEx");
  return opened;
}

ComPtr<IMsgStore> StoreTest::openStore(IMAPISession& session, std::wstring_view name, ULONG flags) {
  ComPtr<IMAPITable> table;
  require(session.GetMsgStoresTable(0, table.GetAddressOf()), "GetMsgStoresTable");
  Tags columns{PR_ENTRYID, PR_DISPLAY_NAME_W};
  Rows rows;
  require(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), "HrQueryAllRows");
  for (ULONG row = 0; row < rows->cRows; ++row) {
    const SPropValue* values = rows->aRow[row].lpProps;
    if (!std::wstring_view(values[1].Value.lpszW).starts_with(name)) continue;
    ComPtr<IMsgStore> store;
    require(session.OpenMsgStore(0, values[0].Value.bin.cb, reinterpret_cast<LPENTRYID>(values[0].Value.bin.lpb),
                                 &IID_IMsgStore, flags, store.GetAddressOf()),
            "OpenMsgStore");
    return store;
  }
  throw std::runtime_error("no such store");
}

ComPtr<IMAPIFolder> StoreTest::openSubtree(IMsgStore& store) {
  Block<SPropValue> id;
  require(mapi().hrGetOneProp(&store, PR_IPM_SUBTREE_ENTRYID, receive(id)), "PR_IPM_SUBTREE_ENTRYID");
  ComPtr<IMAPIFolder> opened;
  ULONG type = 0;
  require(store.OpenEntry(id->Value.bin.cb, reinterpret_cast<LPENTRYID>(id->Value.bin.lpb), nullptr, MAPI_BEST_ACCESS,
                          &type, unknownOut(opened)),
          "OpenEntry");
  return opened;
}

ComPtr<IMAPIFolder> StoreTest::createFolder(IMAPIFolder& parent, const wchar_t* name) {
  ComPtr<IMAPIFolder> created;
  require(parent.CreateFolder(FOLDER_GENERIC, const_cast<LPTSTR>(name), nullptr, nullptr, MAPI_UNICODE,
                              created.GetAddressOf()),
          "CreateFolder");
  return created;
}

void StoreTest::post(IMAPIFolder& target, const wchar_t* subject) {
  ComPtr<IMessage> message;
  require(target.CreateMessage(nullptr, 0, message.GetAddressOf()), "CreateMessage");
  SPropValue value = textValue(PR_SUBJECT_W, subject);
  require(message->SetProps(1, &value, nullptr), "SetProps");
  require(message->SaveChanges(0), "SaveChanges");
}

ComPtr<IMessage> StoreTest::openFirst(IMAPIFolder& target, ULONG flags) {
  ComPtr<IMAPITable> table;
  require(target.GetContentsTable(0, table.GetAddressOf()), "GetContentsTable");
  Tags columns{PR_ENTRYID};
  Rows rows;
  require(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), "HrQueryAllRows");
  if (rows->cRows == 0) throw std::runtime_error("the folder is empty");
  const SBinary& id = rows->aRow[0].lpProps[0].Value.bin;
  ComPtr<IMessage> message;
  ULONG type = 0;
  require(target.OpenEntry(id.cb, reinterpret_cast<LPENTRYID>(id.lpb), nullptr, flags, &type, unknownOut(message)),
          "OpenEntry");
  return message;
}

ComPtr<IMAPIFolder> StoreTest::openAgain(IMAPIFolder& target, IMsgStore& store, ULONG flags) {
  Bytes id = binary(target, PR_ENTRYID);
  ComPtr<IMAPIFolder> opened;
  ULONG type = 0;
  require(store.OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()), nullptr, flags, &type,
                          unknownOut(opened)),
          "OpenEntry");
  return opened;
}

std::vector<Bytes> StoreTest::messageIds(IMAPIFolder& target) {
  ComPtr<IMAPITable> table;
  require(target.GetContentsTable(0, table.GetAddressOf()), "GetContentsTable");
  Tags columns{PR_ENTRYID};
  Rows rows;
  require(mapi().hrQueryAllRows(table.Get(), columns, nullptr, nullptr, 0, receive(rows)), "HrQueryAllRows");
  std::vector<Bytes> ids;
  for (ULONG row = 0; row < rows->cRows; ++row) ids.push_back(bytesOf(rows->aRow[row].lpProps[0]));
  return ids;
}

std::optional<std::wstring> StoreTest::text(IMAPIProp& object, ULONG tag) {
  Block<SPropValue> value;
  if (FAILED(mapi().hrGetOneProp(&object, tag, receive(value)))) return std::nullopt;
  return value->Value.lpszW;
}

std::optional<LONG> StoreTest::number(IMAPIProp& object, ULONG tag) {
  Block<SPropValue> value;
  if (FAILED(mapi().hrGetOneProp(&object, tag, receive(value)))) return std::nullopt;
  return PROP_TYPE(tag) == PT_BOOLEAN ? value->Value.b : value->Value.l;
}

Bytes StoreTest::binary(IMAPIProp& object, ULONG tag) {
  Block<SPropValue> value;
  if (FAILED(mapi().hrGetOneProp(&object, tag, receive(value)))) return {};
  return bytesOf(*value);
}

std::vector<std::wstring> StoreTest::column(IMAPITable& table, ULONG tag, LPSRestriction restriction,
                                            LPSSortOrderSet order) {
  Tags columns{tag};
  Rows rows;
  require(mapi().hrQueryAllRows(&table, columns, restriction, order, 0, receive(rows)), "HrQueryAllRows");
  std::vector<std::wstring> texts;
  for (ULONG row = 0; row < rows->cRows; ++row) {
    const SPropValue& value = rows->aRow[row].lpProps[0];
    texts.push_back(value.ulPropTag == tag ? value.Value.lpszW : L"(none)");
  }
  return texts;
}

std::vector<std::wstring> StoreTest::subjects(IMAPIFolder& target) {
  ComPtr<IMAPITable> table;
  require(target.GetContentsTable(MAPI_UNICODE, table.GetAddressOf()), "GetContentsTable");
  return column(*table.Get(), PR_SUBJECT_W);
}

FolderTest::FolderTest() {
  session = logon();
  store = openStore(*session.Get(), L"Public Folders");
  subtree = openSubtree(*store.Get());
  reports = createFolder(*subtree.Get(), L"Reports");
}

Bytes readAll(IStream& stream, ULONG atATime) {
  Bytes all, piece(atATime);
  for (;;) {
    ULONG count = 0;
    require(stream.Read(piece.data(), atATime, &count), "Read");
    if (count == 0) return all;
    all.insert(all.end(), piece.begin(), piece.begin() + count);
  }
}

ComPtr<IStream> openStream(IMAPIProp& object, ULONG tag, ULONG options, ULONG flags) {
  ComPtr<IStream> stream;
  require(object.OpenProperty(tag, &IID_IStream, options, flags, unknownOut(stream)), "OpenProperty");
  return stream;
}
