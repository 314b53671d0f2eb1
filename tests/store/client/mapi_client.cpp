#define INITGUID
#include <initguid.h>
#include <windows.h>
#define USES_IID_IMAPITable
#define USES_IID_IMessage
#define USES_IID_IMAPIFolder
#define USES_IID_IAttachment
#define USES_IID_IMailUser
#define USES_IID_IMAPIProp
#define USES_IID_IMsgStore
#include "mapi_client.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "build_paths.h"

namespace client {
namespace {

Library load() {
  const std::wstring path = buildFile(L"bin/store/MAPI32.DLL");
  const HMODULE module = LoadLibraryW(path.c_str());
  wchar_t loadedPath[32768] = {};
  if (module) GetModuleFileNameW(module, loadedPath, 32768);
  const auto resolve = [&]<class Function>(const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(module ? GetProcAddress(module, name) : nullptr));
    // The machine's library must not be tested instead of the built one.
    if (function && _wcsicmp(loadedPath, path.c_str()) == 0) return;
    std::fprintf(stderr, "no %s in %ls (loaded: \"%ls\")\n", name, path.c_str(), loadedPath);
    std::exit(1);
  };
  Library loaded{};
  resolve("MAPIInitialize", loaded.initialize);
  resolve("MAPIUninitialize", loaded.uninitialize);
  resolve("MAPILogonEx", loaded.logonEx);
  resolve("MAPIFreeBuffer", loaded.freeBuffer);
  resolve("MAPIAdminProfiles", loaded.adminProfiles);
  resolve("FreeProws", loaded.freeProws);
  resolve("HrGetOneProp", loaded.hrGetOneProp);
  resolve("HrQueryAllRows", loaded.hrQueryAllRows);
  return loaded;
}

template <class Number>
std::int64_t bitsOf(Number number) {
  std::int64_t bits = 0;
  std::memcpy(&bits, &number, sizeof number);
  return bits;
}

Bytes copyOf(const SBinary& binary) { return {reinterpret_cast<const char*>(binary.lpb), binary.cb}; }

}  // namespace

const Library& library() {
  static const Library loaded = load();
  return loaded;
}

Value valueOf(const SPropValue& property) {
  Value value;
  value.tag = property.ulPropTag;
  const auto& in = property.Value;
  const auto addAll = [&](ULONG count, auto make) {
    for (ULONG i = 0; i < count; ++i) {
      value.many.push_back(make(i));
      value.many.back().tag = property.ulPropTag & ~static_cast<ULONG>(MV_FLAG);
    }
  };
  switch (PROP_TYPE(property.ulPropTag)) {
    case PT_NULL: break;    // the answer to PR_NULL, which holds a place
    case PT_OBJECT: break;  // a table or the like, which OpenProperty gives
    case PT_I2: value.number = in.i; break;
    case PT_LONG: value.number = in.l; break;
    case PT_ERROR: value.number = in.err; break;
    case PT_BOOLEAN: value.number = in.b; break;
    case PT_R4: value.number = bitsOf(in.flt); break;
    case PT_DOUBLE:
    case PT_APPTIME: value.number = bitsOf(in.dbl); break;
    case PT_CURRENCY:
    case PT_I8:
    case PT_SYSTIME: value.number = in.li.QuadPart; break;
    case PT_STRING8: value.bytes = in.lpszA; break;
    case PT_UNICODE: value.text = in.lpszW; break;
    case PT_BINARY: value.bytes = copyOf(in.bin); break;
    case PT_CLSID: value.bytes.assign(reinterpret_cast<const char*>(in.lpguid), sizeof(GUID)); break;
    case PT_MV_LONG: addAll(in.MVl.cValues, [&](ULONG i) { return Value{.number = in.MVl.lpl[i]}; }); break;
    case PT_MV_UNICODE: addAll(in.MVszW.cValues, [&](ULONG i) { return Value{.text = in.MVszW.lppszW[i]}; }); break;
    case PT_MV_STRING8: addAll(in.MVszA.cValues, [&](ULONG i) { return Value{.bytes = in.MVszA.lppszA[i]}; }); break;
    case PT_MV_BINARY:
      addAll(in.MVbin.cValues, [&](ULONG i) { return Value{.bytes = copyOf(in.MVbin.lpbin[i])}; });
      break;
    default: ADD_FAILURE() << "a value of an unknown type, tag " << std::hex << property.ulPropTag; break;
  }
  return value;
}

std::string describe(const Value& value) {
  char head[80];
  std::snprintf(head, sizeof head, "%08lX number %lld", value.tag, static_cast<long long>(value.number));
  std::string line = head;
  line += " text[" + std::to_string(value.text.size()) + "] \"";
  for (const wchar_t c : value.text.substr(0, 40)) line += c < 0x7F ? static_cast<char>(c) : '?';
  line += "\" bytes[" + std::to_string(value.bytes.size()) + "]";
  for (const char c : value.bytes.substr(0, 48)) {
    std::snprintf(head, sizeof head, " %02X", static_cast<unsigned char>(c));
    line += head;
  }
  for (const Value& one : value.many) line += " {" + describe(one) + "}";
  return line;
}

Rows rowsOf(const SRowSet* rows) {
  Rows all;
  for (ULONG i = 0; rows && i < rows->cRows; ++i) {
    Row& row = all.emplace_back();
    for (ULONG column = 0; column < rows->aRow[i].cValues; ++column)
      row.push_back(valueOf(rows->aRow[i].lpProps[column]));
  }
  return all;
}

std::vector<std::wstring> texts(const Rows& rows, std::size_t column) {
  std::vector<std::wstring> all;
  for (const Row& row : rows) all.push_back(row.at(column).text);
  return all;
}

Tags::Tags(const std::vector<ULONG>& tags) : words_{static_cast<ULONG>(tags.size())} {
  words_.insert(words_.end(), tags.begin(), tags.end());
}

SortOrder::SortOrder(std::initializer_list<std::pair<ULONG, ULONG>> columns)
    : words_{static_cast<ULONG>(columns.size()), 0, 0} {
  for (const auto& [tag, order] : columns) words_.insert(words_.end(), {tag, order});
}

Value Answer::get(ULONG tag) const {
  for (const Value& value : values)
    if (PROP_ID(value.tag) == PROP_ID(tag)) return value;
  return {};
}

Answer getProps(IMAPIProp& object, Tags tags, ULONG flags) {
  Answer answer;
  ULONG count = 0;
  SPropValue* values = nullptr;
  answer.result = object.GetProps(tags, flags, &count, &values);
  const Owned<SPropValue> owner(values);
  for (ULONG i = 0; i < count; ++i) answer.values.push_back(valueOf(values[i]));
  return answer;
}

Value getOne(IMAPIProp& object, ULONG tag) {
  SPropValue* value = nullptr;
  const HRESULT result = library().hrGetOneProp(&object, tag, &value);
  const Owned<SPropValue> owner(value);
  if (FAILED(result)) return {.tag = CHANGE_PROP_TYPE(tag, PT_ERROR), .number = result};
  return valueOf(*value);
}

std::vector<ULONG> propList(IMAPIProp& object, ULONG flags) {
  SPropTagArray* tags = nullptr;
  EXPECT_EQ(object.GetPropList(flags, &tags), S_OK);
  const Owned<SPropTagArray> owner(tags);
  return tags ? std::vector<ULONG>(tags->aulPropTag, tags->aulPropTag + tags->cValues) : std::vector<ULONG>();
}

Rows queryAll(IMAPITable& table, Tags columns, LPSRestriction restriction, LPSSortOrderSet order) {
  SRowSet* rows = nullptr;
  EXPECT_EQ(library().hrQueryAllRows(&table, columns, restriction, order, 0, &rows), S_OK);
  const Owned<SRowSet> owner(rows);
  return rowsOf(rows);
}

Rows queryRows(IMAPITable& table, LONG count, ULONG flags) {
  SRowSet* rows = nullptr;
  EXPECT_EQ(table.QueryRows(count, flags, &rows), S_OK);
  const Owned<SRowSet> owner(rows);
  return rowsOf(rows);
}

ULONG position(IMAPITable& table) {
  ULONG row = 0xBAD, numerator = 0, denominator = 0;
  EXPECT_EQ(table.QueryPosition(&row, &numerator, &denominator), S_OK);
  return row;
}

ComPtr<IStream> openStream(IMAPIProp& object, ULONG tag, HRESULT expected) {
  ComPtr<IStream> stream;
  EXPECT_EQ(object.OpenProperty(tag, &IID_IStream, 0, 0, reinterpret_cast<LPUNKNOWN*>(stream.GetAddressOf())),
            expected);
  return stream;
}

Bytes readStream(IStream& stream, ULONG atATime) {
  Bytes all, piece(atATime, '\0');
  for (;;) {
    ULONG count = 0;
    EXPECT_TRUE(SUCCEEDED(stream.Read(piece.data(), atATime, &count)));
    if (count == 0) return all;
    all.append(piece, 0, count);
  }
}

Session::Session(const wchar_t* profile) {
  EXPECT_EQ(library().initialize(nullptr), S_OK);
  EXPECT_EQ(library().logonEx(0, const_cast<LPTSTR>(profile), nullptr, MAPI_UNICODE | MAPI_EXTENDED | MAPI_NEW_SESSION,
                              &session_),
            S_OK);
}

Session::~Session() {
  if (session_) {
    EXPECT_EQ(session_->Logoff(0, 0, 0), S_OK);
  }
  session_.Reset();
  library().uninitialize();
}

ComPtr<IMsgStore> Session::openStore(std::wstring_view displayName, ULONG flags) {
  ComPtr<IMAPITable> table;
  EXPECT_EQ(session_->GetMsgStoresTable(MAPI_UNICODE, &table), S_OK);
  for (const Row& row : queryAll(*table.Get(), {PR_DISPLAY_NAME_W, PR_ENTRYID})) {
    if (row[0].text != displayName) continue;
    ComPtr<IMsgStore> store;
    EXPECT_EQ(session_->OpenMsgStore(0, sizeOf(row[1].bytes), entryId(row[1].bytes), nullptr, flags, &store), S_OK);
    return store;
  }
  ADD_FAILURE() << "no such store";
  return nullptr;
}

ComPtr<IMAPIFolder> Session::openFolder(std::wstring_view path, ULONG flags) {
  std::size_t end = path.find(L'@');
  const ComPtr<IMsgStore> store = openStore(path.substr(0, end));
  if (!store) return nullptr;
  ComPtr<IMAPIFolder> folder =
      openEntry<IMAPIFolder>(*store.Get(), getOne(*store.Get(), PR_IPM_SUBTREE_ENTRYID).bytes, flags);
  while (folder && end != std::wstring_view::npos) {
    const std::size_t begin = end + 1;
    end = path.find(L'@', begin);
    const std::wstring name(path.substr(begin, end == std::wstring_view::npos ? end : end - begin));
    Bytes id;
    for (const Row& row : queryAll(*hierarchy(*folder.Get()).Get(), {PR_DISPLAY_NAME_W, PR_ENTRYID}))
      if (row[0].text == name) id = row[1].bytes;
    EXPECT_FALSE(id.empty()) << "a folder of the path is missing";
    folder = id.empty() ? nullptr : openEntry<IMAPIFolder>(*store.Get(), id, flags);
  }
  return folder;
}

template <class Interface>
ComPtr<Interface> openEntry(IMsgStore& store, const Bytes& id, ULONG flags) {
  ComPtr<Interface> object;
  ULONG type = 0;
  EXPECT_EQ(store.OpenEntry(sizeOf(id), entryId(id), nullptr, flags, &type,
                            reinterpret_cast<LPUNKNOWN*>(object.GetAddressOf())),
            S_OK);
  EXPECT_EQ(type, static_cast<ULONG>(std::is_same_v<Interface, IMessage> ? MAPI_MESSAGE : MAPI_FOLDER));
  return object;
}
template ComPtr<IMessage> openEntry(IMsgStore&, const Bytes&, ULONG);
template ComPtr<IMAPIFolder> openEntry(IMsgStore&, const Bytes&, ULONG);

ComPtr<IMAPITable> contents(IMAPIFolder& folder, ULONG flags) {
  ComPtr<IMAPITable> table;
  EXPECT_EQ(folder.GetContentsTable(flags, &table), S_OK);
  return table;
}

ComPtr<IMAPITable> hierarchy(IMAPIFolder& folder, ULONG flags) {
  ComPtr<IMAPITable> table;
  EXPECT_EQ(folder.GetHierarchyTable(flags, &table), S_OK);
  return table;
}

}  // namespace client
