// An independent MAPI client, written from the published interface: it knows only what MAPI32.DLL returns.
#pragma once

#include <windows.h>

#include <mapicode.h>
#include <mapitags.h>
#include <mapiutil.h>
#include <mapix.h>
#include <wrl/client.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace client {

using Microsoft::WRL::ComPtr;
using Bytes = std::string;  // comparable with the content of files

// The entry points of the built MAPI32.DLL.
struct Library {
  using GetOneProp = HRESULT(WINAPI*)(LPMAPIPROP, ULONG, LPSPropValue*);
  using QueryAllRows = HRESULT(WINAPI*)(LPMAPITABLE, LPSPropTagArray, LPSRestriction, LPSSortOrderSet, LONG,
                                        LPSRowSet*);
  MAPIINITIALIZE* initialize;
  MAPIUNINITIALIZE* uninitialize;
  MAPILOGONEX* logonEx;
  MAPIFREEBUFFER* freeBuffer;
  MAPIADMINPROFILES* adminProfiles;
  void(WINAPI* freeProws)(LPSRowSet);
  GetOneProp hrGetOneProp;
  QueryAllRows hrQueryAllRows;
};
const Library& library();

struct Freeing {
  void operator()(void* block) const noexcept { library().freeBuffer(block); }
  void operator()(SRowSet* rows) const noexcept { library().freeProws(rows); }
};
template <class T>
using Owned = std::unique_ptr<T, Freeing>;

// A property's value, independent of its memory.
struct Value {
  ULONG tag = 0;
  std::int64_t number = 0;  // integers, booleans, times in 100 ns, errors; bits of floating point
  std::wstring text;        // PT_UNICODE
  Bytes bytes;              // PT_STRING8, PT_BINARY, PT_CLSID
  std::vector<Value> many;  // of PT_MV_ types, each with the single type

  bool isError() const { return PROP_TYPE(tag) == PT_ERROR; }
  bool operator==(const Value&) const = default;
};
Value valueOf(const SPropValue& property);
std::string describe(const Value& value);

using Row = std::vector<Value>;
using Rows = std::vector<Row>;
Rows rowsOf(const SRowSet* rows);
// One column of all rows.
std::vector<std::wstring> texts(const Rows& rows, std::size_t column);

// SPropTagArray of any length; without tags a null pointer, which requests all.
class Tags {
 public:
  Tags(std::initializer_list<ULONG> tags) : Tags(std::vector<ULONG>(tags)) {}
  explicit Tags(const std::vector<ULONG>& tags);
  operator LPSPropTagArray() { return words_.size() == 1 ? nullptr : reinterpret_cast<LPSPropTagArray>(words_.data()); }

 private:
  std::vector<ULONG> words_;
};

// SSortOrderSet of any length: pairs of a tag and TABLE_SORT_ASCEND or TABLE_SORT_DESCEND.
class SortOrder {
 public:
  SortOrder(std::initializer_list<std::pair<ULONG, ULONG>> columns);
  operator LPSSortOrderSet() { return reinterpret_cast<LPSSortOrderSet>(words_.data()); }

 private:
  std::vector<ULONG> words_;
};

struct Answer {
  HRESULT result = E_FAIL;
  Row values;
  // The value with that identifier; tag 0 when there is none.
  Value get(ULONG tag) const;
};
Answer getProps(IMAPIProp& object, Tags tags, ULONG flags = 0);
Value getOne(IMAPIProp& object, ULONG tag);  // by HrGetOneProp; an error value when that fails
std::vector<ULONG> propList(IMAPIProp& object, ULONG flags);

Rows queryAll(IMAPITable& table, Tags columns, LPSRestriction restriction = nullptr, LPSSortOrderSet order = nullptr);
Rows queryRows(IMAPITable& table, LONG count, ULONG flags = 0);
ULONG position(IMAPITable& table);

ComPtr<IStream> openStream(IMAPIProp& object, ULONG tag, HRESULT expected = S_OK);
Bytes readStream(IStream& stream, ULONG atATime);

inline LPENTRYID entryId(const Bytes& bytes) { return reinterpret_cast<LPENTRYID>(const_cast<char*>(bytes.data())); }
inline ULONG sizeOf(const Bytes& bytes) { return static_cast<ULONG>(bytes.size()); }

// MAPI started and a profile logged on, both ended with the object.
class Session {
 public:
  explicit Session(const wchar_t* profile);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  IMAPISession& mapi() { return *session_.Get(); }
  ComPtr<IMsgStore> openStore(std::wstring_view displayName, ULONG flags = MDB_WRITE);
  // By display names joined by @, store first.
  ComPtr<IMAPIFolder> openFolder(std::wstring_view path, ULONG flags = 0);

 private:
  ComPtr<IMAPISession> session_;
};

template <class Interface>
ComPtr<Interface> openEntry(IMsgStore& store, const Bytes& id, ULONG flags = 0);
ComPtr<IMAPITable> contents(IMAPIFolder& folder, ULONG flags = 0);
ComPtr<IMAPITable> hierarchy(IMAPIFolder& folder, ULONG flags = 0);

inline void PrintTo(const Value& value, std::ostream* out) { *out << describe(value); }

}  // namespace client
