# What clang needs to compile and link against MinGW-w64's headers and libraries: mingw_clang_compile_flags and
# mingw_clang_link_flags. The macros are defined by GCC for its own library.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name OUTPUT_VARIABLE libgcc
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(gcc_folder "${libgcc}" DIRECTORY)
set(mingw_clang_compile_flags "-nostdinc++ -isystem ${gcc_folder}/include/c++ \
-isystem ${gcc_folder}/include/c++/x86_64-w64-mingw32 -isystem ${gcc_folder}/include/c++/backward \
-D__GXX_TYPEINFO_EQUALITY_INLINE=0 -D__GXX_MERGED_TYPEINFO_NAMES=0")
set(mingw_clang_link_flags "-B${gcc_folder} -L${gcc_folder} -pthread -Wno-unused-command-line-argument")
