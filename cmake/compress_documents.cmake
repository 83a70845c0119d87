# Compresses the manual pages and changelogs of a package in the making, without time stamps.
file(GLOB_RECURSE documents
  ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/man/* ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/changelog.Debian)
foreach(document ${documents})
  execute_process(COMMAND gzip -9n ${document} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
