#include "mail_client.h"

#include <windows.h>

#include "failure.h"

namespace fendrel::host {
namespace {

constexpr wchar_t clientsKey[] = L"Software\\Clients\\Mail", ownKey[] = L"Software\\Clients\\Mail\\Fendrel";
constexpr wchar_t libraryValue[] = L"DLLPathEx", replacedValue[] = L"ReplacedDefault";

HKEY rootOf(ClientScope scope) { return scope == ClientScope::user ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE; }

[[noreturn]] void fail(LSTATUS status) {
  throw systemFailure(ExitCode::failed, "The registration of mail clients cannot be used", static_cast<DWORD>(status));
}

constexpr DWORD asItStands = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
constexpr DWORD expanded = RRF_RT_REG_SZ;

class Key {
 public:
  Key() = default;
  ~Key() {
    if (key_) RegCloseKey(key_);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  LSTATUS open(ClientScope scope, const wchar_t* path, REGSAM access) {
    return RegOpenKeyExW(rootOf(scope), path, 0, access, &key_);
  }
  LSTATUS create(ClientScope scope, const wchar_t* path) {
    return RegCreateKeyExW(rootOf(scope), path, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key_, nullptr);
  }

  // Null names the default value. Nothing if the value is missing or not text.
  std::optional<std::wstring> text(const wchar_t* name, DWORD kinds = asItStands) const {
    std::wstring value;
    DWORD size = 0;
    LSTATUS status = RegGetValueW(key_, nullptr, name, kinds, nullptr, nullptr, &size);
    while (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
      value.resize(size / sizeof(wchar_t));
      size = static_cast<DWORD>(value.size() * sizeof(wchar_t));
      status = RegGetValueW(key_, nullptr, name, kinds, nullptr, value.data(), &size);
      if (status == ERROR_MORE_DATA) continue;
      if (status != ERROR_SUCCESS) break;
      value.resize(wcsnlen(value.c_str(), value.size()));
      return value;
    }
    if (status == ERROR_FILE_NOT_FOUND || status == ERROR_UNSUPPORTED_TYPE) return std::nullopt;
    fail(status);
  }

  void set(const wchar_t* name, const std::wstring& value) const {
    const auto* bytes = reinterpret_cast<const BYTE*>(value.c_str());
    const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    if (const LSTATUS status = RegSetValueExW(key_, name, 0, REG_SZ, bytes, size); status != ERROR_SUCCESS)
      fail(status);
  }

  void remove(const wchar_t* name) const {
    const LSTATUS status = RegDeleteValueW(key_, name);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) fail(status);
  }

 private:
  HKEY key_ = nullptr;
};

// False if there is no such key.
bool openToRead(Key& key, ClientScope scope, const wchar_t* path, REGSAM view = 0) {
  const LSTATUS status = key.open(scope, path, KEY_READ | view);
  if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) fail(status);
  return status == ERROR_SUCCESS;
}

}  // namespace

bool isOurs(const ClientEntry& entry) {
  return CompareStringOrdinal(entry.defaultClient.c_str(), -1, clientName, -1, TRUE) == CSTR_EQUAL;
}

DefaultClient defaultClient(ClientView view) {
  const REGSAM access = view == ClientView::bits32 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
  const auto read = [&](const std::wstring& path, const wchar_t* value) {
    for (const ClientScope scope : {ClientScope::user, ClientScope::machine}) {
      Key key;
      if (!openToRead(key, scope, path.c_str(), access)) continue;
      if (auto text = key.text(value, expanded); text && !text->empty()) return *text;
    }
    return std::wstring();
  };
  DefaultClient client;
  client.name = read(clientsKey, nullptr);
  if (!client.name.empty()) client.library = read(clientsKey + (L'\\' + client.name), libraryValue);
  return client;
}

ClientEntry readClient(ClientScope scope) {
  ClientEntry entry;
  Key clients, own;
  if (openToRead(clients, scope, clientsKey)) entry.defaultClient = clients.text(nullptr).value_or(std::wstring());
  if (openToRead(own, scope, ownKey)) entry.library = own.text(libraryValue).value_or(std::wstring());
  return entry;
}

bool registerClient(ClientScope scope, const std::wstring& library) {
  const bool wasOurs = isOurs(readClient(scope));
  Key clients, own;
  LSTATUS status = clients.create(scope, clientsKey);
  if (status == ERROR_SUCCESS) status = own.create(scope, ownKey);
  if (status == ERROR_ACCESS_DENIED) return false;
  if (status != ERROR_SUCCESS) fail(status);
  own.set(nullptr, clientName);
  own.set(libraryValue, library);
  if (wasOurs) return true;  // the previous default is saved already
  const auto before = clients.text(nullptr);
  if (before)
    own.set(replacedValue, *before);
  else
    own.remove(replacedValue);
  clients.set(nullptr, clientName);
  return true;
}

bool unregisterClient(ClientScope scope) {
  const ClientEntry entry = readClient(scope);
  if (!entry.library && !isOurs(entry)) return true;
  Key clients, own;
  LSTATUS status = clients.create(scope, clientsKey);
  if (status == ERROR_SUCCESS) status = own.create(scope, ownKey);
  if (status == ERROR_ACCESS_DENIED) return false;
  if (status != ERROR_SUCCESS) fail(status);
  if (isOurs(entry)) {
    const auto before = own.text(replacedValue);
    if (before)
      clients.set(nullptr, *before);
    else
      clients.remove(nullptr);
  }
  status = RegDeleteTreeW(rootOf(scope), ownKey);
  if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) fail(status);
  return true;
}

}  // namespace fendrel::host
