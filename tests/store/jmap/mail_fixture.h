// The mail server of the tests (tools/mail-server).
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "http_client.h"

namespace fendrel::test {

// A variable that tools/mail-server sets. Ends the program with a message if it is missing.
std::string mailVariable(const char* name);

// Without TLS.
jmap::Settings mailSettings(const std::string& user = "alice");
// With TLS; the server's certificate is an issuer.
jmap::Settings secureMailSettings(const std::string& user = "alice");

std::wstring certificateFile();

std::uint16_t mailPort();  // of the server's plain HTTP

// Returns the action's failure. Fails the test if there is none.
template <class Action>
jmap::ServerFailure failureOf(Action&& action) {
  try {
    action();
  } catch (const jmap::ServerFailure& failure) {
    return failure;
  }
  throw std::runtime_error("It did not fail.");
}

template <class Action>
std::string kindOf(Action&& action) {
  return name(failureOf(std::forward<Action>(action)).kind);
}

}  // namespace fendrel::test
