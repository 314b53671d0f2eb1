// The contract: what the plug-in relies on from any MAPI subsystem.
#pragma once

#include <gmock/gmock.h>
#include <mapicode.h>
#include <mapitags.h>

#include <optional>

#include "contract_world.h"

namespace contract {

using Bytes = std::vector<BYTE>;

class Tags {
 public:
  Tags(std::initializer_list<ULONG> tags) : words_{static_cast<ULONG>(tags.size())} {
    words_.insert(words_.end(), tags.begin(), tags.end());
  }
  operator LPSPropTagArray() { return reinterpret_cast<LPSPropTagArray>(words_.data()); }

 private:
  std::vector<ULONG> words_;
};

Bytes bytesOf(const SPropValue& value);
LPENTRYID entryId(const Bytes& bytes);

// A name outside ASCII that the ANSI code page of the process can hold, wide and 8-bit.
const wchar_t* localName();
std::string localNameInAnsi();

// The world with a logged-on session.
class ContractTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Null: the profile has none.
  virtual const wchar_t* password() const { return nullptr; }
  // More than one are only read.
  virtual std::vector<std::wstring> foldersInReports() const { return {L"Daily"}; }

  // Like the plug-in's silent logon.
  static HRESULT logOn(const wchar_t* profile, const wchar_t* password, ComPtr<IMAPISession>& opened);

  ComPtr<IMAPITable> storesTable();
  ComPtr<IMsgStore> openStore(const Bytes& id, LPCIID interfaceId = &IID_IMsgStore,
                              ULONG flags = MDB_WRITE | MDB_NO_DIALOG);
  ComPtr<IMsgStore> openPublicStore();
  ComPtr<IMsgStore> openDefaultStore();
  ComPtr<IMAPIFolder> openSubtree(IMsgStore& store);
  ComPtr<IMAPIFolder> openFolder(IMsgStore& store, const Bytes& id, ULONG flags, LPCIID interfaceId = &IID_IMAPIFolder);

  // The entry identifier of the row with that display name; empty when there is none.
  static Bytes findRow(IMAPITable& table, const wchar_t* name);
  static ComPtr<IMAPITable> hierarchyOf(IMAPIFolder& folder);
  static ComPtr<IMAPITable> contentsOf(IMAPIFolder& folder, ULONG flags = 0);
  static ULONG countOf(IMAPITable& table);

  // "Public Folders@Reports", opened to post into.
  ComPtr<IMAPIFolder> openReports(IMsgStore& store);

  ComPtr<IMAPISession> session;
};

}  // namespace contract
