# Run by CPack before it packs CPACK_TEMPORARY_DIRECTORY.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find "${CPACK_TEMPORARY_DIRECTORY}" -exec touch -h -d "@$ENV{SOURCE_DATE_EPOCH}" {} +
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
