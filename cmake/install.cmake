# What is installed, and where. Components: runtime, development, prepared, standalone,
# documentation.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers_folder ${CMAKE_INSTALL_INCLUDEDIR}/sqlwrapper)
set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/sqlwrapper)
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# A shared and a static library can be side by side: each is installed by a build of its own. What
# both install is the same.
if(BUILD_SHARED_LIBS)
  set(kind Shared)
else()
  set(kind Static)
endif()

# install_library(TARGET EXPORT RUNTIME DEVELOPMENT): a library and its headers, in these components.
function(install_library target export runtime development)
  get_target_property(folder ${target} SOURCE_DIR)
  install(TARGETS ${target} EXPORT ${export}
    INCLUDES DESTINATION ${headers_folder}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT ${runtime} NAMELINK_COMPONENT ${development}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${development})
  install(DIRECTORY ${folder}/include/ DESTINATION ${headers_folder} COMPONENT ${development})
  install(EXPORT ${export} FILE ${export}Targets.cmake
    NAMESPACE sqlwrapper:: DESTINATION ${config_folder} COMPONENT ${development})
endfunction()

set_target_properties(sqlprepared PROPERTIES EXPORT_NAME prepared)
set_target_properties(sqlwrapper_standalone PROPERTIES EXPORT_NAME standalone)
install_library(sqlwrapper sqlwrapper${kind} runtime development)
install_library(sqlprepared sqlwrapperPrepared${kind} prepared prepared)
install_library(sqlwrapper_standalone sqlwrapperStandalone standalone standalone)

# For CMake: find_package(sqlwrapper).
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
# install_module(MODULE COMPONENT DESCRIPTION REQUIRES LIBRARIES PRIVATE_LIBRARIES)
function(install_module module component description requires libraries private_libraries)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/module.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${module}.pc
    DESTINATION ${pkgconfig_folder} COMPONENT ${component})
endfunction()
install_module(sqlwrapper development "${PROJECT_DESCRIPTION}" "" -lsqlwrapper -lsqlite3)
install_module(sqlwrapper-prepared prepared
  "Prepared statements for sqlwrapper's databases, tables and records" sqlwrapper -lsqlprepared -lsqlite3)
install_module(sqlwrapper-standalone standalone
  "The platform's part of sqlwrapper, for programs that run without a platform"
  sqlwrapper "-Wl,--undefined=g_traceObject -lsqlwrapper_standalone" "")

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
