// Asks the user under which name each report is posted, and takes its comment and body from the report itself.
#pragma once

#include <windows.h>

#include "posting_loop.h"

namespace fendrel {

class ReportNaming : public NamingStep {
 public:
  explicit ReportNaming(HWND parentWindow) noexcept : parentWindow_(parentWindow) {}

  // Asks until the name is one that no other hidden message of `folder` carries. A dialog that cannot be shown posts
  // the file without texts.
  Naming nameReport(const std::wstring& reportName, const wchar_t* filePath, IMAPIFolder* folder,
                    ReportTexts& texts) override;

 private:
  HWND parentWindow_;
};

// Whether a hidden message of `folder` carries `name`. A table that cannot be read carries none.
bool isReportNameUsed(IMAPIFolder* folder, const wchar_t* name) noexcept;

// Reads comment and body from a file of tagged items; one that is none gives neither.
void readReportTexts(const wchar_t* filePath, ReportTexts& texts) noexcept;

}  // namespace fendrel
