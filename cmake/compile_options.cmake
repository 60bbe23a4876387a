set(CMAKE_C_STANDARD 99)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

# Linked privately by our own targets, so that neither GoogleTest nor a project that adds this one
# is held to our warnings. Clang blames the caller of std::stable_sort for a deprecated function that
# GCC 12's library calls there itself; GCC warns of deprecated functions as well, and rightly.
add_library(warnings INTERFACE)
target_compile_options(warnings INTERFACE
  -Werror -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wundef -Wformat=2
  -Wcast-qual -Wimplicit-fallthrough
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Wno-deprecated-declarations>)

# The sources of the core, without what is particular to one platform. Globbed: a new file in one
# of these folders is part of the library.
file(GLOB CORE_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*/*.cpp)
list(FILTER CORE_SOURCES EXCLUDE REGEX "/src/(common/attach|platform/windows[^/]*)\\.cpp$")
