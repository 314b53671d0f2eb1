// A failure with a text for the user, thrown by maintenance and examination.
#pragma once

#include <stdexcept>
#include <string>

#include "status.h"

namespace fendrel::store {

class StatusFailure : public std::runtime_error {
 public:
  // `text`: complete English sentences, UTF-8.
  StatusFailure(Status status, const std::string& text) : std::runtime_error(text), status_(status) {}
  Status status() const noexcept { return status_; }

 private:
  Status status_;
};

}  // namespace fendrel::store
