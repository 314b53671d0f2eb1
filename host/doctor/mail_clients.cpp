#include "doctor/mail_clients.h"

#include <windows.h>

namespace fendrel::host {
namespace {

constexpr const wchar_t* clients = L"Software\\Clients\\Mail";

// A text, its variables expanded; empty when there is none.
std::wstring readText(HKEY root, const std::wstring& key, const wchar_t* value, DWORD view) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(root, key.c_str(), 0, KEY_QUERY_VALUE | view, &opened) != ERROR_SUCCESS) return {};
  wchar_t text[2048] = L"";
  DWORD size = sizeof text - sizeof(wchar_t), type = 0;
  const LSTATUS status = RegQueryValueExW(opened, value, nullptr, &type, reinterpret_cast<BYTE*>(text), &size);
  RegCloseKey(opened);
  if (status != ERROR_SUCCESS || (type != REG_SZ && type != REG_EXPAND_SZ)) return {};
  if (type == REG_SZ) return text;
  wchar_t expanded[4096] = L"";
  ExpandEnvironmentStringsW(text, expanded, static_cast<DWORD>(std::size(expanded)));
  return expanded;
}

}  // namespace

MailClient defaultMailClient(Bits bits) {
  const DWORD view = bits == Bits::bits32 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
  MailClient client;
  client.name = readText(HKEY_CURRENT_USER, clients, nullptr, view);
  if (client.name.empty()) client.name = readText(HKEY_LOCAL_MACHINE, clients, nullptr, view);
  if (client.name.empty()) return client;
  client.library = readText(HKEY_LOCAL_MACHINE, std::wstring(clients) + L'\\' + client.name, L"DLLPathEx", view);
  if (!client.library.empty()) client.bits = bitsOf(client.library);
  return client;
}

}  // namespace fendrel::host
