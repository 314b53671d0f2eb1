// Asks the user for each report's name, and reads its comment and body from the report file.
#pragma once

#include <windows.h>

#include "posting_loop.h"

namespace fendrel {

class ReportNaming : public NamingStep {
 public:
  explicit ReportNaming(HWND parentWindow) noexcept : parentWindow_(parentWindow) {}

  // Asks until no other hidden message of `folder` has the name. If the dialog cannot be shown, the file is posted
  // without texts.
  Naming nameReport(const std::wstring& reportName, const wchar_t* filePath, IMAPIFolder* folder,
                    ReportTexts& texts) override;

 private:
  HWND parentWindow_;
};

// Whether a hidden message of `folder` has `name`; false if the table cannot be read.
bool isReportNameUsed(IMAPIFolder* folder, const wchar_t* name) noexcept;

// Reads comment and body from a file of tagged items; any other file gives neither.
void readReportTexts(const wchar_t* filePath, ReportTexts& texts) noexcept;

}  // namespace fendrel
