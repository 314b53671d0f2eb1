# The CMake package of an installed Fendrel: Fendrel::plugin is FENDREL.DLL with its header and import library. A host
# links it, or uses its include directory and loads the library itself.
get_filename_component(_fendrel_prefix "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

if(NOT TARGET Fendrel::plugin)
  add_library(Fendrel::plugin SHARED IMPORTED)
  set_target_properties(Fendrel::plugin PROPERTIES
    IMPORTED_LOCATION "${_fendrel_prefix}/bin/FENDREL.DLL"
    INTERFACE_INCLUDE_DIRECTORIES "${_fendrel_prefix}/include")
  if(MINGW)
    set_target_properties(Fendrel::plugin PROPERTIES IMPORTED_IMPLIB "${_fendrel_prefix}/lib/libfendrel.dll.a")
  else()
    set_target_properties(Fendrel::plugin PROPERTIES IMPORTED_IMPLIB "${_fendrel_prefix}/lib/fendrel.lib")
  endif()
endif()
unset(_fendrel_prefix)
