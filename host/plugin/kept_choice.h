// A choice of destination that is kept between runs: the packed record of the plug-in with all its strings, and the
// file that holds it.
//
// The file is the packed record byte for byte. With a password in it, it is instead
//   offset  size
//        0    16  "FendrelProtected"
//       16     -  the packed record under the system's protection for this user
#pragma once

#include <fendrel/fendrel.h>

#include <optional>
#include <string>

#include "data_protection.h"

namespace fendrel::host {

class KeptChoice {
 public:
  // Takes over a whole packed record. Throws Failure(wrongUsage), naming `source`, when it is none.
  KeptChoice(Bytes record, const std::string& source);

  // Reads the file; throws Failure(wrongUsage) when it is not there or no choice, Failure(failed) when it cannot be
  // unprotected.
  static KeptChoice load(const std::string& file);

  // Replaces the file as a whole or not at all. Throws Failure(failed).
  void save(const std::string& file) const;

  const std::wstring& profile() const { return profileName_; }
  const std::optional<std::wstring>& password() const { return profilePassword_; }
  const std::wstring& folderPath() const { return path_; }  // empty for a personal report
  std::uint16_t type() const;

  // The record as the plug-in takes it back; every use makes a fresh copy.
  const Bytes& record() const { return packed_; }

 private:
  Bytes packed_;
  std::wstring profileName_, path_;
  std::optional<std::wstring> profilePassword_;
};

}  // namespace fendrel::host
