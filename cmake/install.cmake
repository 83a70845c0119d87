# What an installed copy consists of, in three components: runtime (the shared libraries), development
# (headers, CMake package, pkg-config files, static library) and tools.

# Away from the directories that the loader searches, the installed files find one another by where they lie.
if(NOT CMAKE_INSTALL_FULL_LIBDIR IN_LIST CMAKE_C_IMPLICIT_LINK_DIRECTORIES)
  set_target_properties(ttydb PROPERTIES INSTALL_RPATH "$ORIGIN")
  file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  if(TARGET tty-lines)
    set_target_properties(tty-lines PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  endif()
endif()

install(TARGETS ttydb ttyplatform EXPORT ttydb-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES include/tty_db.h include/tty_db.hpp platform/tty_platform.h platform/tty_thread_block.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
if(TARGET tty-lines)
  install(TARGETS tty-lines RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endif()

# GDB loads the printers from beside the library that was built, and for an installed one from under its full
# path, which is known when the copy is installed.
if(BUILD_SHARED_LIBS)
  set(printers libttydb.so.${PROJECT_VERSION}-gdb.py)
  configure_file(gdb/ttydb-gdb.py ${printers} COPYONLY)
  install(FILES gdb/ttydb-gdb.py RENAME ${printers} COMPONENT runtime
    DESTINATION "share/gdb/auto-load\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}")
endif()

# find_package(ttydb 1) gives ttydb::ttydb and ttydb::platform.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ttydb)
install(EXPORT ttydb-targets NAMESPACE ttydb:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/ttydb-config.cmake.in ttydb-config.cmake INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(ttydb-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ttydb-config.cmake ${PROJECT_BINARY_DIR}/ttydb-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

# pkg-config: the prefix is wherever the files lie.  A program that links the static library needs the
# platform itself; with the shared one it does only if it calls the platform.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
string(REGEX REPLACE "[^/]+" ".." TTYDB_PC_TO_PREFIX ${pkgconfig_dir})
if(BUILD_SHARED_LIBS)
  set(TTYDB_PC_PRIVATE .private)
endif()
foreach(package ttydb ttyplatform)
  configure_file(cmake/${package}.pc.in ${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${pkgconfig_dir} COMPONENT development)
endforeach()

file(GLOB library_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.3)
install(FILES ${library_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
file(GLOB tool_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.1)
install(FILES ${tool_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
