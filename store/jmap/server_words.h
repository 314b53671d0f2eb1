// What a server's refusals mean, and the words for them.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "http_client.h"
#include "server_failure.h"

namespace fendrel::jmap {

// `server`: its name. None of these holds a secret: the server's own words are cut and shown without control
// characters.

// An unsuccessful HTTP status, with the text that came with it.
ServerFailure statusFailure(const std::string& server, const HttpAnswer& head, std::string_view text);

// The arguments of an "error" answer (RFC 8620, 3.6.2).
ServerFailure methodFailure(const std::string& server, const nlohmann::json& error);

// A SetError (RFC 8620, 5.3), also of an import. `subject`: what it is about, "The mailbox 'Reports'".
ServerFailure setFailure(const std::string& server, const nlohmann::json& error, const std::string& subject);

ServerFailure noMailFailure(const std::string& server);
ServerFailure unreadableFailure(const std::string& server);
ServerFailure redirectedFailure(const std::string& server, const ServerAddress& to);
ServerFailure tooLargeFailure(const std::string& server, std::uint64_t size, std::uint64_t limit);
ServerFailure nameTakenFailure(const std::string& server, const std::string& subject);
ServerFailure noAccessFailure(const std::string& server, const std::string& subject);
ServerFailure notFoundFailure(const std::string& server, const std::string& subject);

// Where a redirect leads; one that leads nowhere throws noMail, one to plain http elsewhere redirected.
ServerAddress redirectTarget(const ServerAddress& from, const std::string& location);

}  // namespace fendrel::jmap
