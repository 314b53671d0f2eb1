// A mail server's description of a message as one plain struct: our own messages and those of any mail program.
// The server has parsed the mail (Email/get, RFC 8621); this code does not read MIME.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fendrel::mime {

// The properties to request from the server. Rows: those of the header, which need no access to the message; whole:
// also the parts and their texts.
std::vector<std::string> rowProperties();
std::vector<std::string> wholeProperties();
std::vector<std::string> wholeBodyProperties();

// A part of the message with content.
struct MailPart {
  std::string blob;       // id, for a download; the bytes are decoded
  std::string name;       // UTF-8; a part without a name gets one: "part 2.pdf"
  std::string mediaType;  // lower case
  std::uint64_t size = 0;
  std::string charset;  // of text
};

struct ReadMail {
  std::string id, blob;  // the blob is the whole mail
  std::vector<std::string> mailboxes;
  std::vector<std::string> keywords;  // lower case
  std::uint64_t size = 0;             // of the whole mail
  std::chrono::sys_seconds received{};

  std::string senderName, senderAddress;
  std::string subject;
  std::optional<std::chrono::sys_seconds> date, delivered;
  std::string messageId;  // "<left@right>"
  std::optional<int> importance, sensitivity;
  std::map<std::string, std::string> ownHeaders;  // the existing ones of mail_headers.h
  bool hasAttachments = false;                    // as the server says

  // Only of a whole message.
  std::string text;        // UTF-8, lines end with CR LF
  bool isTextCut = false;  // it or the HTML; `textParts` has the complete text
  std::string html;        // if the mail has it
  std::vector<MailPart> textParts;
  std::vector<MailPart> attachments;  // attached files in their order, without the property part
  std::optional<MailPart> propertyPart;
  std::string properties;  // its content, if the server returned it
};

// Values that are missing or of another type stay empty.
ReadMail readMail(const nlohmann::json& email);

}  // namespace fendrel::mime
