# What is installed, and where. Components: runtime, development, standalone, documentation.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers_folder ${CMAKE_INSTALL_INCLUDEDIR}/sqlwrapper)
set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/sqlwrapper)
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# A shared and a static library can stand side by side: each is installed by a build of its own. What
# both install is the same.
if(BUILD_SHARED_LIBS)
  set(kind Shared)
else()
  set(kind Static)
endif()

install(TARGETS sqlwrapper EXPORT sqlwrapper${kind}
  INCLUDES DESTINATION ${headers_folder}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/components/sql/sqlwrapper/include/
  DESTINATION ${headers_folder} COMPONENT development)

set_target_properties(sqlwrapper_standalone PROPERTIES EXPORT_NAME standalone)
install(TARGETS sqlwrapper_standalone EXPORT sqlwrapperStandalone
  INCLUDES DESTINATION ${headers_folder}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT standalone)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/components/platform/standalone/include/
  DESTINATION ${headers_folder} COMPONENT standalone)

# For CMake: find_package(sqlwrapper).
install(EXPORT sqlwrapper${kind} FILE sqlwrapper${kind}Targets.cmake
  NAMESPACE sqlwrapper:: DESTINATION ${config_folder} COMPONENT development)
install(EXPORT sqlwrapperStandalone FILE sqlwrapperStandaloneTargets.cmake
  NAMESPACE sqlwrapper:: DESTINATION ${config_folder} COMPONENT standalone)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/sqlwrapperConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_LIST_DIR}/sqlwrapperConfig.cmake
  ${PROJECT_BINARY_DIR}/sqlwrapperConfigVersion.cmake
  DESTINATION ${config_folder} COMPONENT development)

# For pkg-config. Paths go from the folder of the file itself, so that the whole can be moved. SQLite,
# which only the static library asks for (pkg-config --static), is named as a library: as a module,
# a board without its file could not even compile.
file(RELATIVE_PATH pkgconfig_prefix /prefix/${pkgconfig_folder} /prefix)
string(REGEX REPLACE "/$" "" pkgconfig_prefix ${pkgconfig_prefix})
foreach(module sqlwrapper sqlwrapper-standalone)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${module}.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/sqlwrapper.pc
  DESTINATION ${pkgconfig_folder} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/sqlwrapper-standalone.pc
  DESTINATION ${pkgconfig_folder} COMPONENT standalone)

# To read. The examples can be built from a copy.
install(FILES
  ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
  PATTERN test EXCLUDE)
if(SQLWRAPPER_BUILD_DOCS)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/man/
    DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT documentation)
endif()

# What the last installation from this build folder has written, as cmake --install lists it.
if(SQLWRAPPER_IS_TOP_LEVEL)
  add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} -P ${CMAKE_CURRENT_LIST_DIR}/uninstall.cmake
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR} VERBATIM)
endif()
