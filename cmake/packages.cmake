# Debian packages, one for each component of the installation.

set(TTYDB_MAINTAINER "The ttydb developers <ttydb@maintainers.invalid>" CACHE STRING "Who the packages name")
set(runtime_package libttydb${PROJECT_VERSION_MAJOR})
set(development_package libttydb-dev)
set(tools_package ttydb-tools)
set(package_revision 1)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ttydb)
set(CPACK_PACKAGE_CONTACT ${TTYDB_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${package_revision})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/compress_documents.cmake)

set(about "A process creates any number of databases of its terminal lines (TTYs), by
category and id, and hangs records and keyed items of its own on each line.")
set(same_version "= ${PROJECT_VERSION}-${package_revision}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# The trigger does what the scripts would; to name scripts that do not exist keeps CPack from making them.
file(WRITE ${PROJECT_BINARY_DIR}/control/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/control/triggers
  ${PROJECT_BINARY_DIR}/control/postinst ${PROJECT_BINARY_DIR}/control/postrm)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "registry of terminal lines in the memory of a process
${about}
.
This package contains the shared libraries.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (${same_version})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "registry of terminal lines - development files
${about}
.
This package contains the headers for C and C++ and what CMake and pkg-config
need to find the libraries.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${tools_package})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime_package} (${same_version})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "table of the terminal lines of this machine
The program tty-lines reads which terminal lines this machine has, registers
them by kind and prints a table of them, or follows what comes and goes.")

# A copyright file and a changelog in each package, and in the packages alone.
configure_file(cmake/changelog.Debian.in changelog.Debian @ONLY)
foreach(component ${CPACK_COMPONENTS_ALL})
  install(FILES cmake/copyright ${PROJECT_BINARY_DIR}/changelog.Debian
    DESTINATION share/doc/${${component}_package} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

# What GDB needs to print the records of the libraries: the debug information that stripping takes from them,
# where GDB looks for it.
foreach(library ttydb ttyplatform)
  install(CODE "
    execute_process(COMMAND ${CMAKE_READELF} -n $<TARGET_FILE:${library}> OUTPUT_VARIABLE notes)
    if(notes MATCHES \"Build ID: (..)([0-9a-f]+)\")
      set(directory \$ENV{DESTDIR}/usr/lib/debug/.build-id/\${CMAKE_MATCH_1})
      set(file \${directory}/\${CMAKE_MATCH_2}.debug)
      file(MAKE_DIRECTORY \${directory})
      execute_process(COMMAND ${CMAKE_OBJCOPY} --only-keep-debug --compress-debug-sections
        $<TARGET_FILE:${library}> \${file})
      file(CHMOD \${file} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    endif()
  " COMPONENT development EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
