# The install tree that hosts are given, and the zip of it. Everything in it finds everything else
# relative to itself, so it may be unpacked anywhere.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/SystemSearch)

install(TARGETS system_search EXPORT SystemSearchTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES $<TARGET_FILE:system_search>.debug DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES include/system_search.h include/system_search.hpp
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES src/system_search.def DESTINATION ${CMAKE_INSTALL_LIBDIR})

# The import library in the form that Microsoft's linker and lld-link write themselves.
find_program(LLVM_DLLTOOL llvm-dlltool-19)
if(LLVM_DLLTOOL)
  set(msvc_library ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/system_search.lib)
  add_custom_command(OUTPUT ${msvc_library}
    COMMAND ${LLVM_DLLTOOL} -m i386:x86-64 -D system_search.dll -l ${msvc_library}
            -d ${PROJECT_SOURCE_DIR}/src/system_search.def
    DEPENDS ${PROJECT_SOURCE_DIR}/src/system_search.def
    VERBATIM)
  add_custom_target(msvc_import_library ALL DEPENDS ${msvc_library})
  install(FILES ${msvc_library} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

install(EXPORT SystemSearchTargets NAMESPACE SystemSearch:: DESTINATION ${package_folder})
configure_package_config_file(cmake/SystemSearchConfig.cmake.in
  ${PROJECT_BINARY_DIR}/SystemSearchConfig.cmake
  INSTALL_DESTINATION ${package_folder} PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/SystemSearchConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/SystemSearchConfig.cmake
  ${PROJECT_BINARY_DIR}/SystemSearchConfigVersion.cmake
  DESTINATION ${package_folder})

configure_file(cmake/system_search.pc.in ${PROJECT_BINARY_DIR}/system_search.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/system_search.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARGET system-search)
  install(TARGETS system-search system-search-window RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# The folder `documents` of the build tree holds what scripts/package makes: licences and the SBOM.
install(FILES cmake/package-readme.md DESTINATION . RENAME README.md)
install(FILES CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
  REGEX "/examples/CMakeLists\\.txt$" EXCLUDE)
# The window whole, to build and to change.
install(DIRECTORY apps/common apps/window DESTINATION ${CMAKE_INSTALL_DOCDIR}/apps)
install(DIRECTORY ${PROJECT_BINARY_DIR}/documents/ DESTINATION ${CMAKE_INSTALL_DOCDIR} OPTIONAL)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME system-search)
set(CPACK_PACKAGE_VENDOR "System Search contributors")
set(CPACK_PACKAGE_FILE_NAME system-search-${PROJECT_VERSION}-windows-x64)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/dist)
set(CPACK_THREADS 1)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/one_time_stamp.cmake)
include(CPack)
