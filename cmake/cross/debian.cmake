# Builds with Debian's cross compiler for a triplet, and runs programs with an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
if(emulator)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L /usr/${triplet})
endif()
# Look for programs on this machine, for libraries and packages only among those of the other architecture.
set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} /usr/${triplet}/lib/pkgconfig)
