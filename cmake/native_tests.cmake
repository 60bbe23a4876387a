# tests/FOLDER/*_test.cpp become the program FOLDER_tests, linked with the core and the simulated
# volume; other sources in the folder are linked in with them.
include(GoogleTest)

file(GLOB test_files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/*/*_test.cpp)
list(FILTER test_files EXCLUDE REGEX "/tests/(windows|dll|console|window_logic)/")
set(folders)
foreach(file IN LISTS test_files)
  cmake_path(GET file PARENT_PATH folder)
  list(APPEND folders ${folder})
endforeach()
list(REMOVE_DUPLICATES folders)

foreach(folder IN LISTS folders)
  cmake_path(GET folder FILENAME name)
  if(name STREQUAL simulated)  # its other sources are in the core library
    file(GLOB sources CONFIGURE_DEPENDS ${folder}/*_test.cpp)
  else()
    file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  endif()
  add_executable(${name}_tests ${sources})
  target_link_libraries(${name}_tests PRIVATE core warnings gtest_main)
  gtest_discover_tests(${name}_tests TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endforeach()

# The console host's sources that know neither Windows nor the library.
file(GLOB console_tests CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/console/*_test.cpp)
set(console_folder ${PROJECT_SOURCE_DIR}/examples/console)
set(console_sources arguments help json numbers sentences table utf8)
list(TRANSFORM console_sources REPLACE "(.+)" "${console_folder}/\\1.cpp")
add_executable(console_tests ${console_tests} ${console_sources})
target_include_directories(console_tests PRIVATE ${console_folder} ${PROJECT_SOURCE_DIR}/include)
target_compile_definitions(console_tests PRIVATE SYSTEM_SEARCH_VERSION="${PROJECT_VERSION}")
target_link_libraries(console_tests PRIVATE warnings gtest_main)
gtest_discover_tests(console_tests TEST_PREFIX console. DISCOVERY_MODE PRE_TEST
  DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)

# The parts of the window that decide; they know no windows. The library is the core itself.
file(GLOB window_tests CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/window_logic/*_test.cpp)
set(window_folder ${PROJECT_SOURCE_DIR}/examples/window)
set(window_sources arguments contrast highlight index_session latencies numbers paths placement
  rows search_plan searches sentences settings worker)
list(TRANSFORM window_sources REPLACE "(.+)" "${window_folder}/\\1.cpp")
add_executable(window_logic_tests ${window_tests} ${window_sources})
target_include_directories(window_logic_tests PRIVATE ${window_folder})
target_link_libraries(window_logic_tests PRIVATE core warnings gtest_main)
gtest_discover_tests(window_logic_tests TEST_PREFIX window_logic. DISCOVERY_MODE PRE_TEST
  DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)

if(SS_BUILD_FUZZERS)
  file(GLOB fuzzers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/fuzz/*_fuzz.cpp)
  foreach(file IN LISTS fuzzers)
    cmake_path(GET file STEM name)
    add_executable(${name} ${file})
    target_link_libraries(${name} PRIVATE core warnings)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  endforeach()
endif()
