# Like mingw-w64-posix.cmake, but compiled by clang against MinGW-w64's headers and libraries.
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64-posix.cmake")
include("${CMAKE_CURRENT_LIST_DIR}/mingw_clang.cmake")

set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_FLAGS_INIT "${mingw_clang_compile_flags}")
foreach(kind EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " ${mingw_clang_link_flags}")
endforeach()
