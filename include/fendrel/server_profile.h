// Properties for IMsgServiceAdmin::ConfigureMsgService that put a profile on a mail server. All are texts, empty at
// first; omitted ones do not change.
#pragma once

#include <mapidefs.h>

namespace fendrel {

constexpr ULONG serverUrlTag = PROP_TAG(PT_UNICODE, 0x6780);      // "https://mail.example"; required the first time
constexpr ULONG serverUserTag = PROP_TAG(PT_UNICODE, 0x6781);     // user name; empty: the secret is a bearer token
constexpr ULONG publicAccountTag = PROP_TAG(PT_UNICODE, 0x6782);  // the account that is shown as "Public Folders"
constexpr ULONG tlsCaFileTag = PROP_TAG(PT_UNICODE, 0x6783);      // full path: additional issuer certificates

// Password or token; in the identifier range of properties that are stored encrypted and that no profile section shows.
constexpr ULONG serverSecretTag = PROP_TAG(PT_UNICODE, 0x67F0);

}  // namespace fendrel
