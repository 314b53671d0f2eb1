#include "server_status.h"

namespace fendrel::store {

Status statusOf(jmap::FailureKind kind) noexcept {
  using jmap::FailureKind;
  switch (kind) {
    case FailureKind::cancelled: return Status::Cancelled;
    case FailureKind::badAddress: return Status::Invalid;
    case FailureKind::timedOut:
    case FailureKind::busy: return Status::Busy;
    case FailureKind::unknownName:
    case FailureKind::refused:
    case FailureKind::lost:
    case FailureKind::untrusted:
    case FailureKind::wrongName:
    case FailureKind::tls:
    case FailureKind::redirected:
    case FailureKind::noMail: return Status::Unreachable;
    case FailureKind::unauthorized: return Status::LogonFailed;
    case FailureKind::noAccess: return Status::NoAccess;
    case FailureKind::notFound: return Status::NotFound;
    case FailureKind::nameTaken: return Status::AlreadyExists;
    case FailureKind::hasMessages: return Status::HasMessages;
    case FailureKind::hasMailboxes: return Status::HasFolders;
    case FailureKind::overQuota: return Status::NotEnoughDisk;
    case FailureKind::tooLarge: return Status::TooLarge;
    case FailureKind::badMessage: return Status::Invalid;
    case FailureKind::stateTooOld:
    case FailureKind::failed: return Status::Failed;
  }
  return Status::Failed;
}

}  // namespace fendrel::store
