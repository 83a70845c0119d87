# Installs three components: runtime (shared libraries, GDB's printers), development (headers, static libraries, CMake
# package, pkg-config files, valgrind's suppressions, manual) and tools (tty-lines, its manual page and completion).

# Outside the directories that the loader searches, installed files find one another by relative paths.
if(BUILD_SHARED_LIBS AND NOT CMAKE_INSTALL_FULL_LIBDIR IN_LIST CMAKE_C_IMPLICIT_LINK_DIRECTORIES)
  set_target_properties(ttydb PROPERTIES INSTALL_RPATH "$ORIGIN")
  if(TARGET tty-lines)
    file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(tty-lines PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  endif()
endif()

set(libraries ttydb ttyplatform)
if(TARGET ttydb_static)
  list(APPEND libraries ttydb_static ttyplatform_static)
endif()
install(TARGETS ${libraries} EXPORT ttydb-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES include/tty_db.h include/tty_db.hpp platform/tty_platform.h platform/tty_thread_block.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(FILES valgrind/ttydb.supp DESTINATION ${CMAKE_INSTALL_DATADIR}/ttydb/valgrind COMPONENT development)
if(TARGET tty-lines)
  install(TARGETS tty-lines RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(FILES tools/completions/tty-lines DESTINATION share/bash-completion/completions COMPONENT tools)
endif()

# GDB loads the printers from the directory of a built library.  For an installed one, it looks under the library's full
# path, which is known only at installation.
if(BUILD_SHARED_LIBS)
  set(printers libttydb.so.${PROJECT_VERSION}-gdb.py)
  configure_file(gdb/ttydb-gdb.py ${printers} COPYONLY)
  install(FILES gdb/ttydb-gdb.py RENAME ${printers} COMPONENT runtime
    DESTINATION "share/gdb/auto-load\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}")
endif()

# find_package(ttydb 1) defines ttydb::ttydb and ttydb::platform, and the same with _static.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ttydb)
install(EXPORT ttydb-targets NAMESPACE ttydb:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/ttydb-config.cmake.in ttydb-config.cmake INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(ttydb-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ttydb-config.cmake ${PROJECT_BINARY_DIR}/ttydb-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

# The pkg-config files name the prefix, which is known only at installation.  With it, pkg-config omits directories that
# compiler and linker search anyway.  Only programs with the static library link the platform themselves.
if(BUILD_SHARED_LIBS)
  set(private .private)
endif()
install(CODE "
  set(VERSION ${PROJECT_VERSION})
  set(DESCRIPTION \"${PROJECT_DESCRIPTION}\")
  set(PRIVATE ${private})
  set(LIBDIR ${CMAKE_INSTALL_LIBDIR})
  set(INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
  string(REPLACE \" \" \"\\\\ \" PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
  foreach(package ttydb ttyplatform)
    set(made \"${PROJECT_BINARY_DIR}/\${package}.pc\")
    configure_file(\"${PROJECT_SOURCE_DIR}/cmake/\${package}.pc.in\" \"\${made}\" @ONLY)
    file(INSTALL \"\${made}\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")
  endforeach()
" COMPONENT development)
