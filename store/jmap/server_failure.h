// A failed request to a mail server. Everything in this folder throws it; besides it, only std::bad_alloc and the
// exceptions of a caller's functions leave a call.
#pragma once

#include <chrono>
#include <exception>
#include <string>
#include <utility>

namespace fendrel::jmap {

enum class FailureKind {
  cancelled,     // Settings::isCancelled returned true
  badAddress,    // not a server's address, or http to another machine; an unusable file of issuers
  unknownName,   // no machine has that name
  refused,       // no server listens there
  timedOut,      // nothing was received or sent for Settings::patience
  lost,          // the connection ended, or the answer is unreadable: the request may have been carried out
  untrusted,     // TLS: an unknown issuer, or a certificate that is out of date or revoked
  wrongName,     // TLS: the certificate is for another name
  tls,           // TLS: any other failure of the handshake
  redirected,    // to another server, which does not get the password; the text names it
  unauthorized,  // wrong name, password or token
  noMail,        // the server answers, but not with JMAP mail
  noAccess,      // the user lacks the right
  notFound,      // no such account, mailbox, message or blob
  nameTaken,     // a mailbox of that name exists
  hasMessages,   // a mailbox to delete holds messages
  hasMailboxes,  // a mailbox to delete holds mailboxes
  overQuota,     // the account is full
  tooLarge,      // larger than the server accepts; if the server states its limit, nothing was sent
  badMessage,    // the server does not accept such a message
  stateTooOld,   // the server no longer knows the changes since then: read everything again
  busy,          // 429, 502, 503, 504, or a JMAP error of that meaning
  failed,        // any other answer
};

struct ServerFailure : std::exception {
  ServerFailure(FailureKind what, std::string words, bool passesByItself = false,
                std::chrono::seconds leftAlone = std::chrono::seconds(0))
      : kind(what), text(std::move(words)), passes(passesByItself), retryAfter(leftAlone) {}
  const char* what() const noexcept override { return text.c_str(); }

  FailureKind kind;
  std::string text;                 // English, UTF-8, names the server: what happened and what to do; never a secret
  bool passes;                      // transient: a later attempt may succeed
  std::chrono::seconds retryAfter;  // of a busy server; 0: not given
};

// For messages and test output.
const char* name(FailureKind kind) noexcept;

}  // namespace fendrel::jmap
