// The mail server that the tests run beside (tools/mail-server).
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "http_client.h"

namespace fendrel::test {

// A variable that tools/mail-server sets. Fails the program with words where it is missing.
std::string mailVariable(const char* name);

// alice unless said otherwise, without TLS.
jmap::Settings mailSettings(const std::string& user = "alice");
// With TLS, and the server's certificate as an issuer.
jmap::Settings secureMailSettings(const std::string& user = "alice");

std::wstring certificateFile();

std::uint16_t mailPort();  // of the server's plain HTTP

// What the action ends with. Ends the test with words where it does not fail.
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
