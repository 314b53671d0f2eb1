// How a program makes a profile of a mail server: IMsgServiceAdmin::ConfigureMsgService of the profile's one service,
// with these properties. All are texts; what is not given stays as it is, and is empty at first.
#pragma once

#include <mapidefs.h>

namespace fendrel {

constexpr ULONG serverUrlTag = PROP_TAG(PT_UNICODE, 0x6780);      // "https://mail.example"; has to be given once
constexpr ULONG serverUserTag = PROP_TAG(PT_UNICODE, 0x6781);     // who signs in; empty: the secret is a bearer token
constexpr ULONG publicAccountTag = PROP_TAG(PT_UNICODE, 0x6782);  // the account that is shown as "Public Folders"
constexpr ULONG tlsCaFileTag = PROP_TAG(PT_UNICODE, 0x6783);      // full path: certificates of more issuers

// Password or token. In the range of properties that are kept sealed and that no profile section shows.
constexpr ULONG serverSecretTag = PROP_TAG(PT_UNICODE, 0x67F0);

}  // namespace fendrel
