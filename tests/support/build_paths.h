// The paths of built files that tests load and start.
#pragma once

#include <string>
#include <string_view>

// Full path of a file of the build folder, for example buildFile(L"bin/FENDREL.DLL").
std::wstring buildFile(std::wstring_view relativePath);
