# The coverage preset includes this before all targets.
add_library(ttydb_coverage OBJECT ${CMAKE_CURRENT_LIST_DIR}/coverage.cpp)
set_target_properties(ttydb_coverage PROPERTIES CXX_VISIBILITY_PRESET hidden POSITION_INDEPENDENT_CODE ON)
link_libraries($<BUILD_INTERFACE:$<TARGET_OBJECTS:ttydb_coverage>>)
