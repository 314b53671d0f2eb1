#include "server_failure.h"

namespace fendrel::jmap {

const char* name(FailureKind kind) noexcept {
  switch (kind) {
    case FailureKind::cancelled: return "cancelled";
    case FailureKind::badAddress: return "badAddress";
    case FailureKind::unknownName: return "unknownName";
    case FailureKind::refused: return "refused";
    case FailureKind::timedOut: return "timedOut";
    case FailureKind::lost: return "lost";
    case FailureKind::untrusted: return "untrusted";
    case FailureKind::wrongName: return "wrongName";
    case FailureKind::tls: return "tls";
    case FailureKind::redirected: return "redirected";
    case FailureKind::unauthorized: return "unauthorized";
    case FailureKind::noMail: return "noMail";
    case FailureKind::noAccess: return "noAccess";
    case FailureKind::notFound: return "notFound";
    case FailureKind::nameTaken: return "nameTaken";
    case FailureKind::hasMessages: return "hasMessages";
    case FailureKind::hasMailboxes: return "hasMailboxes";
    case FailureKind::overQuota: return "overQuota";
    case FailureKind::tooLarge: return "tooLarge";
    case FailureKind::badMessage: return "badMessage";
    case FailureKind::stateTooOld: return "stateTooOld";
    case FailureKind::busy: return "busy";
    case FailureKind::failed: return "failed";
  }
  return "?";
}

}  // namespace fendrel::jmap
