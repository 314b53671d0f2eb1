// The reports that all tests here read, of many names and sizes, posted once by fendrel.exe into the tests' store.
#pragma once

#include <filesystem>

#include "mapi_client.h"

namespace client {

inline constexpr const wchar_t* profileName = L"jane";
inline constexpr const wchar_t* userName = L"Jane Doe";
inline constexpr const wchar_t* publicStore = L"Public Folders";
inline constexpr const wchar_t* mailbox = L"Mailbox - Jane Doe";

struct PostedReport {
  std::wstring folder;  // display names joined by @, store first; empty for a personal report
  std::wstring name;
  Bytes content;
};
// In the order in which they were posted.
const std::vector<PostedReport>& postedReports();
std::vector<PostedReport> reportsIn(std::wstring_view folder);
std::vector<std::wstring> foldersWithReports();

// ".PDF" of "Sales.pdf" without the dot, as the message class and the attachment have it.
std::wstring extensionOf(const std::wstring& name);
std::wstring classOf(const std::wstring& name);
// The name as clients with eight characters show it.
std::wstring shortNameOf(const std::wstring& name);

std::wstring upperCase(std::wstring text);

}  // namespace client
