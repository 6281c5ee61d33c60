# Sorvik::Build: what every target of this project is compiled with. Linked PRIVATE, never exported.
add_library(SorvikBuild INTERFACE)
add_library(Sorvik::Build ALIAS SorvikBuild)
target_compile_features(SorvikBuild INTERFACE cxx_std_20)
target_compile_options(SorvikBuild INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  # Predicates must give the same bits on every processor, so no fused multiply-add behind our back.
  -ffp-contract=off
  # An inline static of a public header must not become a process-wide unique symbol of the shared library.
  $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

# One static library of the engine. Its folder is its name: src/core is SorvikCore, included as "core/X.h".
#   sorvik_module(Core SOURCES a.cpp b.cpp PUBLIC SorvikMath PRIVATE PkgConfig::Highway)
function(sorvik_module name)
  cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(Sorvik${name} STATIC ${arg_SOURCES})
  target_include_directories(Sorvik${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(Sorvik${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE} Sorvik::Build)
endfunction()
