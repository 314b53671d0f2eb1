// A folder for one test's files.
#pragma once

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <string_view>

// Exists as long as the object; then it is removed with everything in it.
class TempFolder {
 public:
  TempFolder() {
    static std::atomic<unsigned> number{0};
    const std::wstring name = L"fendrel-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                              std::to_wstring(GetTickCount64()) + L"-" + std::to_wstring(++number);
    path_ = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }

  // The full path of a file in it.
  std::wstring file(std::wstring_view name) const { return (path_ / name).wstring(); }

 private:
  std::filesystem::path path_;
};
