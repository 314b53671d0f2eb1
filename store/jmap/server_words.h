// Turns a server's refusals into failures with their texts.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "http_client.h"
#include "server_failure.h"

namespace fendrel::jmap {

// `server`: its name. No text holds a secret. The server's own words are cut, and shown without control characters.

// From an unsuccessful HTTP status and the answer's text.
ServerFailure statusFailure(const std::string& server, const HttpAnswer& head, std::string_view text);

// From the arguments of an "error" response (RFC 8620, 3.6.2).
ServerFailure methodFailure(const std::string& server, const nlohmann::json& error);

// From a SetError (RFC 8620, 5.3), also of an import. `subject`: "The folder 'Reports'".
ServerFailure setFailure(const std::string& server, const nlohmann::json& error, const std::string& subject);

ServerFailure noMailFailure(const std::string& server);
ServerFailure unreadableFailure(const std::string& server);
ServerFailure redirectedFailure(const std::string& server, const ServerAddress& to);
ServerFailure tooLargeFailure(const std::string& server, std::uint64_t size, std::uint64_t limit);
ServerFailure nameTakenFailure(const std::string& server, const std::string& subject);
ServerFailure noAccessFailure(const std::string& server, const std::string& subject);
ServerFailure notFoundFailure(const std::string& server, const std::string& subject);

// The target of a redirect. Throws noMail if there is none, redirected if it is not allowed (plain http elsewhere).
ServerAddress redirectTarget(const ServerAddress& from, const std::string& location);

}  // namespace fendrel::jmap
