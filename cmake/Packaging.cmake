# CPack settings for tools/package: a .zip and an installer for Windows.
set(CPACK_PACKAGE_NAME Fendrel)
set(CPACK_PACKAGE_VENDOR Fendrel)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_FILE_NAME "Fendrel-${PROJECT_VERSION}-win64")
set(CPACK_PACKAGE_INSTALL_DIRECTORY Fendrel)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/package")
set(CPACK_GENERATOR ZIP NSIS)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_THREADS 1)  # parallel compression may change the order

# Gives every file the time of the commit, so that two packages of one commit are equal.
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/package/set_times.cmake")

set(CPACK_NSIS_DEFINES "Target amd64-unicode\n  SetDateSave off")
set(CPACK_NSIS_INSTALL_ROOT "$PROGRAMFILES64")
set(CPACK_NSIS_PACKAGE_NAME Fendrel)
set(CPACK_NSIS_DISPLAY_NAME "Fendrel ${PROJECT_VERSION}")
set(CPACK_NSIS_INSTALLED_ICON_NAME bin\\fendrel.exe)
set(CPACK_NSIS_MODIFY_PATH ON)
set(CPACK_NSIS_MENU_LINKS
  "share/doc/fendrel/README.md" "Read me"
  "share/doc/fendrel/docs" "Documents")
set(CPACK_NSIS_UNINSTALL_NAME Uninstall)
# A default mail client without its library would break every program that uses MAPI.
set(CPACK_NSIS_EXTRA_UNINSTALL_COMMANDS "nsExec::Exec '\"$INSTDIR\\bin\\fendrel.exe\" mapi unregister'\n  Pop $0")
include(CPack)
