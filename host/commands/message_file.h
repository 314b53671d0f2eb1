// Writes a message or its attachments to files, in the form that --as names.
#pragma once

#include <string>

#include "commands.h"
#include "eml_writer.h"
#include "new_file.h"
#include "progress.h"

namespace fendrel::host {

// The value of --as: "file" for only the attached files, "msg", "eml".
struct MessageForm {
  std::string name = "file";

  void addOption(CLI::App& command, const std::string& words);
  bool isWholeMessage() const { return name != "file"; }
  // ".msg", ".eml"
  std::wstring extension() const;
};

// Writes the whole message to a new file. Attachments that are not files are reported on standard error.
void writeMessage(IMessage& message, const MessageForm& form, NewFile& file, Progress& progress);

// Writes one attachment's bytes to a new file.
void writeAttachment(const Attachment& attachment, NewFile& file, Progress& progress);

// Reports an attachment that was left out.
void tellLeftOut(const std::wstring& name);

}  // namespace fendrel::host
