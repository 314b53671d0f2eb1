// Failures of a mail server as the engine's statuses.
#pragma once

#include "server_failure.h"
#include "status.h"

namespace fendrel::store {

Status statusOf(jmap::FailureKind kind) noexcept;

}  // namespace fendrel::store
