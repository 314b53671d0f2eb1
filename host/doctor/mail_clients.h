// The mail programs that the registry names: the system's MAPI32.DLL hands every call on to the default one's library.
#pragma once

#include <string>

#include "doctor/file_facts.h"

namespace fendrel::host {

struct MailClient {
  std::wstring name;     // as its key; empty: none
  std::wstring library;  // its Extended MAPI; empty: it brings none
  Bits bits = Bits::unknown;
};

// The default mail program as 64-bit programs see it, or as 32-bit ones do.
MailClient defaultMailClient(Bits view);

}  // namespace fendrel::host
