// The local store as this machine's mail client, as Windows' own MAPI32.DLL looks it up:
//
//   Software\Clients\Mail            the default value names the client
//   Software\Clients\Mail\Fendrel    DLLPathEx is the library with Extended MAPI
//
// below HKEY_CURRENT_USER for one user, which comes first, or HKEY_LOCAL_MACHINE for all.
#pragma once

#include <optional>
#include <string>

namespace fendrel::host {

enum class ClientScope { user, machine };

struct ClientEntry {
  std::wstring defaultClient;           // whom the scope names; empty: nobody
  std::optional<std::wstring> library;  // the DLLPathEx of our own entry, where there is one
};

// The name of our entry.
inline constexpr wchar_t clientName[] = L"Fendrel";

bool isOurs(const ClientEntry& entry);

// Whose MAPI a program of this user gets: the user's choice, else the machine's.
struct DefaultClient {
  std::wstring name;     // empty: nobody's
  std::wstring library;  // its Extended MAPI, environment variables expanded; empty: it brings none
};

// The registry has a view of its own for programs of 32 bits. Throws Failure.
enum class ClientView { bits64, bits32 };
DefaultClient defaultClient(ClientView view = ClientView::bits64);

// What the registry says. Throws Failure.
ClientEntry readClient(ClientScope scope);

// Names `library` and makes it the default; what was the default before is kept in our entry. False, with nothing
// changed, where this user may not write there. Throws Failure.
bool registerClient(ClientScope scope, const std::wstring& library);

// Takes our entry away and makes the default what it was, unless somebody else has become it meanwhile. False, with
// nothing changed, where this user may not write there. Throws Failure.
bool unregisterClient(ClientScope scope);

}  // namespace fendrel::host
