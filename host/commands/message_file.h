// A message as a file, or its attachments as files, in the form that --as names.
#pragma once

#include <string>

#include "commands.h"
#include "eml_writer.h"
#include "new_file.h"
#include "progress.h"

namespace fendrel::host {

// What --as takes: "file" for the attached files alone, "msg", "eml".
struct MessageForm {
  std::string name = "file";

  void addOption(CLI::App& command, const std::string& words);
  bool isWholeMessage() const { return name != "file"; }
  // ".msg", ".eml"
  std::wstring extension() const;
};

// The whole message into a file that has no name yet. Attachments that are not files are named on standard error.
void writeMessage(IMessage& message, const MessageForm& form, NewFile& file, Progress& progress);

// One attachment's bytes into a file that has no name yet.
void writeAttachment(const Attachment& attachment, NewFile& file, Progress& progress);

// Says that an attachment was left out.
void tellLeftOut(const std::wstring& name);

}  // namespace fendrel::host
