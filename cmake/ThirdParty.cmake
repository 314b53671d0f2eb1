# Third-party libraries, each as one target: fendrel::sqlite, fendrel::sqlite_recover, fendrel::cli11, fendrel::json,
# fendrel::toml, fendrel::fmt, GTest::gmock. Uses an installed package; otherwise the sources of pinned packages:
# Debian's -dev packages, and npm for SQLite's amalgamation and its recovery extension.

if(NOT CMAKE_HOST_WIN32)
  set(FENDREL_DEBIAN_ROOT "/usr" CACHE PATH "Where Debian's header-only libraries are installed")
  set(FENDREL_MEDIA_TYPES "/etc/mime.types" CACHE FILEPATH "Media types with their extensions (Debian: media-types)")
endif()

# fendrel_header_library(TARGET INSTALLED_TARGET PACKAGE FOLDER)
# A header-only library. Its folder is copied, because a cross-compiler must never see the build machine's /usr/include.
function(fendrel_header_library target installed package folder)
  find_package(${package} CONFIG QUIET)
  if(TARGET ${installed})
    add_library(${target} ALIAS ${installed})
    return()
  endif()
  set(source "${FENDREL_DEBIAN_ROOT}/include/${folder}")
  if(NOT IS_DIRECTORY "${source}")
    message(FATAL_ERROR "${package} was not found: neither as a CMake package nor as ${source}. "
                        "Run tools/setup, or install it with your package manager.")
  endif()
  file(COPY "${source}" DESTINATION "${PROJECT_BINARY_DIR}/third_party/include")
  string(REPLACE "::" "_" plain "${target}")
  add_library(${plain} INTERFACE)
  target_include_directories(${plain} SYSTEM INTERFACE "${PROJECT_BINARY_DIR}/third_party/include")
  add_library(${target} ALIAS ${plain})
endfunction()

fendrel_header_library(fendrel::cli11 CLI11::CLI11 CLI11 CLI)
fendrel_header_library(fendrel::json nlohmann_json::nlohmann_json nlohmann_json nlohmann)
fendrel_header_library(fendrel::toml tomlplusplus::tomlplusplus tomlplusplus toml++)
fendrel_header_library(fendrel::fmt fmt::fmt-header-only fmt fmt)
if(TARGET fendrel_fmt)
  # Compiled once instead of into every file that includes it, if the version matches fmt.cpp.
  file(STRINGS "${PROJECT_BINARY_DIR}/third_party/include/fmt/core.h" fmt_version REGEX "#define FMT_VERSION 9[0-9]+$")
  if(fmt_version)
    add_library(fendrel_compiled_fmt STATIC "${PROJECT_SOURCE_DIR}/cmake/fmt/fmt.cpp")
    target_compile_features(fendrel_compiled_fmt PUBLIC cxx_std_20)
    target_link_libraries(fendrel_compiled_fmt PRIVATE fendrel_fmt)
    target_link_libraries(fendrel_fmt INTERFACE $<LINK_ONLY:fendrel_compiled_fmt>)
  else()
    target_compile_definitions(fendrel_fmt INTERFACE FMT_HEADER_ONLY)
  endif()
endif()

# Fetches the npm packages that cmake/npm pins, once. FILE is one of their files, SHA256 its checksum.
function(fendrel_fetch_npm file sha256)
  set(folder "${PROJECT_BINARY_DIR}/third_party/npm")
  set(path "${folder}/node_modules/${file}")
  set(found "nothing")
  if(EXISTS "${path}")
    file(SHA256 "${path}" found)
  endif()
  if(NOT found STREQUAL sha256)
    find_program(FENDREL_NPM npm REQUIRED)
    message(STATUS "Fetching SQLite's sources (npm, for ${file})")
    file(COPY "${PROJECT_SOURCE_DIR}/cmake/npm/package.json" "${PROJECT_SOURCE_DIR}/cmake/npm/package-lock.json"
         DESTINATION "${folder}")
    execute_process(COMMAND "${FENDREL_NPM}" ci --ignore-scripts --omit=optional --omit=peer --no-audit --no-fund
                    WORKING_DIRECTORY "${folder}" COMMAND_ERROR_IS_FATAL ANY
                    OUTPUT_QUIET ERROR_QUIET)
    if(EXISTS "${path}")
      file(SHA256 "${path}" found)
    endif()
  endif()
  if(NOT found STREQUAL sha256)
    message(FATAL_ERROR "${path} is not the expected file: its sha256 is ${found}, not ${sha256}.")
  endif()
endfunction()

# SQLite. Releases before 3.51.3 can corrupt a write-ahead log that several processes reset at once.
find_package(SQLite3 3.51.3 QUIET)
if(SQLite3_FOUND)
  add_library(fendrel::sqlite ALIAS SQLite::SQLite3)
  message(STATUS "Using the installed SQLite ${SQLite3_VERSION}. \"fendrel store salvage\" needs it to be built with "
                 "SQLITE_ENABLE_DBPAGE_VTAB, and says so where it is not; nothing else does.")
else()
  fendrel_fetch_npm(better-sqlite3/deps/sqlite3/sqlite3.c
                    75a4760a7b9727a4c4c877aec92eacf39e52a8f2921ce00bd33be6d3a8e8e254)
  set(sqlite_folder "${PROJECT_BINARY_DIR}/third_party/npm/node_modules/better-sqlite3/deps/sqlite3")
  add_library(fendrel_sqlite STATIC "${sqlite_folder}/sqlite3.c")
  target_include_directories(fendrel_sqlite SYSTEM PUBLIC "${sqlite_folder}")
  target_compile_definitions(fendrel_sqlite PRIVATE
    SQLITE_THREADSAFE=1 SQLITE_DQS=0 SQLITE_DEFAULT_MEMSTATUS=0
    SQLITE_DEFAULT_SYNCHRONOUS=2 SQLITE_DEFAULT_WAL_SYNCHRONOUS=2
    SQLITE_LIKE_DOESNT_MATCH_BLOBS SQLITE_OMIT_DEPRECATED SQLITE_OMIT_LOAD_EXTENSION
    SQLITE_OMIT_SHARED_CACHE SQLITE_USE_ALLOCA SQLITE_TRUSTED_SCHEMA=0
    SQLITE_TEMP_STORE=1 SQLITE_MAX_EXPR_DEPTH=0
    # Not SQLITE_DEFAULT_FOREIGN_KEYS: the recovery extension's connection adds rows before the rows that they name. The
    # next two are for the recovery extension: the pages of a database as a table, and enough columns for a damaged row.
    SQLITE_ENABLE_DBPAGE_VTAB SQLITE_MAX_COLUMN=32767
    # Under Wine, overlapped file I/O costs a server round trip each; plain reads and writes do not.
    SQLITE_WIN32_NO_OVERLAPPED)
  if(NOT MSVC)
    set_target_properties(fendrel_sqlite PROPERTIES COMPILE_OPTIONS "-O2")
  endif()
  add_library(fendrel::sqlite ALIAS fendrel_sqlite)
endif()

# SQLite's recovery extension, for any SQLite. No package has it separately: it is cut out of the shell program's
# source, which contains it between fixed lines.
fendrel_fetch_npm(sqlite3/deps/sqlite-autoconf-3520000.tar.gz
                  f6b50b0c103392af32a8be15b2b9d25959de9a00a70c3979128aafeaa5338b3f)
set(recover_folder "${PROJECT_BINARY_DIR}/third_party/sqlite_recover")
file(ARCHIVE_EXTRACT INPUT "${PROJECT_BINARY_DIR}/third_party/npm/node_modules/sqlite3/deps/sqlite-autoconf-3520000.tar.gz"
     DESTINATION "${recover_folder}" PATTERNS "sqlite-autoconf-3520000/shell.c")
file(READ "${recover_folder}/sqlite-autoconf-3520000/shell.c" shell_source)
foreach(piece sqlite3recover.h dbdata.c sqlite3recover.c)
  string(FIND "${shell_source}" "/************************* Begin ext/recover/${piece} *" first)
  string(FIND "${shell_source}" "/************************* End ext/recover/${piece} *" last)
  if(first EQUAL -1 OR last LESS first)
    message(FATAL_ERROR "shell.c of SQLite does not hold ext/recover/${piece} between the expected lines.")
  endif()
  math(EXPR length "${last} - ${first}")
  string(SUBSTRING "${shell_source}" ${first} ${length} text)
  file(CONFIGURE OUTPUT "${recover_folder}/${piece}" CONTENT "@text@" @ONLY)
endforeach()
unset(shell_source)
add_library(fendrel_sqlite_recover STATIC "${PROJECT_SOURCE_DIR}/cmake/sqlite_recover/sqlite_recover.c")
target_include_directories(fendrel_sqlite_recover SYSTEM PUBLIC "${recover_folder}")
target_link_libraries(fendrel_sqlite_recover PUBLIC fendrel::sqlite)
target_compile_definitions(fendrel_sqlite_recover PRIVATE NDEBUG)
add_library(fendrel::sqlite_recover ALIAS fendrel_sqlite_recover)

# The media types of file extensions: the system's table as lines of C++, in the order of extensions.
set(FENDREL_MEDIA_TYPES_INCLUDE "${PROJECT_BINARY_DIR}/third_party/media_types")
function(fendrel_make_media_types)
  set(media_types "")
  if(EXISTS "${FENDREL_MEDIA_TYPES}")
    file(STRINGS "${FENDREL_MEDIA_TYPES}" media_lines REGEX "^[a-z]+/[^ \t]+[ \t]+[^ \t]")
    foreach(line IN LISTS media_lines)
      string(REGEX REPLACE "[ \t]+" ";" words "${line}")
      list(POP_FRONT words type)
      foreach(extension IN LISTS words)
        if(NOT DEFINED media_type_of_${extension})
          set(media_type_of_${extension} "${type}")
          list(APPEND media_types "{\"${extension}\", \"${type}\"},")
        endif()
      endforeach()
    endforeach()
    list(SORT media_types)
  else()
    message(WARNING "FENDREL_MEDIA_TYPES names no file: attachments in .eml files will have no types of their own.")
  endif()
  list(JOIN media_types "\n" media_types)
  file(CONFIGURE OUTPUT "${FENDREL_MEDIA_TYPES_INCLUDE}/media_types.inc" CONTENT "@media_types@\n" @ONLY)
endfunction()
fendrel_make_media_types()

if(BUILD_TESTING)
  find_package(GTest CONFIG QUIET)
  if(NOT TARGET GTest::gmock)
    set(FENDREL_GOOGLETEST "${FENDREL_DEBIAN_ROOT}/src/googletest" CACHE PATH "GoogleTest's sources")
    set(INSTALL_GTEST OFF)
    add_subdirectory("${FENDREL_GOOGLETEST}" "${PROJECT_BINARY_DIR}/third_party/googletest" EXCLUDE_FROM_ALL)
    fendrel_optimise_as_test(gtest)
    fendrel_optimise_as_test(gmock)
    if(NOT TARGET GTest::gmock)
      add_library(GTest::gmock ALIAS gmock)
    endif()
  endif()
endif()
