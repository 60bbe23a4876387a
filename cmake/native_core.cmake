# The core without Windows: linked with the simulated volume by native tests, benchmarks and
# fuzzers, so that sanitizers can watch it and every failure can be produced.
find_package(Threads REQUIRED)
file(GLOB simulated_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/simulated/*.cpp)
list(FILTER simulated_sources EXCLUDE REGEX "_test\\.cpp$")

# One library: the core calls the simulated platform, and tests reach both.
add_library(core STATIC EXCLUDE_FROM_ALL ${CORE_SOURCES} ${simulated_sources})
set_target_properties(core PROPERTIES LINKER_LANGUAGE CXX)
target_include_directories(core PUBLIC
  ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
target_link_libraries(core PUBLIC Threads::Threads PRIVATE warnings)
# So that the core's own malloc, calloc and realloc can be made to fail, like operator new.
target_link_options(core PUBLIC LINKER:--wrap=malloc LINKER:--wrap=calloc LINKER:--wrap=realloc)
