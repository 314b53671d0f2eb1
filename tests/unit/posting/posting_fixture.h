// An export of files into the only store of a small world.
#pragma once

#include <filesystem>
#include <fstream>

#include "fendrel/fendrel.h"
#include "posting_loop.h"
#include "posting_world.h"
#include "temp_folder.h"

class PostingFixture : public testing::Test {
 protected:
  // A file with its report name; the file's name differs, so that the two cannot be confused.
  void addFile(const std::wstring& reportName, const std::string& content = "content") {
    addMissingFile(reportName);
    std::ofstream(std::filesystem::path(paths.back()), std::ios::binary) << content;
  }
  void addMissingFile(const std::wstring& reportName) {
    ownedPaths_.push_back(std::make_unique<std::wstring>(temporary.file(std::to_wstring(paths.size()) + L".tmp")));
    paths.push_back(ownedPaths_.back()->c_str());
    fileNames.push_back(reportName);
  }

  std::uint32_t post() {
    return fendrel::postReportFiles({.session = &world.session,
                                     .optionsSupplied = optionsSupplied,
                                     .destination = destination,
                                     .fileNames = fileNames,
                                     .sender = sender,
                                     .templateClass = L"IPM.Quorvel.Report.Template",
                                     .documentClass = L"IPM.Document.*",
                                     .naming = *naming,
                                     .errorText = errorText},
                                    paths);
  }
  PostedMessage& message(std::size_t index) { return *world.top.messages.at(index); }

  PostingWorld world;
  TempFolder temporary;
  bool optionsSupplied = true;
  fendrel::Destination destination{.profileName = L"Sales", .folderPath = L"Store"};
  std::vector<std::wstring> fileNames;
  std::vector<const wchar_t*> paths;
  fendrel::SenderIdentity sender;
  // Asked in template mode alone.
  struct NoNaming : fendrel::NamingStep {
    fendrel::Naming nameReport(const std::wstring&, const wchar_t*, IMAPIFolder*, fendrel::ReportTexts&) override {
      ADD_FAILURE() << "a name is asked for";
      return fendrel::Naming::abort;
    }
  };
  NoNaming noNaming;
  fendrel::NamingStep* naming = &noNaming;
  fendrel::ErrorText errorText;

 private:
  std::vector<std::unique_ptr<std::wstring>> ownedPaths_;
};
