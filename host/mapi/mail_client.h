// Registers the local store as this machine's mail client, where Windows' own MAPI32.DLL looks it up:
//
//   Software\Clients\Mail            the default value names the client
//   Software\Clients\Mail\Fendrel    DLLPathEx is the library with Extended MAPI
// under HKEY_CURRENT_USER for one user, which takes precedence, or HKEY_LOCAL_MACHINE for all.
#pragma once

#include <optional>
#include <string>

namespace fendrel::host {

enum class ClientScope { user, machine };

struct ClientEntry {
  std::wstring defaultClient;           // empty: none
  std::optional<std::wstring> library;  // the DLLPathEx of our entry, if it exists
};

// The name of our entry.
inline constexpr wchar_t clientName[] = L"Fendrel";

bool isOurs(const ClientEntry& entry);

// The mail client whose MAPI this user's programs get: the user's choice, else the machine's.
struct DefaultClient {
  std::wstring name;     // empty: none
  std::wstring library;  // its Extended MAPI, environment variables expanded; empty: it has none
};

// The registry has a separate view for 32-bit programs. Throws Failure.
enum class ClientView { bits64, bits32 };
DefaultClient defaultClient(ClientView view = ClientView::bits64);

// Reads the registry. Throws Failure.
ClientEntry readClient(ClientScope scope);

// Registers `library` and makes it the default; our entry saves the previous default. False, with nothing changed, if
// this user may not write there. Throws Failure.
bool registerClient(ClientScope scope, const std::wstring& library);

// Removes our entry and restores the previous default, unless another client has become the default meanwhile. False,
// with nothing changed, if this user may not write there. Throws Failure.
bool unregisterClient(ClientScope scope);

}  // namespace fendrel::host
