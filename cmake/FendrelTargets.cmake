# Builds every library, program and test of this project.

# The language level, warnings and Windows settings of all our code.
add_library(fendrel_settings INTERFACE)
target_compile_features(fendrel_settings INTERFACE cxx_std_20)
target_compile_definitions(fendrel_settings INTERFACE
  UNICODE _UNICODE NOMINMAX _WIN32_WINNT=0x0601 WINVER=0x0601)
if(MSVC)
  target_compile_options(fendrel_settings INTERFACE /W4 /WX /utf-8 /permissive-)
else()
  target_compile_options(fendrel_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wno-cast-function-type -Wno-missing-field-initializers -Werror
    # Only GCC's. In a unity piece, a source file counts as a header.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict;-Wno-subobject-linkage>
    # Only clang's: the headers declare COM methods noexcept, and it warns about ours without noexcept.
    $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-microsoft-exception-spec>)
  target_link_options(fendrel_settings INTERFACE -Wl,--no-insert-timestamp $<$<CONFIG:Release>:-s>)
endif()

option(FENDREL_COVERAGE "Count the lines and branches that run (GCC)" OFF)
if(FENDREL_COVERAGE)
  target_link_options(fendrel_settings INTERFACE --coverage)
  # For src/, and for tests/, which compile its inline functions and some of its files.
  set(coverage_options --coverage -fprofile-update=atomic)
endif()

# fendrel_compile_apart(FILE ...): compiles files without precompiled headers and outside of unity pieces.
function(fendrel_compile_apart)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_PRECOMPILE_HEADERS ON SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# fendrel_add_layer(NAME SOURCES ... USES ... [HEADERS standard_headers|windows_headers]): the static library of one
# folder. Its include path is that folder and those of USES, so an include against the direction of the layers does not
# compile. HEADERS names precompiled system headers.
function(fendrel_add_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 LAYER "" "HEADERS" "SOURCES;USES")
  add_library(${name} STATIC ${LAYER_SOURCES})
  target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_libraries(${name} PUBLIC fendrel_settings ${LAYER_USES})
  if(LAYER_HEADERS AND NOT FENDREL_COVERAGE)  # it compiles src/ with other options
    target_precompile_headers(${name} REUSE_FROM ${LAYER_HEADERS})
  endif()
endfunction()

# fendrel_build_into(TARGET FOLDER): builds the program or module into FOLDER. Hosts and tests expect one place; the
# generator expression keeps generators with several configurations from adding a folder for each.
function(fendrel_build_into target folder)
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "$<1:${folder}>" LIBRARY_OUTPUT_DIRECTORY "$<1:${folder}>")
endfunction()

# fendrel_add_module(NAME FILE SOURCES ... USES ... [DIRECTORY dir]): a DLL with the exact file name FILE and the
# exports of the .def file in SOURCES.
function(fendrel_add_module name file)
  cmake_parse_arguments(PARSE_ARGV 2 MODULE "" "DIRECTORY" "SOURCES;USES")
  get_filename_component(stem "${file}" NAME_WE)
  get_filename_component(extension "${file}" EXT)
  add_library(${name} MODULE ${MODULE_SOURCES})
  target_link_libraries(${name} PRIVATE fendrel_settings ${MODULE_USES})
  if(NOT MODULE_DIRECTORY)
    set(MODULE_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
  endif()
  set_target_properties(${name} PROPERTIES PREFIX "" OUTPUT_NAME "${stem}" SUFFIX "${extension}")
  fendrel_build_into(${name} "${MODULE_DIRECTORY}")
endfunction()

# fendrel_add_version(TARGET FILE DESCRIPTION): gives the module or program version information.
function(fendrel_add_version target file description)
  get_filename_component(internal_name "${file}" NAME_WE)
  get_target_property(kind ${target} TYPE)
  set(type VFT_DLL)
  if(kind STREQUAL EXECUTABLE)
    set(type VFT_APP)
  endif()
  set(script "${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${script}" @ONLY)
  target_sources(${target} PRIVATE "${script}")
endfunction()

# fendrel_add_run(TEST PROGRAM [SERIAL] [WINDOWS] [MAIL_SERVER] [FILTER filter] [TIMEOUT seconds] [LABELS ...]
#                 [ENVIRONMENT ...]): the tests of a program, or those of the filter, as one test of ctest. Its output
#                 names failed cases. MAIL_SERVER: with its own mail server (see tools/mail-server).
function(fendrel_add_run test program)
  cmake_parse_arguments(PARSE_ARGV 2 RUN "SERIAL;WINDOWS;MAIL_SERVER" "FILTER;TIMEOUT" "LABELS;ENVIRONMENT")
  set(arguments --gtest_brief=1)
  if(RUN_FILTER)
    list(APPEND arguments "--gtest_filter=${RUN_FILTER}")
  endif()
  if(RUN_MAIL_SERVER)
    add_test(NAME ${test} COMMAND "${PROJECT_SOURCE_DIR}/tools/mail-server" run ${CMAKE_CROSSCOMPILING_EMULATOR}
                                  $<TARGET_FILE:${program}> ${arguments})
  else()
    add_test(NAME ${test} COMMAND ${program} ${arguments})
  endif()
  if(NOT RUN_TIMEOUT)
    set(RUN_TIMEOUT 900)
  endif()
  # A process may die with exit code 0, above all under Wine: only GoogleTest's closing line means success.
  set_tests_properties(${test} PROPERTIES TIMEOUT ${RUN_TIMEOUT}
    PASS_REGULAR_EXPRESSION "\\[  PASSED  \\]" FAIL_REGULAR_EXPRESSION "\\[  FAILED  \\];CRASH in no test")
  set_property(TEST ${test} PROPERTY LABELS ${RUN_LABELS})
  set_property(TEST ${test} PROPERTY ENVIRONMENT ${RUN_ENVIRONMENT})
  if("slow" IN_LIST RUN_LABELS)
    set_tests_properties(${test} PROPERTIES COST 1000)  # first, so that the others run in parallel
  endif()
  if(RUN_SERIAL)
    set_tests_properties(${test} PROPERTIES RUN_SERIAL ON)
  endif()
  if(RUN_WINDOWS)
    set_tests_properties(${test} PROPERTIES RESOURCE_LOCK screen)
  endif()
endfunction()

# Compiles tests without optimisation, which is faster; the tested code is optimised.
function(fendrel_optimise_as_test target)
  if(NOT MSVC)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

# fendrel_compile_as_test(TARGET [MOCKS]): like above, and with the precompiled headers of tests, with or without the
# mocks. TARGET must link GTest::gmock. Files whose macros decide what a system header defines are compiled without
# them.
function(fendrel_compile_as_test target)
  fendrel_optimise_as_test(${target})
  if("MOCKS" IN_LIST ARGN)
    target_precompile_headers(${target} REUSE_FROM test_headers_for_mocks)
  else()
    target_precompile_headers(${target} REUSE_FROM test_headers)
  endif()
endfunction()

# fendrel_add_test(NAME SOURCES ... USES ... [TIMEOUT seconds] [SERIAL] [WINDOWS | WINDOWS_IN suites] [GUARDED]
#                  [DOUBLE_BYTE] [QUICK] [MAIL_SERVER] [EXCEPT cases] [LABELS ...] [ENVIRONMENT ...] [NEEDS ...]):
# a GoogleTest program, which is one test of ctest with its name. NEEDS names modules and programs that the tests load
# or start. WINDOWS: the tests show windows, so only one such program runs at a time, because of the keyboard;
# WINDOWS_IN: only those of these suites (ChooseCommand*) do, and they become a second test of ctest, NAME_windows.
# GUARDED runs the tests again as NAME_guarded, label "guarded", in a program whose heap blocks end at unreadable pages.
# DOUBLE_BYTE runs them again as NAME_932, with ANSI code page 932 instead of 1252. QUICK: also run by tools/test
# --quick. MAIL_SERVER: like in fendrel_add_run. EXCEPT: cases of shared sources that do not hold here.
function(fendrel_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 TEST "SERIAL;WINDOWS;MAIL_SERVER;GUARDED;DOUBLE_BYTE;QUICK" "TIMEOUT;WINDOWS_IN"
                        "SOURCES;USES;EXCEPT;LABELS;ENVIRONMENT;NEEDS")
  set(company "")
  if(TEST_EXCEPT)
    list(JOIN TEST_EXCEPT ":" cases)
    list(APPEND company FILTER "-${cases}")
  endif()
  foreach(option SERIAL WINDOWS MAIL_SERVER)
    if(TEST_${option})
      list(APPEND company ${option})
    endif()
  endforeach()
  if(TEST_TIMEOUT)
    list(APPEND company TIMEOUT ${TEST_TIMEOUT})
  endif()

  add_executable(${name} ${TEST_SOURCES})
  fendrel_build_into(${name} "${PROJECT_BINARY_DIR}/tests")
  target_link_libraries(${name} PRIVATE fendrel_settings fendrel_test_support ${TEST_USES})
  if("fendrel_mapi_mocks" IN_LIST TEST_USES)
    fendrel_compile_as_test(${name} MOCKS)
  else()
    fendrel_compile_as_test(${name})
  endif()
  if(TEST_NEEDS)
    add_dependencies(${name} ${TEST_NEEDS})
  endif()

  set(labels ${TEST_LABELS})
  if(TEST_QUICK)
    set_property(GLOBAL APPEND PROPERTY FENDREL_QUICK_TESTS ${name})
    list(APPEND labels quick)
  endif()
  if(TEST_WINDOWS_IN)
    fendrel_add_run(${name} ${name} ${company} LABELS ${labels} ENVIRONMENT ${TEST_ENVIRONMENT}
                    FILTER "-${TEST_WINDOWS_IN}.*")
    fendrel_add_run(${name}_windows ${name} WINDOWS ${company} LABELS ${labels} ENVIRONMENT ${TEST_ENVIRONMENT}
                    FILTER "${TEST_WINDOWS_IN}.*")
  else()
    fendrel_add_run(${name} ${name} ${company} LABELS ${labels} ENVIRONMENT ${TEST_ENVIRONMENT})
  endif()
  if(TEST_DOUBLE_BYTE)
    fendrel_add_run(${name}_932 ${name} ${company} LABELS ${TEST_LABELS}
                    ENVIRONMENT ${TEST_ENVIRONMENT} LC_ALL=ja_JP.UTF-8)
  endif()
  if(TEST_GUARDED AND MINGW)
    # The same objects: linking selects the heap.
    add_executable(${name}_guarded $<TARGET_OBJECTS:${name}>)
    set_target_properties(${name}_guarded PROPERTIES LINKER_LANGUAGE CXX)
    fendrel_build_into(${name}_guarded "${PROJECT_BINARY_DIR}/tests")
    target_link_libraries(${name}_guarded PRIVATE fendrel_settings fendrel_test_support ${TEST_USES} guarded_heap)
    if(TEST_NEEDS)
      add_dependencies(${name}_guarded ${TEST_NEEDS})
    endif()
    fendrel_add_run(${name}_guarded ${name}_guarded ${company} LABELS ${TEST_LABELS} guarded
                    ENVIRONMENT ${TEST_ENVIRONMENT})
    if(TEST_DOUBLE_BYTE)
      fendrel_add_run(${name}_guarded_932 ${name}_guarded ${company} LABELS ${TEST_LABELS} guarded
                      ENVIRONMENT ${TEST_ENVIRONMENT} LC_ALL=ja_JP.UTF-8)
    endif()
  endif()
endfunction()
