# find_package(Sorvik) gives the target Sorvik::Sorvik. The library needs nothing else to be compiled against.
include(${CMAKE_CURRENT_LIST_DIR}/SorvikTargets.cmake)
