# tests/GROUP/FOLDER/*_test.cpp become the program FOLDER_tests, linked with the core and the
# simulated volume; other sources in the folder are linked in with them.
include(GoogleTest)

function(add_native_tests name)
  add_executable(${name}_tests ${ARGN})
  target_link_libraries(${name}_tests PRIVATE core warnings gtest_main)
  gtest_discover_tests(${name}_tests TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()

set(tests ${PROJECT_SOURCE_DIR}/tests)
file(GLOB test_files CONFIGURE_DEPENDS ${tests}/rules/*/*_test.cpp ${tests}/core/*/*_test.cpp)
list(TRANSFORM test_files REPLACE "/[^/]+$" "" OUTPUT_VARIABLE folders)
list(REMOVE_DUPLICATES folders)
foreach(folder IN LISTS folders)
  cmake_path(GET folder FILENAME name)
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  add_native_tests(${name} ${sources})
endforeach()

# So that comparisons of entries can be counted, by the name that g++ and clang++ give the function.
target_link_options(query_tests PRIVATE
  LINKER:--wrap=_ZN13system_search13orders_beforeENS_8EntryRefES0_)

# The simulated machine itself is in the core library.
file(GLOB sources CONFIGURE_DEPENDS ${tests}/simulated/*_test.cpp)
add_native_tests(simulated ${sources})

# What the programs decide, which knows neither Windows nor windows; their library is the core itself.
foreach(app console window)
  set(folder ${PROJECT_SOURCE_DIR}/apps/${app})
  file(GLOB sources CONFIGURE_DEPENDS ${tests}/apps/${app}/*_test.cpp ${folder}/model/*.cpp)
  add_native_tests(${app} ${sources})
  target_include_directories(${app}_tests PRIVATE ${folder})
  target_compile_definitions(${app}_tests PRIVATE SYSTEM_SEARCH_VERSION="${PROJECT_VERSION}")
endforeach()

if(SS_BUILD_FUZZERS)
  file(GLOB fuzzers CONFIGURE_DEPENDS ${tests}/core/fuzz/*_fuzz.cpp)
  foreach(file IN LISTS fuzzers)
    cmake_path(GET file STEM name)
    add_executable(${name} ${file})
    target_link_libraries(${name} PRIVATE core warnings)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  endforeach()
endif()
