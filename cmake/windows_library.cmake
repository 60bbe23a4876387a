# system_search.dll, its import library and its debug information.
file(GLOB platform_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/platform/windows*.cpp)
file(GLOB attach_source CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/common/attach.cpp)
configure_file(${PROJECT_SOURCE_DIR}/src/system_search.rc.in ${PROJECT_BINARY_DIR}/system_search.rc
  @ONLY)

add_library(system_search SHARED
  ${CORE_SOURCES} ${platform_sources} ${attach_source} ${PROJECT_BINARY_DIR}/system_search.rc
  ${PROJECT_SOURCE_DIR}/src/system_search.def)
add_library(SystemSearch::system_search ALIAS system_search)
target_include_directories(system_search
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  PRIVATE ${PROJECT_SOURCE_DIR}/src)
target_compile_definitions(system_search
  PRIVATE SS_BUILDING UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00
          _FORTIFY_SOURCE=2)
target_link_libraries(system_search PRIVATE warnings)

# -fno-threadsafe-statics: the guards of the static runtime take a thread-local slot at each load
# of the DLL and never give it back. The prefix map and the missing time stamp make two builds of
# one commit byte-equal, wherever they were made.
target_compile_options(system_search PRIVATE
  -fno-threadsafe-statics -fstack-protector-strong -fvisibility=hidden
  -ffunction-sections -fdata-sections
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
target_link_options(system_search PRIVATE
  -static -fstack-protector-strong -Wl,--gc-sections -Wl,--no-insert-timestamp -Wl,--no-undefined)
set_target_properties(system_search PROPERTIES
  PREFIX "" OUTPUT_NAME system_search IMPORT_PREFIX lib)

# The debug information goes into a file of its own, found by debuggers through its name in the
# DLL. objcopy stamps the present time unless it is told another one.
set(dll $<TARGET_FILE:system_search>)
add_custom_command(TARGET system_search POST_BUILD
  COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0
          ${CMAKE_OBJCOPY} --only-keep-debug ${dll} ${dll}.debug
  COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0
          ${CMAKE_OBJCOPY} --strip-all --add-gnu-debuglink=${dll}.debug ${dll}
  VERBATIM)
