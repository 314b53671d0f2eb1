// How what was asked of a mail server ends when it does not end well. Thrown by everything in this folder; besides it
// std::bad_alloc alone leaves a call.
#pragma once

#include <chrono>
#include <exception>
#include <string>
#include <utility>

namespace fendrel::jmap {

enum class FailureKind {
  cancelled,     // Settings::isCancelled said so
  badAddress,    // no server has an address like that, or its scheme is http and it is another machine
  unknownName,   // no machine has that name
  refused,       // nobody listens there
  timedOut,      // nothing came or went for Settings::patience
  lost,          // the connection ended, also in the middle of an answer: what was asked for may have been done
  untrusted,     // TLS: an issuer that this machine does not know, or a certificate that is out of date or revoked
  wrongName,     // TLS: the certificate is another machine's
  tls,           // anything else that keeps TLS from being set up
  redirected,    // to another server, which is not told the password; the words name it
  unauthorized,  // wrong name, password or token
  noMail,        // the server answers, but not with JMAP mail
  noAccess,      // no right to do that
  notFound,      // no such account, mailbox, message or blob
  nameTaken,     // a mailbox of that name is there
  hasMessages,   // a mailbox to delete holds messages
  hasMailboxes,  // a mailbox to delete holds mailboxes
  overQuota,     // the account is full
  tooLarge,      // larger than the server takes; nothing of it was sent where the server says how much that is
  badMessage,    // the server does not take a message like that
  stateTooOld,   // the server does not know any more what has changed since then: read all again
  busy,          // 429 or 503, and longer than Settings::patience
  failed,        // anything else that the server says
};

struct ServerFailure : std::exception {
  ServerFailure(FailureKind what, std::string words, bool passesByItself = false,
                std::chrono::seconds leftAlone = std::chrono::seconds(0))
      : kind(what), text(std::move(words)), passes(passesByItself), retryAfter(leftAlone) {}
  const char* what() const noexcept override { return text.c_str(); }

  FailureKind kind;
  std::string text;                 // English, UTF-8, names the server: what happened and the way out; never a secret
  bool passes;                      // by itself: asking later may do. It was asked again already where that is safe.
  std::chrono::seconds retryAfter;  // how long a busy server wants to be left alone; 0: it does not say
};

// English name, for messages and test output.
const char* name(FailureKind kind) noexcept;

}  // namespace fendrel::jmap
