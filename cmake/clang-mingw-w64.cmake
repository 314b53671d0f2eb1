# Like mingw-w64-posix.cmake, but compiled by clang against MinGW-w64's headers and libraries.
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64-posix.cmake")
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name OUTPUT_VARIABLE libgcc
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(gcc_folder "${libgcc}" DIRECTORY)

set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_FLAGS_INIT "-nostdinc++ -isystem ${gcc_folder}/include/c++ \
-isystem ${gcc_folder}/include/c++/x86_64-w64-mingw32 -isystem ${gcc_folder}/include/c++/backward")
foreach(kind EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -B${gcc_folder} -L${gcc_folder} -pthread -Wno-unused-command-line-argument")
endforeach()
