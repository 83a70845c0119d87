set(CMAKE_SYSTEM_PROCESSOR i686)
set(triplet i686-linux-gnu)
# Runs as it stands: no emulator.
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
