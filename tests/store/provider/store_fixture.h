// A new store, and common first steps of tests.
#pragma once

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "local_mapi.h"
#include "temp_folder.h"

// Text as MAPI's functions take it: wide with MAPI_UNICODE, 8-bit without.
inline LPTSTR wide(const wchar_t* text) { return const_cast<LPTSTR>(text); }
inline LPTSTR ansi(const char* text) { return reinterpret_cast<LPTSTR>(const_cast<char*>(text)); }

// "MAPI_E_NOT_FOUND" and so on, so that a failed expectation can be read.
std::string resultName(HRESULT result);

// EXPECT_THAT(call, Gives(MAPI_E_NOT_FOUND))
MATCHER_P(Gives, expected, "gives " + resultName(expected)) {
  *result_listener << resultName(arg);
  return arg == static_cast<HRESULT>(expected);
}

using Bytes = std::vector<unsigned char>;

Bytes bytesOf(const SPropValue& value);                    // of a PT_BINARY value
Bytes patternBytes(std::size_t count, unsigned seed = 1);  // without short periods

SPropValue textValue(ULONG tag, const wchar_t* text);
SPropValue ansiValue(ULONG tag, const char* text);
SPropValue longValue(ULONG tag, LONG value);
SPropValue boolValue(ULONG tag, bool value);
SPropValue binaryValue(ULONG tag, Bytes& bytes);

// SPropTagArray of any length.
class Tags {
 public:
  Tags(std::initializer_list<ULONG> tags);
  operator LPSPropTagArray() { return reinterpret_cast<LPSPropTagArray>(words_.data()); }

 private:
  std::vector<ULONG> words_;
};

// A bookmark of the published interface; the headers' type has only half its width.
struct Bookmark {
  union {
    ULONG_PTR wide = 0;
    BOOKMARK place;
  };
  operator BOOKMARK() const { return place; }
};

// The entry identifiers of messages, for calls that take a list.
class Entries {
 public:
  explicit Entries(std::vector<Bytes> ids) : ids_(std::move(ids)) {
    for (Bytes& id : ids_) entries_.push_back({static_cast<ULONG>(id.size()), id.data()});
    list_ = {static_cast<ULONG>(entries_.size()), entries_.data()};
  }
  Entries(const Entries&) = delete;
  Entries& operator=(const Entries&) = delete;
  operator LPENTRYLIST() { return &list_; }

 private:
  std::vector<Bytes> ids_;
  std::vector<SBinary> entries_;
  ENTRYLIST list_{};
};

// A store with the profile "Anna", initialized for MAPI. Each test has a file of its own.
class StoreTest : public testing::Test {
 protected:
  StoreTest();
  ~StoreTest() override;

  static void createProfile(const wchar_t* name, const wchar_t* password = nullptr);
  ComPtr<IMAPISession> logon(const wchar_t* profile = L"Anna");
  // By the start of its display name; the store is opened for writing.
  ComPtr<IMsgStore> openStore(IMAPISession& session, std::wstring_view name, ULONG flags = MDB_WRITE);
  ComPtr<IMAPIFolder> openSubtree(IMsgStore& store);
  ComPtr<IMAPIFolder> createFolder(IMAPIFolder& parent, const wchar_t* name);
  // A new message with this subject, saved.
  void post(IMAPIFolder& folder, const wchar_t* subject);
  // The only message of a folder, opened.
  ComPtr<IMessage> openFirst(IMAPIFolder& folder, ULONG flags = 0);
  // The same folder through another object, of the same or of another session.
  static ComPtr<IMAPIFolder> openAgain(IMAPIFolder& folder, IMsgStore& store, ULONG flags = MAPI_BEST_ACCESS);
  // The identifiers of a folder's messages.
  static std::vector<Bytes> messageIds(IMAPIFolder& folder);

  // Values of one object.
  static std::optional<std::wstring> text(IMAPIProp& object, ULONG tag);
  static std::optional<LONG> number(IMAPIProp& object, ULONG tag);
  static Bytes binary(IMAPIProp& object, ULONG tag);

  // The texts of one column of all rows.
  static std::vector<std::wstring> column(IMAPITable& table, ULONG tag, LPSRestriction restriction = nullptr,
                                          LPSSortOrderSet order = nullptr);
  static std::vector<std::wstring> subjects(IMAPIFolder& folder);

  TempFolder folder;
};

// A test that starts with a session, the public store and a folder "Reports" in it.
class FolderTest : public StoreTest {
 protected:
  FolderTest();
  ComPtr<IMAPISession> session;
  ComPtr<IMsgStore> store;
  ComPtr<IMAPIFolder> subtree;
  ComPtr<IMAPIFolder> reports;
};

// Reads a stream to its end in pieces.
Bytes readAll(IStream& stream, ULONG atATime = 4096);
ComPtr<IStream> openStream(IMAPIProp& object, ULONG tag, ULONG options, ULONG flags);
