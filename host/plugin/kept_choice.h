// A choice of destination that is kept between runs: the plug-in's packed record with all its strings, and its file.
// The file is the packed record byte for byte; with a password it is instead
//   offset  size
//        0    16  "FendrelProtected"
//       16     -  the packed record, encrypted by the system for this user
#pragma once

#include <fendrel/fendrel.h>

#include <optional>
#include <string>

#include "data_protection.h"

namespace fendrel::host {

class KeptChoice {
 public:
  // Takes a complete packed record. Throws Failure(wrongUsage), naming `source`, if it is invalid.
  KeptChoice(Bytes record, const std::string& source);

  // Reads the file; throws Failure(wrongUsage) if it is missing or not a choice, Failure(failed) if it cannot be
  // decrypted.
  static KeptChoice load(const std::string& file);

  // Replaces the file completely or not at all. Throws Failure(failed).
  void save(const std::string& file) const;

  const std::wstring& profile() const { return profileName_; }
  const std::optional<std::wstring>& password() const { return profilePassword_; }
  const std::wstring& folderPath() const { return path_; }  // empty for a personal report
  std::uint16_t type() const;

  // The record for the plug-in; copy it for every use.
  const Bytes& record() const { return packed_; }

 private:
  Bytes packed_;
  std::wstring profileName_, path_;
  std::optional<std::wstring> profilePassword_;
};

}  // namespace fendrel::host
