set(CMAKE_SYSTEM_PROCESSOR i686)
set(triplet i686-linux-gnu)
# This machine runs i386 programs without an emulator.
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
