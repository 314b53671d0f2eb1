// What a mail server tells of a message, as one plain struct: our own messages and those of any mail program.
//
// The server has parsed the mail (Email/get, RFC 8621); nothing here reads MIME.
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

// What to ask the server for. Rows: all that stands in the header and needs no look into the message; whole: the parts
// and their texts, too.
std::vector<std::string> rowProperties();
std::vector<std::string> wholeProperties();
std::vector<std::string> wholeBodyProperties();

// A part of the message that has bytes of its own.
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
  std::map<std::string, std::string> ownHeaders;  // those of mail_headers.h that are there
  bool hasAttachments = false;                    // in the server's words

  // Of a whole message only.
  std::string text;        // UTF-8, lines ended by CR LF
  bool isTextCut = false;  // there is more of it: `textParts` has the whole
  std::string html;        // where the mail has it
  std::vector<MailPart> textParts;
  std::vector<MailPart> attachments;  // those that a person would call so, in their order; never the property part
  std::optional<MailPart> propertyPart;
  std::string properties;  // its content where the server gave it
};

// Takes whatever of it is there: what is missing or of another type stays empty.
ReadMail readMail(const nlohmann::json& email);

}  // namespace fendrel::mime
