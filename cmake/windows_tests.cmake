# Tests of the shipped DLL. tests/dll/*_test.cpp are GoogleTest programs, tests/dll/*.c are programs
# that return 0 when all is well; both link the import library and run through the emulator. Those in
# tests/dll/windows_only are about what Wine lacks: the kit's test sees that each says so there.
#
# NAME_test.sh beside NAME_test.cpp runs in its place, with the program as its argument, to prepare
# what only the Unix side can make (links, typed drives). Any other NAME_test.sh below tests/ is a
# test of its own. All of them get SS_SOURCE, SS_BIN and SS_WINE.
set(dll_folder ${PROJECT_SOURCE_DIR}/tests/dll)
set(test_environment
  SS_SOURCE=${PROJECT_SOURCE_DIR}
  SS_BIN=${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
  SS_WINE=${CMAKE_CROSSCOMPILING_EMULATOR})

function(set_up_windows_test name)
  set_tests_properties(${name} PROPERTIES
    TIMEOUT 600 WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
    ENVIRONMENT "${test_environment}"
    FAIL_REGULAR_EXPRESSION "\\[  SKIPPED \\]")  # none of these has a reason to
  if(name MATCHES "^window\\.")
    # One prefix has one screen. They wait more than they work, so they begin before all others.
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK screen COST 100)
  endif()
  if(name MATCHES "^kit\\.")  # the longest of the others
    set_tests_properties(${name} PROPERTIES COST 90)
  endif()
endfunction()

file(GLOB test_files CONFIGURE_DEPENDS ${dll_folder}/*_test.cpp ${dll_folder}/windows_only/*_test.cpp)
file(GLOB c_files CONFIGURE_DEPENDS ${dll_folder}/*.c)
file(GLOB script_files CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/tests/*/*_test.sh ${PROJECT_SOURCE_DIR}/tests/*/*/*_test.sh)

foreach(file IN LISTS test_files c_files)
  cmake_path(GET file STEM name)
  cmake_path(GET file EXTENSION extension)
  add_executable(${name} ${file})
  target_link_libraries(${name} PRIVATE system_search warnings)
  target_compile_definitions(${name} PRIVATE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX)
  target_link_options(${name} PRIVATE -static)
  if(extension STREQUAL ".cpp")
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE gtest_main)
  endif()
  if(file MATCHES "/windows_only/")
    continue()
  endif()
  set(script ${dll_folder}/${name}.sh)
  if(script IN_LIST script_files)
    list(REMOVE_ITEM script_files ${script})
    add_test(NAME dll.${name} COMMAND bash ${script} $<TARGET_FILE:${name}>)
  else()
    add_test(NAME dll.${name} COMMAND ${name})
  endif()
  set_up_windows_test(dll.${name})
endforeach()

# A host whose threads have large stacks, unless they ask for others.
target_link_options(library_threads_test PRIVATE -Wl,--stack,16777216)

target_link_libraries(guide_test PRIVATE $<TARGET_NAME_IF_EXISTS:guide>)
target_link_libraries(version_test PRIVATE version)
target_compile_definitions(version_test PRIVATE SS_PROJECT_VERSION="${PROJECT_VERSION}")

# Compares the conversion with the system's own; the DLL does not export it.
target_sources(text_test PRIVATE ${PROJECT_SOURCE_DIR}/src/common/text.cpp)
target_include_directories(text_test PRIVATE ${PROJECT_SOURCE_DIR}/src)

# What the kit for a Windows machine runs each program with.
add_executable(run_one ${PROJECT_SOURCE_DIR}/tests/delivered/kit/run_one.cpp)
target_link_libraries(run_one PRIVATE warnings)
target_compile_definitions(run_one PRIVATE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX)
target_link_options(run_one PRIVATE -static -municode)

# The console program's dealings with Ctrl+C, each rule in a process of its own: interrupt_test.sh runs
# it, and the kit, which runs every NAME_test in one process, leaves it out.
set(console_folder ${PROJECT_SOURCE_DIR}/apps/console)
add_executable(interrupt_rules
  ${PROJECT_SOURCE_DIR}/tests/apps/console/system/interrupt_rules.cpp
  ${console_folder}/interrupt.cpp ${console_folder}/line_input.cpp ${console_folder}/model/utf8.cpp
  ${PROJECT_SOURCE_DIR}/apps/common/wide_text.cpp)
target_include_directories(interrupt_rules PRIVATE
  ${console_folder} ${PROJECT_SOURCE_DIR}/apps ${PROJECT_SOURCE_DIR}/tests)
target_compile_definitions(interrupt_rules PRIVATE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX)
target_link_libraries(interrupt_rules PRIVATE system_search warnings gtest_main)
target_link_options(interrupt_rules PRIVATE -static)

foreach(script IN LISTS script_files)
  cmake_path(GET script STEM name)
  cmake_path(GET script PARENT_PATH folder)
  cmake_path(GET folder FILENAME folder)
  add_test(NAME ${folder}.${name} COMMAND bash ${script})
  set_up_windows_test(${folder}.${name})
endforeach()

# The tests of the window drive the real program and look at it through this one.
file(GLOB probe_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/apps/window/probe/*.cpp)
add_executable(window_probe ${probe_sources})
target_compile_definitions(window_probe PRIVATE
  UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
target_link_libraries(window_probe PRIVATE
  ntdll ole32 oleaut32 oleacc uuid shell32 warnings)
# -mwindows: as the program that opens documents it must not open a console as well.
target_link_options(window_probe PRIVATE -static -municode -mwindows)
