# How every library, program and test of this project is built.

# The language level, warnings and Windows settings that all of our code shares.
add_library(fendrel_settings INTERFACE)
target_compile_features(fendrel_settings INTERFACE cxx_std_20)
target_compile_definitions(fendrel_settings INTERFACE
  UNICODE _UNICODE NOMINMAX _WIN32_WINNT=0x0601 WINVER=0x0601)
if(MSVC)
  target_compile_options(fendrel_settings INTERFACE /W4 /WX /utf-8 /permissive-)
else()
  target_compile_options(fendrel_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wno-cast-function-type -Wno-missing-field-initializers -Wno-restrict -Werror)
  target_link_options(fendrel_settings INTERFACE -Wl,--no-insert-timestamp $<$<CONFIG:Release>:-s>)
endif()

option(FENDREL_COVERAGE "Count the lines and branches that run (GCC)" OFF)
if(FENDREL_COVERAGE)
  target_link_options(fendrel_settings INTERFACE --coverage)
  # For src/, and for tests/, which compile its inline functions and some of its files themselves.
  set(coverage_options --coverage -fprofile-update=atomic)
endif()

# fendrel_add_layer(NAME SOURCES ... USES ... [HEADERS standard_headers|windows_headers]): the static library of one
# folder. Its include directory is that folder alone and reaches others only through USES,
# so an include against the direction of the layers does not build. HEADERS names precompiled system headers.
function(fendrel_add_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 LAYER "" "HEADERS" "SOURCES;USES")
  add_library(${name} STATIC ${LAYER_SOURCES})
  target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_libraries(${name} PUBLIC fendrel_settings ${LAYER_USES})
  if(LAYER_HEADERS AND NOT FENDREL_COVERAGE)  # which compiles src/ with other options
    target_precompile_headers(${name} REUSE_FROM ${LAYER_HEADERS})
  endif()
endfunction()

# fendrel_add_module(NAME FILE SOURCES ... USES ... [DIRECTORY dir]): a DLL with the exact file name
# FILE, its exports taken from the .def file among the sources.
function(fendrel_add_module name file)
  cmake_parse_arguments(PARSE_ARGV 2 MODULE "" "DIRECTORY" "SOURCES;USES")
  get_filename_component(stem "${file}" NAME_WE)
  get_filename_component(extension "${file}" EXT)
  add_library(${name} MODULE ${MODULE_SOURCES})
  target_link_libraries(${name} PRIVATE fendrel_settings ${MODULE_USES})
  if(NOT MODULE_DIRECTORY)
    set(MODULE_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
  endif()
  set_target_properties(${name} PROPERTIES
    PREFIX "" OUTPUT_NAME "${stem}" SUFFIX "${extension}"
    LIBRARY_OUTPUT_DIRECTORY "${MODULE_DIRECTORY}" RUNTIME_OUTPUT_DIRECTORY "${MODULE_DIRECTORY}")
endfunction()

# fendrel_add_run(TEST PROGRAM [SERIAL] [WINDOWS] [LABELS ...] [ENVIRONMENT ...]): all tests of a program as one test of
# ctest.
function(fendrel_add_run test program)
  cmake_parse_arguments(PARSE_ARGV 2 RUN "SERIAL;WINDOWS" "" "LABELS;ENVIRONMENT")
  add_test(NAME ${test} COMMAND ${program} --gtest_brief=1)
  set_tests_properties(${test} PROPERTIES TIMEOUT 300)
  set_property(TEST ${test} PROPERTY LABELS ${RUN_LABELS})
  set_property(TEST ${test} PROPERTY ENVIRONMENT ${RUN_ENVIRONMENT})
  if(RUN_SERIAL)
    set_tests_properties(${test} PROPERTIES RUN_SERIAL ON)
  endif()
  if(RUN_WINDOWS)
    set_tests_properties(${test} PROPERTIES RESOURCE_LOCK screen)
  endif()
endfunction()

# How tests are compiled: the tested code is optimised, they themselves only compile faster without. Mocks are the
# exception: without inlining, their thousands of small functions keep the linker busy for a minute.
function(fendrel_optimise_as_test target)
  cmake_parse_arguments(PARSE_ARGV 1 TEST "MOCKS" "" "")
  if(FENDREL_COVERAGE)
    set(TEST_MOCKS OFF)  # what is inlined is not counted
  endif()
  if(NOT MSVC)
    target_compile_options(${target} PRIVATE $<IF:$<BOOL:${TEST_MOCKS}>,-O1,-O0>)
  endif()
endfunction()

# fendrel_compile_as_test(TARGET [MOCKS]): so, and with the precompiled headers of tests, with or without the mocks.
# TARGET links GTest::gmock. A file that decides by macros what a system header defines compiles without them.
function(fendrel_compile_as_test target)
  fendrel_optimise_as_test(${target} ${ARGN})
  if("MOCKS" IN_LIST ARGN)
    target_precompile_headers(${target} REUSE_FROM test_headers_for_mocks)
  else()
    target_precompile_headers(${target} REUSE_FROM test_headers)
  endif()
endfunction()

# fendrel_discover_tests(TARGET PREFIX SUITE WITHOUT PROPERTY VALUE ...): its tests, one by one, but those that the
# filter WITHOUT names. Those of SUITE, which may be empty, show windows.
function(fendrel_discover_tests target prefix suite without)
  set(discovery DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES)
  if(suite)
    gtest_discover_tests(${target} TEST_PREFIX "${prefix}." TEST_LIST ${prefix}_windows TEST_FILTER "${suite}.*"
                         ${discovery} PROPERTIES ${ARGN} RESOURCE_LOCK screen)
    list(APPEND without "${suite}.*")
    list(JOIN without ":" without)
  endif()
  if(without)
    list(APPEND discovery TEST_FILTER "-${without}")
  endif()
  gtest_discover_tests(${target} TEST_PREFIX "${prefix}." TEST_LIST ${prefix}_tests ${discovery} PROPERTIES ${ARGN})
endfunction()

# fendrel_add_test(NAME SOURCES ... USES ... [TIMEOUT seconds] [SERIAL] [WINDOWS | WINDOWS_IN suite] [GUARDED]
#                  [LABELS ...] [ENVIRONMENT ...] [NEEDS ...]):
# a GoogleTest program whose tests appear in ctest as NAME.Suite.Case. NEEDS names modules and programs that the tests
# load or start. WINDOWS: they show windows, and run while no other such program takes the keyboard away from them;
# WINDOWS_IN: those of one suite do. GUARDED runs the same tests a second time as NAME_guarded, label "guarded", in a
# program whose heap blocks end at unreadable pages. DOUBLE_BYTE runs them a second time as NAME_932, with ANSI code
# page 932 instead of 1252. These second runs are one test of ctest each.
function(fendrel_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 TEST "SERIAL;WINDOWS;GUARDED;DOUBLE_BYTE" "TIMEOUT;WINDOWS_IN"
                        "SOURCES;USES;LABELS;ENVIRONMENT;NEEDS")
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 60)
  endif()
  set(properties TIMEOUT ${TEST_TIMEOUT})
  set(company "")
  if(TEST_SERIAL)
    set(company SERIAL)
    list(APPEND properties RUN_SERIAL ON)
  endif()
  if(TEST_WINDOWS)
    list(APPEND company WINDOWS)
    list(APPEND properties RESOURCE_LOCK screen)
  endif()
  if(TEST_LABELS)
    list(APPEND properties LABELS "${TEST_LABELS}")
  endif()
  if(TEST_ENVIRONMENT)
    list(APPEND properties ENVIRONMENT "${TEST_ENVIRONMENT}")
  endif()
  add_executable(${name} ${TEST_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
  target_link_libraries(${name} PRIVATE fendrel_settings fendrel_test_support ${TEST_USES})
  if("fendrel_mapi_mocks" IN_LIST TEST_USES)
    fendrel_compile_as_test(${name} MOCKS)
  else()
    fendrel_compile_as_test(${name})
  endif()
  if(TEST_NEEDS)
    add_dependencies(${name} ${TEST_NEEDS})
  endif()
  fendrel_discover_tests(${name} ${name} "${TEST_WINDOWS_IN}" "" ${properties})
  if(TEST_DOUBLE_BYTE)
    fendrel_add_run(${name}_932 ${name} ${company} LABELS ${TEST_LABELS}
                    ENVIRONMENT ${TEST_ENVIRONMENT} LC_ALL=ja_JP.UTF-8)
  endif()
  if(TEST_GUARDED AND MINGW)
    # The same objects: what allocates is chosen when they are linked.
    add_executable(${name}_guarded $<TARGET_OBJECTS:${name}>)
    set_target_properties(${name}_guarded PROPERTIES LINKER_LANGUAGE CXX
                          RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
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
