// Posts every file of one export call as a message with the file as its attachment.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "destination.h"
#include "error_text.h"
#include "report_message.h"

namespace fendrel {

// The naming step's result for one file; any other value, from a dialog that could not be shown, posts too.
enum class Naming : std::intptr_t { post = 1, skip = 2, abort = 3 };

// Asks for the display name, comment and body of a file. Used in template mode only.
class NamingStep {
 public:
  virtual ~NamingStep() = default;
  virtual Naming nameReport(const std::wstring& reportName, const wchar_t* filePath, IMAPIFolder* folder,
                            ReportTexts& texts) = 0;
};

// The fields of an export job that the loop uses, borrowed for the call.
struct PostingJob {
  IMAPISession* session;
  bool optionsSupplied;  // set up silently
  const Destination& destination;
  const std::vector<std::wstring>& fileNames;  // report names; a file without one is refused
  const SenderIdentity& sender;
  const wchar_t* templateClass;
  const wchar_t* documentClass;
  NamingStep& naming;    // used in template mode only
  ErrorText& errorText;  // receives the text of a failure
};

// Template mode posts hidden messages under names that the user enters; document mode posts ordinary ones.
bool isTemplateMode(const PostingJob& job) noexcept;

// Returns the host's code of the last file: a failed file does not stop later ones. If the folder does not open,
// nothing is posted.
std::uint32_t postReportFiles(const PostingJob& job, std::span<const wchar_t* const> filePaths);

}  // namespace fendrel
