# For another architecture, with Debian's cross compiler for a triplet, and an emulator that runs what it builds.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
if(emulator)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L /usr/${triplet})
endif()
# Programs are this machine's; libraries and packages are the other's.
set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} /usr/${triplet}/lib/pkgconfig)
