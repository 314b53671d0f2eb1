# cmake --install: for users and for developers of hosts.
include(CMakePackageConfigHelpers)

# fendrel.exe loads the local store from store/, where no other program finds it by name.
install(TARGETS fendrel fendrel_host RUNTIME DESTINATION bin LIBRARY DESTINATION bin)
install(TARGETS fendrel_store RUNTIME DESTINATION bin/store LIBRARY DESTINATION bin/store)
# Optional, because tools/demo does not build them.
install(TARGETS ${language_targets} RUNTIME DESTINATION bin OPTIONAL LIBRARY DESTINATION bin OPTIONAL)

install(FILES include/fendrel/fendrel.h DESTINATION include/fendrel)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/FendrelConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES cmake/package/FendrelConfig.cmake "${PROJECT_BINARY_DIR}/FendrelConfigVersion.cmake"
        DESTINATION lib/cmake/Fendrel)

# Makes import libraries from the exports file: one for MinGW, and one for Microsoft's and clang's linkers if the tool
# is available.
set(definition "${PROJECT_SOURCE_DIR}/src/interface/fendrel.def")
set(import_libraries "")
function(fendrel_add_import_library file)
  set(library "${PROJECT_BINARY_DIR}/lib/${file}")
  add_custom_command(OUTPUT "${library}" DEPENDS "${definition}" VERBATIM COMMAND ${ARGN})
  install(FILES "${library}" DESTINATION lib)
  set(import_libraries ${import_libraries} "${library}" PARENT_SCOPE)
endfunction()

file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(as_microsoft "${PROJECT_BINARY_DIR}/lib/fendrel.lib")
if(MSVC)
  fendrel_add_import_library(fendrel.lib "${CMAKE_AR}" /nologo "/def:${definition}" /machine:x64 "/out:${as_microsoft}")
else()
  find_program(FENDREL_DLLTOOL NAMES x86_64-w64-mingw32-dlltool dlltool REQUIRED)
  fendrel_add_import_library(libfendrel.dll.a "${FENDREL_DLLTOOL}" --deterministic-libraries -d "${definition}"
    -D FENDREL.DLL -l "${PROJECT_BINARY_DIR}/lib/libfendrel.dll.a")
  find_program(FENDREL_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
  if(FENDREL_LLVM_DLLTOOL)
    fendrel_add_import_library(fendrel.lib "${FENDREL_LLVM_DLLTOOL}" -m i386:x86-64 -d "${definition}" -D FENDREL.DLL
      -l "${as_microsoft}")
  endif()
endif()
add_custom_target(fendrel_import_libraries ALL DEPENDS ${import_libraries})
add_dependencies(fendrel fendrel_import_libraries)

install(FILES README.md DESTINATION share/doc/fendrel)
install(DIRECTORY docs examples DESTINATION share/doc/fendrel)
